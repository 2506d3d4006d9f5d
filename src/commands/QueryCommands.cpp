#include <fmt/format.h>

#include <boost/json/array.hpp>

#include "ZunDataModel/SearchFolding.h"
#include "commands/Commands.h"
#include "commands/TerminalText.h"
#include "core/ListSections.h"
#include "platform/foundation/ISO8601.h"
#include "text/RecordJSON.h"
#include "text/ZNComplexityAnalyzer.h"

namespace zun {
namespace {

using Row = ZNArrayDataSource::Row;

// More than anyone reads, and an answer to a rule of one-second steps over ten thousand years.
constexpr std::size_t mostOccurrences = 100'000;

std::vector<ReminderPtr> filtered(std::vector<ReminderPtr> reminders, const std::string& search) {
    if (search.empty()) return reminders;
    const auto folded = foldedForSearch(search);
    std::erase_if(reminders, [&](const ReminderPtr& reminder) {
        return foldedForSearch(reminder->title()).find(folded) == std::string::npos;
    });
    return reminders;
}

std::vector<Row> rowsOf(const std::vector<ReminderPtr>& reminders) {
    return {reminders.begin(), reminders.end()};
}

std::vector<Row> rowsForList(CommandContext& context, ListKind kind, const std::string& search) {
    switch (kind) {
        case ListKind::Deck:
            return rowsOf(filtered(context.manager.fetchAllActiveRemindersWithDefaultSort(true), search));
        case ListKind::Upcoming:
            return upcomingRows(filtered(context.manager.fetchAllIncompleteReminders(), search), context.labels,
                                context.strings, context.environment);
        case ListKind::Completed:
            return rowsOf(filtered(context.manager.fetchAllCompletedReminders(), search));
        case ListKind::All: {
            auto reminders = filtered(context.manager.fetchAllReminders(), search);
            std::sort(reminders.begin(), reminders.end(),
                      [](const ReminderPtr& a, const ReminderPtr& b) { return a->reminderID() < b->reminderID(); });
            return rowsOf(reminders);
        }
    }
    return {};
}

}  // namespace

int listCommand(CommandContext& context, ListKind kind, const std::string& search) {
    const auto rows = rowsForList(context, kind, search);
    if (context.json) {
        boost::json::array array;
        for (const auto& row : rows) {
            if (const auto* reminder = std::get_if<ReminderPtr>(&row))
                array.push_back(jsonFromRecord((*reminder)->attributes()));
        }
        context.printJSON(array);
        return ExitStatus::done;
    }
    for (const auto& row : rows) {
        if (const auto* title = std::get_if<std::string>(&row)) {
            context.print(context.out.empty() ? *title : "\n" + *title);
        } else {
            const auto& reminder = *std::get<ReminderPtr>(row);
            context.print(fmt::format("{}  {}  ({})", reminder.reminderID().value_or(""),
                                      terminalLine(reminder.title()),
                                      terminalLine(context.helper.subtitleStringForReminder(reminder))));
        }
    }
    return ExitStatus::done;
}

int showCommand(CommandContext& context, const std::string& reminderID) {
    const auto reminder = context.fetch(reminderID);
    if (!reminder) return context.fail(fmt::format("There is no reminder {}.", reminderID));
    context.printRecord(*reminder);
    return ExitStatus::done;
}

int copyCommand(CommandContext& context, const std::string& reminderID) {
    const auto reminder = context.find(reminderID);
    if (!reminder) return ExitStatus::notPossible;
    const auto text = context.helper.reminderAsString(*reminder);
    if (context.json) {
        context.printJSON(boost::json::object{{"text", text}});
    } else {
        context.print(text);
    }
    return ExitStatus::done;
}

int countCommand(CommandContext& context) {
    const auto active = context.manager.numberOfActiveReminders();
    const auto total = context.manager.numberOfTotalReminders();
    if (context.json) {
        context.printJSON(boost::json::object{{"active", active}, {"total", total}});
    } else {
        context.print(fmt::format("{} active, {} in all", active, total));
    }
    return ExitStatus::done;
}

int checkCommand(CommandContext& context, const std::string& title, const std::optional<std::string>& notes) {
    const bool isComplex =
        ZNComplexityAnalyzer::checkReminderComplexityWithTitle(title, notes, context.environment.locale());
    if (context.json) {
        context.printJSON(boost::json::object{{"complex", isComplex}});
    } else {
        context.print(isComplex ? "complex" : "simple");
    }
    return ExitStatus::done;
}

int occurrencesCommand(CommandContext& context, const std::string& reminderID, const std::string& from,
                       const std::string& to) {
    const auto zone = context.environment.timeZone();
    const auto start = dateFromISO8601(from, *zone);
    const auto end = dateFromISO8601(to, *zone);
    if (!start) return context.fail(fmt::format("\"{}\" is not a date.", from));
    if (!end) return context.fail(fmt::format("\"{}\" is not a date.", to));
    const auto reminder = context.find(reminderID);
    if (!reminder) return ExitStatus::notPossible;

    const auto dates = context.manager.occurrencesOfReminder(*reminder, *start, *end, mostOccurrences);
    boost::json::array array;
    for (const auto date : dates) {
        if (context.json) {
            array.emplace_back(iso8601FromDate(date));
        } else {
            context.print(context.labels.dateAsShortStringWithWeekdayDayMonthYear(date));
        }
    }
    if (context.json) context.printJSON(array);
    if (dates.size() == mostOccurrences)
        context.fail(fmt::format("Only the first {} dates are shown.", mostOccurrences));
    return ExitStatus::done;
}

}  // namespace zun
