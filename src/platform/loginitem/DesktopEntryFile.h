#pragma once

// The text of a desktop entry, changed key by key so that comments, other groups, translations and keys that nobody
// here knows stay as they stand. Plain value; any thread.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zun {

class DesktopEntryFile {
  public:
    // An entry with nothing in it but its group.
    DesktopEntryFile();
    // Empty if the text has no group of that name, or something else before its first group.
    [[nodiscard]] static std::optional<DesktopEntryFile> parse(std::string_view text);

    // The value with its escapes taken out; empty where the key is missing.
    [[nodiscard]] std::optional<std::string> value(std::string_view key) const;
    [[nodiscard]] bool isTrue(std::string_view key) const { return value(key) == "true"; }
    // Replaces the key's line, or adds one at the end of the group.
    void setValue(std::string_view key, std::string_view value);
    void removeValue(std::string_view key);

    // True if every line is blank, the group's name or one of these keys.
    [[nodiscard]] bool hasOnly(const std::vector<std::string_view>& keys) const;
    [[nodiscard]] std::string text() const;

  private:
    [[nodiscard]] bool isGroupLine(std::string_view key, std::size_t line) const;
    [[nodiscard]] std::size_t endOfGroup() const;

    std::vector<std::string> _lines;
    std::size_t _group = 0;  // the line of its name
};

// The program and its arguments as the value of Exec, before the escapes of values.
[[nodiscard]] std::string execValue(const std::vector<std::string>& command);

}  // namespace zun
