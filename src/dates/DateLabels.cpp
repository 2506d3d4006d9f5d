#include "dates/DateLabels.h"

#include <unicode/locid.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <chrono>

#include "dates/ZNDateHelper.h"
#include "platform/foundation/NSCalendar.h"

namespace zun {
namespace {

struct Distance {
    std::string_view unit;  // in the plural, as in the table's keys
    std::string_view single;
    std::int64_t count;
};

std::chrono::year_month_day addMonths(std::chrono::year_month_day day, int months) {
    const auto moved = day + std::chrono::months(months);
    return moved.ok() ? moved : moved.year() / moved.month() / std::chrono::last;
}

int wholeMonths(std::chrono::year_month_day from, std::chrono::year_month_day to) {
    const auto months = static_cast<int>(((to.year() / to.month()) - (from.year() / from.month())).count());
    return addMonths(from, months) > to ? months - 1 : months;
}

Distance elapsedDistance(std::chrono::seconds elapsed) {
    using namespace std::chrono;
    if (elapsed >= hours(1)) return {"hours", "An hour ago", duration_cast<hours>(elapsed).count()};
    if (elapsed >= minutes(1)) return {"minutes", "A minute ago", duration_cast<minutes>(elapsed).count()};
    return {"seconds", "Just now", elapsed.count()};
}

// Counted on the wall calendar alone: a day that a clock change shortens is still a day.
Distance calendarDistance(std::chrono::local_days from, std::chrono::local_days to) {
    const auto months = wholeMonths(std::chrono::year_month_day(from), std::chrono::year_month_day(to));
    const auto days = (to - from).count();
    if (months >= 12) return {"years", "Last year", months / 12};
    if (months > 0) return {"months", "Last month", months};
    if (days >= 7) return {"weeks", "Last week", days / 7};
    return {"days", "Yesterday", days};
}

}  // namespace

std::string DateLabels::dateAsRelativeString(NSDate date) const {
    return dateAsRelativeStringWithOriginDate(date, _environment.now());
}

std::string DateLabels::dateAsRelativeStringWithOriginDate(NSDate date, NSDate originDate) const {
    if (date < originDate) {
        std::string lower;
        icu::UnicodeString::fromUTF8(timeAgoSinceDate(date, originDate))
            .toLower(icu::Locale(_strings.language().c_str()))
            .toUTF8String(lower);
        return lower;
    }
    if (date == originDate) return _strings.string("Now_Text");

    const auto calendar = NSCalendar::current(_environment);
    if (calendar.isDateInSameDay(date, calendar.dateByAddingUnit(NSCalendarUnit::Day, 1, originDate))) {
        return stringWithFormat(_strings.string("Tomorrow_String_Format"), {dateAsTime(date)});
    }
    if (calendar.isDateInSameDay(date, originDate)) {
        return stringWithFormat(_strings.string("Today_String_Format"), {dateAsTime(date)});
    }
    if (calendar.isDate(date, originDate, NSCalendarUnit::WeekOfYear)) {
        return stringWithFormat(_strings.string("Weekday_String_Format"), {dayStringAsWeekday(date), dateAsTime(date)});
    }
    return dateAsShortStringWithWeekdayDayMonthYear(date, ShowTime::Yes, ShowYear::No);
}

std::string DateLabels::timeAgoSinceDate(NSDate date, NSDate sinceDate) const {
    using namespace std::chrono;
    // The calendar's years end there, and so does what the microseconds between two dates can count.
    constexpr NSDate first{local_days{year{-9999} / 1 / 1}.time_since_epoch()};
    constexpr NSDate last{local_days{year{10000} / 1 / 1}.time_since_epoch()};
    const auto [from, to] = std::minmax({std::clamp(date, first, last), std::clamp(sinceDate, first, last)});
    const auto elapsed = duration_cast<seconds>(to - from);
    const auto zone = _environment.timeZone();
    const auto distance = elapsed < 24h
                              ? elapsedDistance(elapsed)
                              : calendarDistance(floor<days>(zone->localTime(from)), floor<days>(zone->localTime(to)));
    if (distance.count < 2) return _strings.string(distance.single, "DateTools");
    const auto key = timeAgoKey(distance.unit, distance.count, _strings.language());
    return stringWithFormat(_strings.string(key, "DateTools"), {std::to_string(distance.count)});
}

std::string DateLabels::timeAgoKey(std::string_view unit, std::int64_t count, std::string_view language) {
    std::string_view marker;
    if (language == "ru" || language == "uk") {
        const auto lastDigit = count % 10;
        const bool isTeen = count % 100 / 10 == 1;
        if (!isTeen && lastDigit == 1) marker = "__";
        if (!isTeen && lastDigit >= 2 && lastDigit <= 4) marker = "_";
    }
    return stringWithFormat("%%d %@%@ ago", {marker, unit});
}

std::string DateLabels::weekdayStringWithRelativeIfAppropriate(NSDate date) const {
    const ZNDateHelper helper(_environment);
    if (helper.isTomorrow(date)) return _strings.string("Tomorrow_String");
    if (helper.isToday(date)) return _strings.string("Later_Today_String");
    return dayStringAsLongWeekday(date);
}

std::optional<std::string_view> DateLabels::colorForDate(OptionalDate date) const {
    if (!date) return std::nullopt;
    const auto now = _environment.now();
    if (*date > now) return "#99c16a";
    const auto days = NSCalendar::current(_environment).daysAndHours(*date, now).days;
    if (days < 1) return "#fce57d";
    return days < 2 ? "#ff955b" : "#e03b3b";
}

}  // namespace zun
