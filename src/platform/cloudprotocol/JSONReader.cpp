#include "platform/cloudprotocol/JSONReader.h"

#include <fmt/format.h>

#include <charconv>

namespace zun::cloud {
namespace {

// Lists may lie in lists of records of answers; nothing that is meant needs more.
constexpr int largestDepth = 24;

void appendUTF8(std::string& text, std::uint32_t character) {
    const auto put = [&text](std::uint32_t byte) { text += static_cast<char>(byte); };
    if (character < 0x80) return put(character);
    if (character < 0x800) {
        put(0xC0 | character >> 6);
    } else {
        if (character < 0x10000) {
            put(0xE0 | character >> 12);
        } else {
            put(0xF0 | character >> 18);
            put(0x80 | (character >> 12 & 0x3F));
        }
        put(0x80 | (character >> 6 & 0x3F));
    }
    put(0x80 | (character & 0x3F));
}

}  // namespace

bool JSONReader::fail(std::string_view reason) {
    if (_reason.empty()) _reason = reason;
    _end = _next;
    return false;
}

std::string JSONReader::reason() const {
    return fmt::format("{} at byte {}", _reason, _next - _text.data());
}

void JSONReader::skipSpaces() {
    while (_next != _end && (*_next == ' ' || *_next == '\n' || *_next == '\r' || *_next == '\t'))
        ++_next;
}

bool JSONReader::begin(char bracket) {
    skipSpaces();
    if (_next == _end || *_next != bracket) return fail(bracket == '{' ? "no object" : "no list");
    if (++_depth > largestDepth) return fail("too deep");
    ++_next;
    _isFirst = true;
    return true;
}

bool JSONReader::nextInside(char closing) {
    skipSpaces();
    if (_next == _end) return fail("ends early");
    if (*_next == closing) {
        ++_next;
        --_depth;
        _isFirst = false;
        return false;
    }
    if (!_isFirst) {
        if (*_next != ',') return fail("no comma");
        ++_next;
        skipSpaces();
        if (_next != _end && *_next == closing) return fail("nothing after the comma");
    }
    _isFirst = false;
    return true;
}

bool JSONReader::nextKey(std::string_view& key) {
    if (!isGood() || !nextInside('}') || !string(key)) return false;
    skipSpaces();
    if (_next == _end || *_next != ':') return fail("no colon");
    ++_next;
    return true;
}

bool JSONReader::nextElement() {
    return isGood() && nextInside(']');
}

bool JSONReader::string(std::string_view& value) {
    skipSpaces();
    if (_next == _end || *_next != '"') return fail("no text");
    ++_next;
    const char* start = _next;
    bool isInScratch = false;
    while (_next != _end) {
        const auto byte = static_cast<unsigned char>(*_next);
        if (byte == '"') {
            if (isInScratch) _scratch.append(start, _next);
            value = isInScratch ? std::string_view(_scratch)
                                : std::string_view(start, static_cast<std::size_t>(_next - start));
            ++_next;
            return true;
        }
        if (byte < 0x20) return fail("a control character in a text");
        if (byte == '\\') {
            if (!isInScratch) _scratch.clear();
            isInScratch = true;
            _scratch.append(start, _next);
            ++_next;
            if (!escape()) return false;
            start = _next;
        } else if (byte < 0x80) {
            ++_next;
        } else if (!sequence(byte)) {
            return fail("not UTF-8");
        }
    }
    return fail("ends early");
}

// What may follow a lead byte is the table of well-formed sequences of the Unicode standard.
bool JSONReader::sequence(unsigned char lead) {
    const int length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || _end - _next < length) return false;
    const auto second = static_cast<unsigned char>(_next[1]);
    const unsigned char low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const unsigned char high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    if (second < low || second > high) return false;
    for (int i = 2; i < length; ++i)
        if ((static_cast<unsigned char>(_next[i]) & 0xC0) != 0x80) return false;
    _next += length;
    return true;
}

bool JSONReader::fourDigits(std::uint32_t& unit) {
    if (_end - _next < 4) return fail("ends early");
    const auto [stop, error] = std::from_chars(_next, _next + 4, unit, 16);
    if (error != std::errc() || stop != _next + 4) return fail("a broken escape");
    _next += 4;
    return true;
}

bool JSONReader::escape() {
    static constexpr std::string_view letters = "\"\\/bfnrt", meanings = "\"\\/\b\f\n\r\t";
    if (_next == _end) return fail("ends early");
    const char letter = *_next++;
    if (const auto found = letters.find(letter); found != std::string_view::npos) {
        _scratch += meanings[found];
        return true;
    }
    std::uint32_t character = 0;
    if (letter != 'u' || !fourDigits(character)) return fail("a broken escape");
    if (character >= 0xDC00 && character < 0xE000) return fail("half a character");
    if (character >= 0xD800 && character < 0xDC00) {
        std::uint32_t second = 0;
        if (_end - _next < 6 || _next[0] != '\\' || _next[1] != 'u') return fail("half a character");
        _next += 2;
        if (!fourDigits(second) || second < 0xDC00 || second >= 0xE000) return fail("half a character");
        character = 0x10000 + ((character - 0xD800) << 10) + (second - 0xDC00);
    }
    appendUTF8(_scratch, character);
    return true;
}

bool JSONReader::boolean(bool& value) {
    skipSpaces();
    const std::string_view rest(_next, static_cast<std::size_t>(_end - _next));
    value = rest.starts_with("true");
    if (!value && !rest.starts_with("false")) return fail("neither true nor false");
    _next += value ? 4 : 5;
    return true;
}

template <class Integer>
bool JSONReader::integer(Integer& value) {
    skipSpaces();
    const char* digits = _next + (_next != _end && *_next == '-' ? 1 : 0);
    if (_end - digits > 1 && digits[0] == '0' && digits[1] >= '0' && digits[1] <= '9') return fail("a leading zero");
    const auto [stop, error] = std::from_chars(_next, _end, value);
    if (error != std::errc()) return fail("no integer");
    if (stop != _end && (*stop == '.' || *stop == 'e' || *stop == 'E')) return fail("no integer");
    _next = stop;
    return true;
}

bool JSONReader::unsignedInteger(std::uint64_t& value) {
    return integer(value);
}

bool JSONReader::signedInteger(std::int64_t& value) {
    return integer(value);
}

bool JSONReader::isNegativeNext() {
    skipSpaces();
    return _next != _end && *_next == '-';
}

bool JSONReader::atEnd() {
    skipSpaces();
    return isGood() && (_next == _end || fail("more than one value"));
}

}  // namespace zun::cloud
