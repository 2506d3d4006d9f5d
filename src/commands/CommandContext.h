#pragma once

// What every command of zunctl works with, and how it answers. One command runs at a time, on the main thread.

#include <boost/json/value.hpp>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ZunDataModel/ZNReminderObject.h"
#include "core/ZNReminderManager.h"
#include "dates/DateLabels.h"
#include "platform/foundation/Environment.h"
#include "platform/foundation/LocalizedStrings.h"
#include "text/QuickEntry.h"
#include "text/ZNReminderHelper.h"

namespace zun {

struct CloudAccess;

// Exit statuses, the same for all commands.
namespace ExitStatus {
inline constexpr int done = 0, notPossible = 1, wrongUsage = 2;
}

struct CommandContext {
    const Environment& environment;
    ZNDatabase& database;
    ZNReminderManager& manager;
    NSUserNotificationCenter& userNotifications;
    const LocalizedStrings& strings;
    const DateLabels& labels;
    const ZNReminderHelper& helper;
    const QuickEntryReader& quickEntry;
    // Hands a URL to the running application. False if none is running.
    std::function<bool(const std::string& url)> openInApplication;
    // Made when it is first asked for.
    std::function<CloudAccess&()> cloud;
    bool json = false;
    // A person reads standard error, so a hint there disturbs no script.
    bool showsHints = false;

    std::string out{};  // what goes to standard output once the command is done
    std::string err{};  // sentences for standard error
    // A sentence about a record that is missing after its write; not for standard error if a failed write says why.
    std::string missing{};

    int fail(std::string_view sentence, int status = ExitStatus::notPossible);
    void print(std::string_view line);
    void printJSON(const boost::json::value& value);
    // A record for scripts, or a few lines about it for people.
    void printRecord(const ZNReminderObject& reminder);
    // Waits until everything that was started is durable, and prints the record as the store has it then.
    int printStored(const std::string& reminderID);

    // The stored record that is there for the user; null, with a sentence on standard error, if there is none.
    [[nodiscard]] ReminderPtr find(const std::string& reminderID);
    // The stored record as it stands now, marks of deletion included; null if there is none.
    [[nodiscard]] ReminderPtr fetch(const std::string& reminderID);
};

}  // namespace zun
