#include "dates/DateLabels.h"
#include "platform/foundation/NSCalendar.h"
#include "text/QuickEntry.h"
#include "text/ZNReminderHelper.h"

namespace zun {
namespace {

std::string weekdayNames(const DayOrdinals& ordinals, const DateLabels& labels) {
    const auto symbols = labels.formatter().standaloneWeekdaySymbols(UseShortStrings::Yes);
    std::string names;
    for (const int ordinal : ordinals) {
        names.append(names.empty() ? "" : ", ").append(symbols.at(static_cast<std::size_t>(ordinal) - 1));
    }
    return names;
}

std::string repeatText(const QuickEntry& entry, const DateLabels& labels, const LocalizedStrings& strings,
                       const ZNReminderHelper& helper) {
    if (entry.customRepeatInterval > 1) {
        return helper.stringForRepeatType(entry.repeat_type, entry.customRepeatInterval, entry.customRepeatDayOrdinals,
                                          ShowOrdinals::Yes, UseShortStrings::Yes);
    }
    if (!entry.customRepeatDayOrdinals) return helper.stringForRepeatType(entry.repeat_type);
    return stringWithFormat(strings.string("Quick_Entry_Weekdays_Format"),
                            {weekdayNames(*entry.customRepeatDayOrdinals, labels)});
}

}  // namespace

std::string QuickEntryReader::description(const QuickEntry& entry) const {
    const DateLabels labels(_environment, _strings);
    const auto calendar = NSCalendar::current(_environment);
    const auto now = _environment.now();
    const auto text = [&](NSDate date, ShowTime showTime) {
        const bool isThisYear = calendar.isDate(date, now, NSCalendarUnit::Year);
        return labels.dateAsShortStringWithWeekdayDayMonthYear(date, showTime,
                                                               isThisYear ? ShowYear::No : ShowYear::Yes);
    };
    const auto start = text(entry.start_date, ShowTime::Yes);
    if (entry.repeat_type == RepeatType::none) return start;
    const auto repeat = repeatText(entry, labels, _strings, ZNReminderHelper(_environment, _strings));
    if (!entry.end_date) return stringWithFormat(_strings.string("Quick_Entry_Repeat_Format"), {repeat, start});
    return stringWithFormat(_strings.string("Quick_Entry_Repeat_Until_Format"),
                            {repeat, start, text(*entry.end_date, ShowTime::No)});
}

}  // namespace zun
