#pragma once

// What this process has to be told about other processes' commits.

#include <string_view>
#include <vector>

#include "ZunDataModel/ZNReminderObject.h"
#include "ZunDataModel/store/ChangeLog.h"

namespace zun {

struct ForeignChangeNews {
    std::string_view name;  // of the notification
    ReminderPtr reminder;  // as it is stored now; of a removed one only the identifier; null where many changed at once
};

// Reads the log from `lastChange` on and moves that to its end. Each record is told once, by what became of it in the
// end. Where more changed than is worth telling one by one, or entries were missed, a single piece of news says so.
[[nodiscard]] std::vector<ForeignChangeNews> readForeignChangeNews(StoreConnection& connection,
                                                                   std::int64_t& lastChange,
                                                                   const std::atomic<std::int64_t>& ownWriter);

}  // namespace zun
