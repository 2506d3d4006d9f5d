#pragma once

// Reading what lists need of many records, without the records. Throws as reading records does.

#include <span>
#include <stop_token>

#include "ZunDataModel/ListedReminders.h"
#include "ZunDataModel/ListingPart.h"
#include "ZunDataModel/store/StoreConnection.h"

namespace zun {

// The parts one behind the other, all from one moment of the store. Incomplete once the stop is asked for.
[[nodiscard]] ListedReminders listRecords(StoreConnection& connection, std::span<const ListingPart> parts,
                                          const std::stop_token& stop);

}  // namespace zun
