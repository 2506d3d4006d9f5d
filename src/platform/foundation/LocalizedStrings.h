#pragma once

// Texts by key. Each language is an ICU resource bundle that is linked into the program; a key missing in a language
// falls back to English, never to the language of the process. Immutable, so safe from any thread; a look-up takes well
// under a microsecond and never touches a file.

#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zun {

class LocalizedStrings {
  public:
    // Picks the best language that there is a table for, by the order of the preferred languages ("de-AT" is served by
    // "de"). English if there is none for any of them.
    explicit LocalizedStrings(const std::vector<std::string>& preferredLanguages);
    ~LocalizedStrings();
    LocalizedStrings(const LocalizedStrings&) = delete;
    LocalizedStrings& operator=(const LocalizedStrings&) = delete;

    // The text of the key, or the key itself where no table has it.
    [[nodiscard]] std::string string(std::string_view key) const;
    // The same in a table of its own inside the language, such as "DateTools".
    [[nodiscard]] std::string string(std::string_view key, std::string_view table) const;
    // The language in use ("de"), and all there are.
    [[nodiscard]] const std::string& language() const { return _language; }
    [[nodiscard]] static std::vector<std::string> availableLanguages();
    // Whether the language in use is written from right to left.
    [[nodiscard]] bool isRightToLeft() const;
    // Every key of the language's main table, sorted, without fallback; or of a table of its own inside it.
    [[nodiscard]] std::vector<std::string> keys() const;
    [[nodiscard]] std::vector<std::string> keys(std::string_view table) const;

  private:
    struct Bundles;
    std::string _language;
    std::unique_ptr<Bundles> _bundles;
};

// Fills the placeholders of a text: %@ takes texts; %lu, %ld and %d take numbers given as text; %2$@ and the like name
// their argument; %% is a per cent sign. A placeholder without an argument stays as it stands, as does any other text
// after "%".
[[nodiscard]] std::string stringWithFormat(std::string_view format, std::initializer_list<std::string_view> arguments);

}  // namespace zun
