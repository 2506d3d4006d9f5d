#include <fmt/format.h>

#include <algorithm>
#include <boost/json/array.hpp>
#include <boost/json/object.hpp>

#include "commands/Commands.h"
#include "commands/TerminalText.h"
#include "platform/foundation/ISO8601.h"

namespace zun {
namespace {

boost::json::value jsonFromText(const std::optional<std::string>& text) {
    return text ? boost::json::value(*text) : boost::json::value(nullptr);
}

boost::json::object jsonFromAlert(const NSUserNotification& alert, AlertKind kind) {
    boost::json::object object{{"deliveryDate", iso8601FromDate(alert.deliveryDate)}};
    if (kind == AlertKind::Delivered)
        object["actualDeliveryDate"] = iso8601FromDate(alert.actualDeliveryDate.value_or(alert.deliveryDate));
    object["title"] = alert.title;
    object["subtitle"] = alert.subtitle;
    object[NOTIFICATION_REMINDER_ID] = jsonFromText(alert.reminderID());
    return object;
}

// The texts in columns as wide as their widest entry; the last one as it is.
void printAligned(CommandContext& context, const std::vector<std::vector<std::string>>& rows) {
    std::vector<std::size_t> widths;
    for (const auto& row : rows) {
        widths.resize(row.size());
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], terminalWidth(row[i]));
    }
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t i = 0; i + 1 < row.size(); ++i)
            line += row[i] + std::string(widths[i] - terminalWidth(row[i]) + 2, ' ');
        context.print(line + row.back());
    }
}

}  // namespace

int alertsCommand(CommandContext& context, AlertKind kind) {
    const auto alerts = kind == AlertKind::Delivered ? context.userNotifications.deliveredNotifications()
                                                     : context.userNotifications.scheduledNotifications();
    if (context.json) {
        boost::json::array array;
        for (const auto& alert : alerts)
            array.push_back(jsonFromAlert(alert, kind));
        context.printJSON(array);
        return ExitStatus::done;
    }
    std::vector<std::vector<std::string>> rows;
    for (const auto& alert : alerts) {
        const auto date = alert.actualDeliveryDate.value_or(alert.deliveryDate);
        rows.push_back({context.labels.dateAsShortStringWithWeekdayDayMonthYear(date), alert.reminderID().value_or("-"),
                        fmt::format("{}  ({})", terminalLine(alert.title), terminalLine(alert.subtitle))});
    }
    printAligned(context, rows);
    return ExitStatus::done;
}

int sweepCommand(CommandContext& context) {
    // Each step sees what the one before has done: deleting takes alerts along, which are stale no more.
    const auto doubles = context.manager.deDupeDatabase();
    context.manager.waitUntilSettled();
    const auto completed = context.manager.removeCompletedRemindersIfEnabled();
    context.manager.waitUntilSettled();
    const auto staleAlerts = context.manager.removeStaleLocalNotifications();
    if (context.json) {
        context.printJSON(boost::json::object{{"doubles", doubles},
                                              {"completed", completed.value_or(0)},
                                              {"staleAlerts", staleAlerts},
                                              {"clockHasJumped", !completed.has_value()}});
        return ExitStatus::done;
    }
    context.print(fmt::format("removed: {}, {} old completed, {}", counted(doubles, "double", "doubles"),
                              completed.value_or(0), counted(staleAlerts, "stale alert", "stale alerts")));
    if (!completed) context.print("The clock has jumped within a day, so completed reminders are kept for now.");
    return ExitStatus::done;
}

}  // namespace zun
