#pragma once

// Appends JSON to a text. The caller keeps the order of calls right: a key, then its value. Texts that are not UTF-8
// are written as they are; whoever reads them refuses them.

#include <charconv>
#include <concepts>
#include <string>
#include <string_view>

namespace zun::cloud {

class JSONWriter {
  public:
    void beginObject() { begin('{'); }
    void endObject() { end('}'); }
    void beginArray() { begin('['); }
    void endArray() { end(']'); }
    void key(std::string_view name) {
        string(name);
        _text += ':';
        _needsComma = false;
    }
    void string(std::string_view value);
    void boolean(bool value) {
        separate();
        _text += value ? "true" : "false";
    }
    template <std::integral Integer>
    void integer(Integer value) {
        separate();
        char digits[24];
        _text.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
    }
    // The shortest decimal form that reads back as the same number, as a text.
    void number(double value);

    [[nodiscard]] std::string take() { return std::move(_text); }

  private:
    void begin(char bracket) {
        separate();
        _text += bracket;
        _needsComma = false;
    }
    void end(char bracket) {
        _text += bracket;
        _needsComma = true;
    }
    void separate() {
        if (_needsComma) _text += ',';
        _needsComma = true;
    }

    std::string _text;
    bool _needsComma = false;
};

}  // namespace zun::cloud
