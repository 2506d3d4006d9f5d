#include "dates/ZNDateFormatter.h"

#include <unicode/dtfmtsym.h>
#include <unicode/dtptngen.h>
#include <unicode/gregocal.h>
#include <unicode/smpdtfmt.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <memory>

namespace zun {
namespace {

std::string utf8(const icu::UnicodeString& text) {
    std::string result;
    text.toUTF8String(result);
    return result;
}

icu::UnicodeString utf16(std::string_view text) {
    return icu::UnicodeString::fromUTF8({text.data(), static_cast<int32_t>(text.size())});
}

// What one thread keeps for one locale. The formatters run on a clock without a zone: they are given wall time as if it
// were UTC, because the zone's rules are the system's and ICU's own may be older.
class ThreadFormats {
  public:
    static ThreadFormats& forLocale(const std::string& identifier) {
        thread_local std::unique_ptr<ThreadFormats> kept;
        if (!kept || kept->_identifier != identifier) kept.reset(new ThreadFormats(identifier));
        return *kept;
    }

    std::string format(const std::string& pattern, NSDate wallTime) {
        auto& formatter = _byPattern[pattern];
        if (!formatter) {
            UErrorCode status = U_ZERO_ERROR;
            auto made = std::make_unique<icu::SimpleDateFormat>(utf16(pattern), _locale, status);
            if (U_FAILURE(status)) return {};
            prepare(*made);
            formatter = std::move(made);
        }
        return format(*formatter, wallTime);
    }

    std::string formatTemplate(const std::string& fields, NSDate wallTime) {
        auto& pattern = _patternOfTemplate[fields];
        if (pattern.empty()) {
            UErrorCode status = U_ZERO_ERROR;
            if (!_generator) _generator.reset(icu::DateTimePatternGenerator::createInstance(_locale, status));
            if (_generator) pattern = utf8(_generator->getBestPattern(utf16(fields), status));
        }
        return format(pattern, wallTime);
    }

    std::string formatShortTime(NSDate wallTime) {
        if (!_shortTime) {
            _shortTime.reset(icu::DateFormat::createTimeInstance(icu::DateFormat::kShort, _locale));
            if (!_shortTime) return {};
            prepare(*_shortTime);
        }
        return format(*_shortTime, wallTime);
    }

    [[nodiscard]] std::vector<std::string> weekdays(icu::DateFormatSymbols::DtContextType context,
                                                    icu::DateFormatSymbols::DtWidthType width) const {
        UErrorCode status = U_ZERO_ERROR;
        const icu::DateFormatSymbols symbols(_locale, status);
        int32_t count = 0;
        const auto* names = symbols.getWeekdays(count, context, width);
        std::vector<std::string> result;
        for (int32_t weekday = UCAL_SUNDAY; weekday < count; ++weekday)
            result.push_back(utf8(names[weekday]));
        return result;
    }

    [[nodiscard]] std::string symbol(UCalendarAMPMs halfOfDay) const {
        UErrorCode status = U_ZERO_ERROR;
        const icu::DateFormatSymbols symbols(_locale, status);
        int32_t count = 0;
        const auto* names = symbols.getAmPmStrings(count);
        return halfOfDay < count ? utf8(names[halfOfDay]) : std::string();
    }

  private:
    explicit ThreadFormats(const std::string& identifier) : _identifier(identifier), _locale(identifier.c_str()) {
        UErrorCode status = U_ZERO_ERROR;
        _locale.setKeywordValue("calendar", "gregorian", status);
    }

    void prepare(icu::DateFormat& formatter) const {
        // No Julian dates before 1582: the whole system counts days by one rule.
        constexpr UDate beforeAllDates = -8.64e15;
        UErrorCode status = U_ZERO_ERROR;
        auto calendar = std::make_unique<icu::GregorianCalendar>(*icu::TimeZone::getGMT(), _locale, status);
        calendar->setGregorianChange(beforeAllDates, status);
        formatter.adoptCalendar(calendar.release());
    }

    static std::string format(const icu::DateFormat& formatter, NSDate wallTime) {
        const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(wallTime.time_since_epoch());
        icu::UnicodeString result;
        formatter.format(static_cast<UDate>(milliseconds.count()), result);
        return utf8(result);
    }

    std::string _identifier;
    icu::Locale _locale;
    std::unique_ptr<icu::DateTimePatternGenerator> _generator;
    std::unique_ptr<icu::DateFormat> _shortTime;
    std::map<std::string, std::string> _patternOfTemplate;
    std::map<std::string, std::unique_ptr<icu::SimpleDateFormat>> _byPattern;
};

ThreadFormats& formats(const Environment& environment) {
    return ThreadFormats::forLocale(environment.locale().formats);
}

NSDate wallTime(const Environment& environment, NSDate date) {
    // Room for the offset at both ends of what a date can say.
    constexpr auto room = std::chrono::days(2);
    date = std::clamp(date, NSDate::min() + room, NSDate::max() - room);
    return date + environment.timeZone()->offsetAt(date);
}

}  // namespace

std::string ZNDateFormatter::dateAsShortStringWithWeekdayDayMonthYear(ShowTime showTime, ShowYear showYear,
                                                                      NSDate forDate) const {
    const bool year = showYear == ShowYear::Yes;
    const bool time = showTime == ShowTime::Yes;
    const auto key = time ? (year ? "LongTime_Format" : "LongTime_Format_No_Year")
                          : (year ? "LongTime_Format_No_Time" : "LongTime_Format_No_Year_No_Time");
    auto text = formats(_environment).formatTemplate(_strings.string(key), wallTime(_environment, forDate));
    if (time) text += ", " + dateAsTimeForDate(forDate);
    return text;
}

std::string ZNDateFormatter::dateAsShortStringWithWeekdayDayMonthYear(ShowTime showTime, NSDate forDate) const {
    return dateAsShortStringWithWeekdayDayMonthYear(showTime, ShowYear::Yes, forDate);
}

std::string ZNDateFormatter::dateAsTimeForDate(NSDate date) const {
    return formats(_environment).formatShortTime(wallTime(_environment, date));
}

std::string ZNDateFormatter::AMSymbol() const {
    return formats(_environment).symbol(UCAL_AM);
}

std::string ZNDateFormatter::PMSymbol() const {
    return formats(_environment).symbol(UCAL_PM);
}

std::string ZNDateFormatter::shortStringWithWeekdayAndIntegerDayMonthYearForDate(NSDate date) const {
    return stringWithFormatOfKey("Short_Time_Integer_Date", date);
}

std::string ZNDateFormatter::monthAndDayStringForDate(NSDate date) const {
    return stringWithFormatOfKey("Month_and_Day_String", date);
}

std::string ZNDateFormatter::monthAndYearStringForDate(NSDate date) const {
    return stringWithFormatOfKey("Month_and_Year_String", date);
}

std::string ZNDateFormatter::dayStringForDate(NSDate date) const {
    return stringWithFormatOfKey("Day_String_As_Number", date);
}

std::string ZNDateFormatter::dayStringAsWeekdayForDate(NSDate date) const {
    return stringWithFormatOfKey("Day_String_As_Weekday", date);
}

std::string ZNDateFormatter::dayStringAsLongWeekdayForDate(NSDate date) const {
    return stringWithFormatOfKey("Day_String_As_Long_Weekday", date);
}

std::vector<std::string> ZNDateFormatter::weekdayStrings() const {
    return formats(_environment).weekdays(icu::DateFormatSymbols::FORMAT, icu::DateFormatSymbols::WIDE);
}

std::vector<std::string> ZNDateFormatter::standaloneWeekdaySymbols(UseShortStrings useShortStrings) const {
    const auto width =
        useShortStrings == UseShortStrings::Yes ? icu::DateFormatSymbols::ABBREVIATED : icu::DateFormatSymbols::WIDE;
    return formats(_environment).weekdays(icu::DateFormatSymbols::STANDALONE, width);
}

std::string ZNDateFormatter::stringWithFormatOfKey(std::string_view key, NSDate date) const {
    return formats(_environment).format(_strings.string(key), wallTime(_environment, date));
}

}  // namespace zun
