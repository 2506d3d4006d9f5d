#pragma once

// The name of a zone as bytes for the store, and back. Pure functions.

#include <optional>

#include "platform/cloudprotocol/CKRecordID.h"
#include "platform/foundation/Bytes.h"

namespace zun {

// The length of the first name in decimal digits, a colon, and both names.
[[nodiscard]] Bytes archivedZoneID(const CKRecordZoneID& zoneID);
// Absent for bytes that are no such archive.
[[nodiscard]] std::optional<CKRecordZoneID> unarchivedZoneID(const Bytes& archive);

}  // namespace zun
