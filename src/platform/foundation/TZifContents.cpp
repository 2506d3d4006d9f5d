#include "platform/foundation/TZifContents.h"

#include <cstddef>
#include <cstdint>

#include "platform/foundation/NSDate.h"

namespace zun {
namespace {

using std::chrono::seconds;
using std::chrono::sys_seconds;

// The format's own bounds for an offset.
constexpr seconds leastOffset{-89'999};
constexpr seconds mostOffset{93'599};
// What a file says of times outside these bounds is not kept: the first is a year inside the start of NSDate, and no
// clock is planned beyond the second.
constexpr auto earliest = std::chrono::ceil<seconds>(NSDate::min()) + seconds{366 * 86'400};
constexpr sys_seconds latest = std::chrono::sys_days{std::chrono::year{9999} / 12 / 31};

std::uint64_t bigEndian(std::string_view bytes) {
    std::uint64_t value = 0;
    for (const unsigned char c : bytes)
        value = value << 8 | c;
    return value;
}

struct Header {
    static constexpr std::size_t size = 44;
    char version = 0;
    std::uint64_t utcFlags = 0, standardFlags = 0, leapSeconds = 0, transitions = 0, types = 0, characters = 0;

    static std::optional<Header> parse(std::string_view bytes) {
        if (bytes.size() < size || !bytes.starts_with("TZif")) return std::nullopt;
        const auto count = [&](std::size_t number) { return bigEndian(bytes.substr(20 + 4 * number, 4)); };
        return Header{bytes[4], count(0), count(1), count(2), count(3), count(4), count(5)};
    }

    // The counts are 32 bits wide, so this cannot overflow.
    [[nodiscard]] std::uint64_t blockSize(std::uint64_t timeSize) const {
        return transitions * (timeSize + 1) + types * 6 + characters + leapSeconds * (timeSize + 4) + standardFlags +
               utcFlags;
    }
};

std::optional<seconds> offsetOfType(std::string_view types, std::size_t number) {
    if (number >= types.size() / 6) return std::nullopt;
    const seconds offset{static_cast<std::int32_t>(bigEndian(types.substr(number * 6, 4)))};
    if (offset < leastOffset || offset > mostOffset) return std::nullopt;
    return offset;
}

std::optional<TZifContents> parseBlock(const Header& header, std::string_view block, std::size_t timeSize) {
    const auto timesLength = static_cast<std::size_t>(header.transitions) * timeSize;
    const auto times = block.substr(0, timesLength);
    const auto indexes = block.substr(timesLength, header.transitions);
    const auto types = block.substr(timesLength + header.transitions, header.types * 6);

    TZifContents contents;
    const auto first = offsetOfType(types, 0);
    if (!first) return std::nullopt;
    contents.firstOffset = *first;
    contents.transitions.reserve(header.transitions);
    std::optional<std::int64_t> previous;
    for (std::size_t i = 0; i < header.transitions; ++i) {
        const auto raw = bigEndian(times.substr(i * timeSize, timeSize));
        const auto time = timeSize == 8 ? static_cast<std::int64_t>(raw) : static_cast<std::int32_t>(raw);
        const auto offset = offsetOfType(types, static_cast<unsigned char>(indexes[i]));
        if (!offset || (previous && time <= *previous)) return std::nullopt;
        previous = time;
        if (time < earliest.time_since_epoch().count()) {
            contents.firstOffset = *offset;
        } else if (time <= latest.time_since_epoch().count()) {
            contents.transitions.push_back({sys_seconds{seconds{time}}, *offset});
        }
    }
    return contents;
}

// The closing rule stands between two newlines after the second block.
std::optional<PosixTimeZoneRule> parseFooter(std::string_view bytes) {
    if (!bytes.starts_with('\n')) return std::nullopt;
    bytes.remove_prefix(1);
    const auto end = bytes.find('\n');
    if (end == std::string_view::npos) return std::nullopt;
    return PosixTimeZoneRule::parse(bytes.substr(0, end));
}

}  // namespace

std::optional<TZifContents> TZifContents::parse(std::string_view bytes) {
    auto header = Header::parse(bytes);
    if (!header) return std::nullopt;
    bytes.remove_prefix(Header::size);
    const auto firstSize = header->blockSize(4);
    if (firstSize > bytes.size()) return std::nullopt;
    if (header->version == '\0') return parseBlock(*header, bytes.substr(0, firstSize), 4);

    bytes.remove_prefix(firstSize);
    header = Header::parse(bytes);
    if (!header) return std::nullopt;
    bytes.remove_prefix(Header::size);
    const auto secondSize = header->blockSize(8);
    if (secondSize > bytes.size()) return std::nullopt;
    auto contents = parseBlock(*header, bytes.substr(0, secondSize), 8);
    if (contents) contents->rule = parseFooter(bytes.substr(secondSize));
    return contents;
}

}  // namespace zun
