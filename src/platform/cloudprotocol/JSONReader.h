#pragma once

// Reads JSON from front to back without building a tree of it, so that a request costs no more memory than the message
// that it becomes. Strict: valid UTF-8, no characters after the value, no numbers but integers, a bounded depth.
//
// The first failure sticks: from then on every call returns false. Views that are handed out live until the next call.
//
//     reader.beginObject();
//     std::string_view key;
//     while (reader.nextKey(key)) ...exactly one value...
//     return reader.isGood();

#include <cstdint>
#include <string>
#include <string_view>

namespace zun::cloud {

class JSONReader {
  public:
    explicit JSONReader(std::string_view text) : _next(text.data()), _end(text.data() + text.size()), _text(text) {}

    bool beginObject() { return begin('{'); }
    // False after the last one, whose bracket has been read then.
    bool nextKey(std::string_view& key);
    bool beginArray() { return begin('['); }
    bool nextElement();
    bool string(std::string_view& value);
    bool boolean(bool& value);
    bool unsignedInteger(std::uint64_t& value);
    bool signedInteger(std::int64_t& value);
    [[nodiscard]] bool isNegativeNext();
    // True if nothing but spaces follows.
    bool atEnd();

    bool isGood() const { return _reason.empty(); }
    // Always false. The first reason counts.
    bool fail(std::string_view reason);
    // With the place, for the log.
    [[nodiscard]] std::string reason() const;

  private:
    bool begin(char bracket);
    // False at the closing bracket, which is read.
    bool nextInside(char closing);
    void skipSpaces();
    bool escape();
    bool fourDigits(std::uint32_t& unit);
    bool sequence(unsigned char lead);
    template <class Integer>
    bool integer(Integer& value);

    const char* _next;
    const char* _end;
    std::string_view _text;
    std::string _scratch;  // a text with escapes
    std::string _reason;
    int _depth = 0;
    bool _isFirst = false;  // nothing has been read yet in the innermost container
};

}  // namespace zun::cloud
