#pragma once

// Rows as bytes: numbers in seven-bit groups, texts with their length before them. Names of rows are made so that their
// order is the order of their numbers. Plain functions and values.

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/foundation/NSDate.h"
#include "server/storage/Storage.h"

namespace zun::cloud {

class RowWriter {
  public:
    RowWriter& number(std::uint64_t value) {
        for (; value >= 0x80; value >>= 7)
            _bytes.push_back(static_cast<char>(0x80 | (value & 0x7f)));
        _bytes.push_back(static_cast<char>(value));
        return *this;
    }
    RowWriter& text(std::string_view value) {
        number(value.size());
        _bytes.append(value);
        return *this;
    }
    RowWriter& flag(bool value) { return number(value ? 1 : 0); }
    RowWriter& date(NSDate value) { return number(static_cast<std::uint64_t>(value.time_since_epoch().count())); }
    [[nodiscard]] std::string take() { return std::move(_bytes); }

  private:
    std::string _bytes;
};

// Throws StorageFailure where the bytes are not what a RowWriter wrote.
class RowReader {
  public:
    explicit RowReader(std::string_view bytes) : _bytes(bytes) {}

    std::uint64_t number() {
        std::uint64_t value = 0;
        for (unsigned shift = 0; shift < 64 && !_bytes.empty(); shift += 7) {
            const auto byte = static_cast<unsigned char>(_bytes.front());
            _bytes.remove_prefix(1);
            value |= std::uint64_t{byte & 0x7fU} << shift;
            if (byte < 0x80) return value;
        }
        throw StorageFailure("a row is damaged");
    }
    std::string_view text() {
        const auto length = number();
        if (length > _bytes.size()) throw StorageFailure("a row is damaged");
        auto value = _bytes.substr(0, length);
        _bytes.remove_prefix(length);
        return value;
    }
    std::string string() { return std::string(text()); }
    bool flag() { return number() != 0; }
    NSDate date() { return NSDate(std::chrono::microseconds(static_cast<std::int64_t>(number()))); }

  private:
    std::string_view _bytes;
};

// Eight bytes, the highest first.
[[nodiscard]] inline std::string orderedNumber(std::uint64_t value) {
    std::string bytes(8, '\0');
    for (int place = 7; place >= 0; --place, value >>= 8)
        bytes[static_cast<std::size_t>(place)] = static_cast<char>(value);
    return bytes;
}

// Of the last eight bytes of a name.
[[nodiscard]] inline std::uint64_t numberAtEnd(std::string_view name) {
    if (name.size() < 8) throw StorageFailure("a row is damaged");
    std::uint64_t value = 0;
    for (const char byte : name.substr(name.size() - 8))
        value = value << 8 | static_cast<unsigned char>(byte);
    return value;
}

}  // namespace zun::cloud
