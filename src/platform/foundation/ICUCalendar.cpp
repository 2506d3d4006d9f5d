#include "platform/foundation/ICUCalendar.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <memory>
#include <string_view>
#include <vector>

#include "platform/foundation/Log.h"

namespace zun {
namespace {

using std::chrono::floor;
using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::seconds;

// Every call gets arguments that ICU accepts, so a failure means that its data are missing: nothing could go on
// sensibly.
void require(UErrorCode status, std::string_view operation) {
    if (U_SUCCESS(status)) return;
    NSLog("ICU cannot " + std::string(operation) + ": " + u_errorName(status));
    std::abort();
}

}  // namespace

ICUCalendar::ICUCalendar(const std::string& localeIdentifier)
    : _calendar([&] {
          UErrorCode status = U_ZERO_ERROR;
          icu::GregorianCalendar calendar(*icu::TimeZone::getGMT(), icu::Locale(localeIdentifier.c_str()), status);
          require(status, "make a calendar");
          return calendar;
      }()) {
    UErrorCode status = U_ZERO_ERROR;
    _calendar.setGregorianChange(-std::numeric_limits<UDate>::max(), status);
    require(status, "make a calendar proleptic");
    _ownFirstWeekday = _calendar.getFirstDayOfWeek(status);
    require(status, "tell the first weekday");
}

ICUCalendar& ICUCalendar::forLocale(const std::string& localeIdentifier, int firstWeekday) {
    struct Entry {
        std::string localeIdentifier;
        std::unique_ptr<ICUCalendar> calendar;
    };
    // A program uses one locale, or two while the user changes it; tests use several.
    constexpr std::size_t most = 8;
    thread_local std::vector<Entry> entries;
    auto found = std::find_if(entries.begin(), entries.end(),
                              [&](const Entry& entry) { return entry.localeIdentifier == localeIdentifier; });
    if (found == entries.end()) {
        if (entries.size() == most) entries.erase(entries.begin());
        entries.push_back({localeIdentifier, std::unique_ptr<ICUCalendar>(new ICUCalendar(localeIdentifier))});
        found = entries.end() - 1;
    }
    auto& result = *found->calendar;
    result._calendar.setFirstDayOfWeek(
        static_cast<UCalendarDaysOfWeek>(firstWeekday == 0 ? result._ownFirstWeekday : firstWeekday));
    return result;
}

void ICUCalendar::setTime(LocalTime wall) {
    const auto second = floor<seconds>(wall);
    _belowSecond = wall - second;
    UErrorCode status = U_ZERO_ERROR;
    _calendar.setTime(static_cast<UDate>(milliseconds{second.time_since_epoch()}.count()), status);
    require(status, "set a time");
}

LocalTime ICUCalendar::time() {
    UErrorCode status = U_ZERO_ERROR;
    const UDate result = _calendar.getTime(status);
    require(status, "read a time");
    // A second inside the ends, so that adding the fraction cannot leave them.
    constexpr auto least = static_cast<UDate>(std::numeric_limits<std::int64_t>::min() / 1000 + 1000);
    constexpr auto most = static_cast<UDate>(std::numeric_limits<std::int64_t>::max() / 1000 - 1000);
    if (result < least) return LocalTime::min();
    if (result > most) return LocalTime::max();
    return LocalTime{milliseconds{static_cast<std::int64_t>(result)}} + _belowSecond;
}

int ICUCalendar::get(UCalendarDateFields field) {
    UErrorCode status = U_ZERO_ERROR;
    const int value = _calendar.get(field, status);
    require(status, "read a field");
    return value;
}

void ICUCalendar::clear() {
    _calendar.clear();
    _belowSecond = microseconds::zero();
}

void ICUCalendar::set(UCalendarDateFields field, int value) {
    _calendar.set(field, value);
}

void ICUCalendar::add(UCalendarDateFields field, int value) {
    UErrorCode status = U_ZERO_ERROR;
    _calendar.add(field, value, status);
    require(status, "add to a date");
}

std::optional<int> ICUCalendar::weekendOnset(int weekday) {
    const auto typeOf = [&](int day) {
        UErrorCode status = U_ZERO_ERROR;
        const auto type = _calendar.getDayOfWeekType(static_cast<UCalendarDaysOfWeek>(day), status);
        require(status, "tell a weekend");
        return type;
    };
    const auto type = typeOf(weekday);
    if (type == UCAL_WEEKEND_ONSET) {
        UErrorCode status = U_ZERO_ERROR;
        const int onset = _calendar.getWeekendTransition(static_cast<UCalendarDaysOfWeek>(weekday), status);
        require(status, "tell the start of a weekend");
        return onset;
    }
    const bool restsBefore = typeOf(weekday == UCAL_SUNDAY ? UCAL_SATURDAY : weekday - 1) != UCAL_WEEKDAY;
    if (type == UCAL_WEEKDAY || restsBefore) return std::nullopt;
    return 0;
}

}  // namespace zun
