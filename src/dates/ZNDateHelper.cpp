#include "dates/ZNDateHelper.h"

#include <algorithm>
#include <chrono>

#include "platform/foundation/NSCalendar.h"

namespace zun {
namespace {

NSDate atMorningHour(const NSCalendar& calendar, std::uint64_t morningHour, NSDate date) {
    constexpr std::uint64_t lastHour = 23;
    return calendar.dateBySettingHour(static_cast<int>(std::min(morningHour, lastHour)), 0, 0, date);
}

}  // namespace

NSDate ZNDateHelper::startDateFromReminderOrSettingsWithReminderStartDate(OptionalDate startDate) const {
    return startDate ? *startDate : NSCalendar::current(_environment).startOfDayForDate(_environment.now());
}

bool ZNDateHelper::isBeyondHour(int hour) const {
    return NSCalendar::current(_environment).components(_environment.now()).hour.value_or(0) >= hour;
}

NSDate ZNDateHelper::tomorrowWithUserSetMorningHour(std::uint64_t morningHour) const {
    const auto calendar = NSCalendar::current(_environment);
    return atMorningHour(calendar, morningHour, calendar.dateByAddingUnit(NSCalendarUnit::Day, 1, _environment.now()));
}

OptionalDate ZNDateHelper::thisWeekendWithUserSetMorningHour(std::uint64_t morningHour) const {
    const auto calendar = NSCalendar::current(_environment);
    const auto start = calendar.nextWeekendStartDateAfterDate(_environment.now());
    if (!start) return std::nullopt;
    return atMorningHour(calendar, morningHour, *start);
}

NSDate ZNDateHelper::currentDateRoundedDownTo5Minutes() const {
    using namespace std::chrono;
    constexpr auto step = 300s;
    const auto sinceReference = duration_cast<seconds>(_environment.now() - referenceDate);
    const auto rest = sinceReference % step;
    return referenceDate + (sinceReference - rest) + (rest > step / 2 ? step : 0s);
}

NSDate ZNDateHelper::oneWeekFromToday() const {
    return NSCalendar::current(_environment).dateByAddingUnit(NSCalendarUnit::WeekOfYear, 1, _environment.now());
}

bool ZNDateHelper::isToday(NSDate date) const {
    return NSCalendar::current(_environment).isDateInSameDay(date, _environment.now());
}

bool ZNDateHelper::isTomorrow(NSDate date) const {
    const auto calendar = NSCalendar::current(_environment);
    return calendar.isDateInSameDay(date, calendar.dateByAddingUnit(NSCalendarUnit::Day, 1, _environment.now()));
}

}  // namespace zun
