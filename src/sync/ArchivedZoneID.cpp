#include "sync/ArchivedZoneID.h"

#include <charconv>
#include <string>

namespace zun {

Bytes archivedZoneID(const CKRecordZoneID& zoneID) {
    const auto text = std::to_string(zoneID.zoneName.size()) + ":" + zoneID.zoneName + zoneID.ownerName;
    return {text.begin(), text.end()};
}

std::optional<CKRecordZoneID> unarchivedZoneID(const Bytes& archive) {
    const std::string text(archive.begin(), archive.end());
    std::size_t length = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), length);
    const auto names = static_cast<std::size_t>(end - text.data()) + 1;
    if (error != std::errc() || names > text.size() || *end != ':' || length > text.size() - names) return std::nullopt;
    return CKRecordZoneID{text.substr(names, length), text.substr(names + length)};
}

}  // namespace zun
