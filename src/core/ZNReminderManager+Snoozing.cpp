#include "core/ZNReminderManager.h"
#include "platform/foundation/NSCalendar.h"

namespace zun {
namespace {

using namespace std::chrono_literals;

// The values of the snooze setting.
constexpr std::uint64_t nextDay = 0;
constexpr std::uint64_t oneHour = 1;
constexpr std::uint64_t fifteenMinutes = 2;

// Observers hear of the step; what is stored stays as it was.
void touchSnoozeCount(ZNReminderObject& reminder, std::int64_t step) {
    const auto count = reminder.snoozeCount();
    reminder.setSnoozeCount(count + static_cast<std::uint64_t>(step));
    reminder.setSnoozeCount(count);
}

}  // namespace

bool ZNReminderManager::snoozeReminder(const ReminderPtr& reminder, OptionalDate withDate) {
    reminder->setRank(0);
    touchSnoozeCount(*reminder, 1);
    if (!reminder->isLocationBased()) {
        OptionalDate fireDate;
        switch (_with.settings.snoozeType()) {
            case nextDay:
                fireDate = withDate ? withDate : advanceToNextDayWithDueDate(reminder->onGetDueDate());
                break;
            case oneHour:
                fireDate = withDate ? withDate : _with.environment.now() + 1h;
                break;
            case fifteenMinutes:
                fireDate = withDate ? withDate : _with.environment.now() + 15min;
                break;
            default:
                break;
        }
        reminder->onSetFireDate(fireDate);
    }
    update(reminder);
    return true;
}

void ZNReminderManager::undoSnoozeForReminder(const ReminderPtr& reminder) {
    const auto start = reminder->start_date();
    reminder->onSetFireDate(reminder->repeat_type() != RepeatType::none ? reminder->onGetDueDate() : start);
    if (!start) {
        reminder->setDue_date(std::nullopt);
        reminder->onSetFireDate(std::nullopt);
    }
    touchSnoozeCount(*reminder, -1);
    update(reminder);
}

NSDate ZNReminderManager::advanceToNextDayWithDueDate(OptionalDate dueDate) const {
    const auto calendar = NSCalendar::current(_with.environment);
    const auto now = _with.environment.now();
    NSDateComponents time;
    auto options = NSCalendarOptions::MatchNextTimePreservingSmallerUnits;
    if (dueDate) {
        const auto due = calendar.components(*dueDate);
        time.hour = due.hour;
        time.minute = due.minute;
        options = NSCalendarOptions::MatchPreviousTimePreservingSmallerUnits;
    } else {
        time.hour = static_cast<int>(_with.settings.morningHour() % 24);
        time.minute = 0;
    }
    time.second = 0;
    const auto candidate = calendar.nextDateAfterDate(now, time, options);
    return calendar.isDateInSameDay(candidate, now) ? calendar.dateByAddingUnit(NSCalendarUnit::Day, 1, candidate)
                                                    : candidate;
}

NSDate ZNReminderManager::advanceToNextWeekWithDueDate(OptionalDate dueDate) const {
    const auto calendar = NSCalendar::current(_with.environment);
    const auto now = _with.environment.now();
    NSDate today = calendar.startOfDayForDate(now);
    if (dueDate) {
        const auto due = calendar.components(*dueDate);
        today = calendar.dateBySettingHour(*due.hour, *due.minute, 0, now);
    }
    return calendar.dateByAddingUnit(NSCalendarUnit::WeekOfYear, 1, today);
}

std::chrono::duration<double> ZNReminderManager::snoozeDuration() const {
    switch (_with.settings.snoozeType()) {
        case fifteenMinutes:
            return 15min;
        case oneHour:
            return 1h;
        default:
            return 24h;
    }
}

}  // namespace zun
