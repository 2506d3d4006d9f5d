#include <fmt/format.h>

#include <cstdlib>
#include <iterator>
#include <utility>

#include "ZunDataModel/ZNArrayDataSource.h"
#include "core/ZNReminderManager.h"
#include "platform/foundation/Log.h"

namespace zun {
namespace {

using namespace std::chrono_literals;
using Arguments = std::vector<NSPredicate::Argument>;

const NSSortDescriptor byFireDate{"fire_date", false};
const NSSortDescriptor byDueDate{"due_date", false};
const NSSortDescriptor byCompletedDate{"completed_date", false};
const NSSortDescriptor byRisingFireDate{"fire_date", true};

// A null predicate would mean every record, so a format with a slip in it must not pass for one.
NSPredicate predicate(std::string_view format, Arguments arguments) {
    auto parsed = NSPredicate::predicateWithFormat(format, std::move(arguments));
    if (!parsed) {
        NSLog(fmt::format("Not a predicate: {}", format));
        std::abort();
    }
    return *std::move(parsed);
}

// The records of the two lists, which are fetched as a whole and in short.
constexpr std::string_view activeFormat =
    "locationLatitude = 0 AND locationLongitude = 0 AND (fire_date <= %@ OR fire_date = nil) AND completed_date = nil "
    "AND (shouldDeleteRemote = %@ OR shouldDeleteRemote = nil)";
constexpr std::string_view locationsFormat =
    "locationLatitude != 0 AND locationLongitude != 0 AND completed_date = nil "
    "AND (shouldDeleteRemote = %@ OR shouldDeleteRemote = nil)";
constexpr std::string_view futureFormat =
    "locationLatitude = 0 AND locationLongitude = 0 AND fire_date > %@ AND completed_date = nil "
    "AND (shouldDeleteRemote = %@ OR shouldDeleteRemote = nil)";
constexpr std::string_view completedFormat =
    "completed_date != nil AND (shouldDeleteRemote = %@ OR shouldDeleteRemote = nil)";
constexpr std::string_view datedFormat =
    "locationLatitude = 0 AND locationLongitude = 0 AND fire_date >= %@ AND completed_date = nil "
    "AND (shouldDeleteRemote = %@ OR shouldDeleteRemote = nil)";
constexpr std::string_view notificationsFormat =
    "locationLatitude = 0 AND locationLongitude = 0 AND fire_date >= %@ AND start_date != nil AND completed_date = nil "
    "AND shouldSuppressNotifications == %@ AND (shouldDeleteRemote = %@ OR shouldDeleteRemote = nil)";

}  // namespace

ZNReminderManager::Reminders ZNReminderManager::fetch(std::string_view format, Arguments arguments,
                                                      const std::vector<NSSortDescriptor>& sort) const {
    return _with.database
        .fetchRemindersForPredicate(predicate(format, std::move(arguments)), sort, ReturnAsReminderObject::Yes)
        .reminders;
}

std::size_t ZNReminderManager::count(std::string_view format, Arguments arguments) const {
    return _with.database
        .fetchRemindersForPredicate(predicate(format, std::move(arguments)), {}, ReturnAsReminderObject::No)
        .count;
}

ZNReminderManager::Reminders ZNReminderManager::fetchAllReminders() const {
    return fetch("reminderID != nil", {});
}

ZNReminderManager::Reminders ZNReminderManager::fetchAllCompletedReminders() const {
    return fetch(completedFormat, {false}, {byCompletedDate});
}

ZNReminderManager::Reminders ZNReminderManager::fetchAllRemindersWithDates() const {
    return fetch(datedFormat, {_with.environment.now(), false}, {byFireDate});
}

ZNReminderManager::Reminders ZNReminderManager::fetchAllRemindersWithLocations() const {
    return fetch(locationsFormat, {false}, {byRisingFireDate});
}

ZNReminderManager::Reminders ZNReminderManager::fetchAllActiveRemindersWithLocations() const {
    return fetch(
        "locationLatitude != 0 AND locationLongitude != 0 AND completed_date = nil "
        "AND (fire_date = nil OR fire_date <= %@) AND (shouldDeleteRemote = %@ OR shouldDeleteRemote = nil)",
        {_with.environment.now(), false});
}

ZNReminderManager::Reminders ZNReminderManager::fetchAllRemindersNotSentToServer() const {
    return fetch("didPersistToiCloud = %@", {false});
}

ZNReminderManager::Reminders ZNReminderManager::fetchAllSharedReminders() const {
    return fetch("shareURL != nil", {});
}

ZNReminderManager::Reminders ZNReminderManager::fetchAllRemindersToDelete() const {
    return fetch("shouldDeleteRemote = %@", {true});
}

ZNReminderManager::Reminders ZNReminderManager::fetchAllRemindersWithLocalChanges() const {
    return fetch("hasLocalChanges = %@ AND (shouldDeleteRemote = %@ OR shouldDeleteRemote = nil)", {true, false});
}

std::size_t ZNReminderManager::numberOfRemindersToSend() const {
    return count("didPersistToiCloud = %@ OR hasLocalChanges = %@ OR shouldDeleteRemote = %@", {false, true, true});
}

ZNReminderManager::Reminders ZNReminderManager::fetchAllFutureReminders() const {
    return fetch(futureFormat, {_with.environment.now(), false}, {byDueDate});
}

ZNReminderManager::Reminders ZNReminderManager::fetchAllRemindersWithNotificationsOnOrAfterDate(
    NSDate date, IncludeSuppressed includeSuppressed) const {
    return fetch(notificationsFormat, {date, includeSuppressed == IncludeSuppressed::Yes, false});
}

ZNReminderManager::Reminders ZNReminderManager::fetchAllRemindersWithNotificationsOnOrBeforeDate(
    NSDate date, IncludeSuppressed includeSuppressed) const {
    return fetch(notificationsFormat, {date, includeSuppressed == IncludeSuppressed::Yes, false});
}

ReminderPtr ZNReminderManager::fetchReminderWithReminderID(const std::optional<std::string>& reminderID) const {
    const auto found =
        fetch("(reminderID == %@)", {reminderID ? NSPredicate::Argument(*reminderID) : NSPredicate::Argument(nullptr)});
    return found.empty() ? nullptr : found.front();
}

FetchResult ZNReminderManager::fetchAllRemindersWithPredicate(const std::optional<NSPredicate>& predicate,
                                                              const std::vector<NSSortDescriptor>& withSortDescriptors,
                                                              ReturnAsReminderObject returnAsReminderObjects) const {
    return _with.database.fetchRemindersForPredicate(predicate, withSortDescriptors, returnAsReminderObjects);
}

ZNReminderManager::Reminders ZNReminderManager::activeRemindersWithSort(
    const std::vector<NSSortDescriptor>& sort) const {
    return ZNArrayDataSource::sortedArray(fetch(activeFormat, {_with.environment.now(), false}, sort));
}

ZNReminderManager::Reminders ZNReminderManager::fetchAllActiveRemindersWithDefaultSort(bool defaultSort) const {
    return activeRemindersWithSort({defaultSort ? byFireDate : byDueDate});
}

ZNReminderManager::Reminders ZNReminderManager::fetchAllIncompleteReminders() const {
    auto all = fetchAllActiveRemindersWithDefaultSort(true);
    for (auto part : {fetchAllRemindersWithLocations(), fetchAllFutureReminders()}) {
        all.insert(all.end(), std::make_move_iterator(part.begin()), std::make_move_iterator(part.end()));
    }
    return all;
}

ListedReminders ZNReminderManager::listAllIncompleteReminders(const std::stop_token& stop) const {
    const NSDate now = _with.environment.now();
    return _with.database.listRemindersForParts(
        {{predicate(activeFormat, {now, false}), byFireDate, ListingOrder::OfDeck},
         {predicate(locationsFormat, {false}), byRisingFireDate},
         {predicate(futureFormat, {now, false}), byDueDate}},
        stop);
}

ListedReminders ZNReminderManager::listAllCompletedReminders(const std::stop_token& stop) const {
    return _with.database.listRemindersForParts({{predicate(completedFormat, {false}), byCompletedDate}}, stop);
}

ListedReminders ZNReminderManager::listAllRemindersWithDates(const std::stop_token& stop) const {
    return _with.database.listRemindersForParts(
        {{predicate(datedFormat, {_with.environment.now(), false}), byFireDate}}, stop);
}

OptionalDate ZNReminderManager::nextFireDateAfter(NSDate date) const {
    return _with.database.earliestDateForPredicate(
        predicate("locationLatitude = 0 AND locationLongitude = 0 AND fire_date > %@ AND completed_date = nil "
                  "AND (shouldDeleteRemote = %@ OR shouldDeleteRemote = nil)",
                  {date, false}),
        "fire_date");
}

std::size_t ZNReminderManager::numberOfActiveReminders() const {
    return count(
        "locationLatitude = 0 AND locationLongitude = 0 AND fire_date <= %@ AND completed_date = nil "
        "AND start_date != nil AND (shouldDeleteRemote = %@ OR shouldDeleteRemote = nil)",
        {_with.environment.now(), false});
}

std::size_t ZNReminderManager::numberOfTotalReminders() const {
    return count("reminderID != nil", {});
}

std::size_t ZNReminderManager::numberOfActiveRemindersForHourBeforeFireDate(NSDate fireDate) const {
    return count(
        "(locationLatitude = 0 AND locationLongitude = 0 AND fire_date <= %@ AND fire_date >= %@ "
        "AND fire_date != nil) AND completed_date = nil AND (shouldDeleteRemote = %@ OR shouldDeleteRemote = nil)",
        {fireDate, fireDate - 1h, false});
}

std::size_t ZNReminderManager::numberOfActiveRemindersWithLocations() const {
    return fetchAllActiveRemindersWithLocations().size();
}

}  // namespace zun
