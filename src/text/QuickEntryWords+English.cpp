#include "text/QuickEntryWords.h"

namespace zun {
namespace {

constexpr int inUnits(QuickEntryUnit unit, int interval) {
    return static_cast<int>(unit) * 16 + interval;
}
constexpr int valueOf(QuickEntryUnit unit) {
    return static_cast<int>(unit);
}
constexpr int valueOf(PartOfDay part) {
    return static_cast<int>(part);
}

}  // namespace

QuickEntryWords QuickEntryWords::makeEnglish() {
    using enum WordClass;
    using Units = QuickEntryUnit;
    static constexpr Entry entries[] = {
        {RelativeDay, 0, "today"},
        {RelativeDay, 1, "tomorrow tmrw tomorow"},
        {Tonight, valueOf(PartOfDay::Evening), "tonight"},
        {ShortWeekday, 3, "tues"},
        {ShortWeekday, 4, "weds"},
        {ShortWeekday, 5, "thur thurs"},
        {WeekdayHabit, 1, "sundays"},
        {WeekdayHabit, 2, "mondays"},
        {WeekdayHabit, 3, "tuesdays"},
        {WeekdayHabit, 4, "wednesdays"},
        {WeekdayHabit, 5, "thursdays"},
        {WeekdayHabit, 6, "fridays"},
        {WeekdayHabit, 7, "saturdays"},
        {WeekdaySet, 0b01111100, "weekday weekdays workday workdays"},
        {WeekdaySet, 0b10000010, "weekends"},
        {Weekend, 0, "weekend"},
        {Month, 9, "sept"},
        {AmbiguousMonth, 3, "march"},
        {AmbiguousMonth, 5, "may"},
        {Unit, valueOf(Units::Minute), "minute minutes min mins"},
        {Unit, valueOf(Units::Hour), "hour hours hr hrs"},
        {Unit, valueOf(Units::Day), "day days"},
        {Unit, valueOf(Units::Week), "week weeks"},
        {Unit, valueOf(Units::Fortnight), "fortnight fortnights"},
        {Unit, valueOf(Units::Month), "month months"},
        {Unit, valueOf(Units::Quarter), "quarter quarters"},
        {Unit, valueOf(Units::Year), "year years"},
        {Number, 1, "one"},
        {Number, 2, "two"},
        {Number, 3, "three"},
        {Number, 4, "four"},
        {Number, 5, "five"},
        {Number, 6, "six"},
        {Number, 7, "seven"},
        {Number, 8, "eight"},
        {Number, 9, "nine"},
        {Number, 10, "ten"},
        {Number, 11, "eleven"},
        {Number, 12, "twelve"},
        {Number, 15, "fifteen"},
        {Number, 20, "twenty"},
        {Number, 30, "thirty"},
        {Article, 1, "a an"},
        {Part, valueOf(PartOfDay::Morning), "morning"},
        {Part, valueOf(PartOfDay::Afternoon), "afternoon"},
        {Part, valueOf(PartOfDay::Evening), "evening"},
        {Part, valueOf(PartOfDay::Night), "night"},
        {Clock, 12 * 60, "noon midday"},
        {Clock, 24 * 60, "midnight"},
        {Every, 0, "every each"},
        {Other, 2, "other second"},
        {Other, 3, "third"},
        {RepeatAdverb, inUnits(Units::Day, 1), "daily"},
        {RepeatAdverb, inUnits(Units::Week, 1), "weekly"},
        {RepeatAdverb, inUnits(Units::Week, 2), "fortnightly"},
        {RepeatAdverb, inUnits(Units::Month, 1), "monthly"},
        {RepeatAdverb, inUnits(Units::Month, 3), "quarterly"},
        {RepeatAdverb, inUnits(Units::Year, 1), "yearly annually"},
        {On, 0, "on"},
        {At, 0, "at"},
        {By, 0, "by"},
        {Due, 0, "due"},
        {From, 0, "from starting beginning"},
        {Until, 0, "until till til"},
        {In, 0, "in"},
        {Next, 0, "next"},
        {This, 0, "this"},
        {Coming, 0, "coming"},
        {The, 0, "the"},
        {Of, 0, "of"},
        {And, 0, "and & + or"},
        {To, 0, "to through"},
        {After, 0, "after"},
        {PartPreposition, 0, "in"},
        {Half, 0, "half"},
        {Quarter, 0, "quarter"},
        {Past, 0, "past after"},
        {Before, 0, "to before"},
        {Hours, 0, "o'clock oclock"},
        {AM, 0, "am"},
        {PM, 0, "pm"},
        {OrdinalEnding, 0, "st nd rd th"},
        {Dangling, 0,
         "for about of since after before from to the a an my your his her our their its this that these those with "
         "without at in on by until till than like between during over and or but if when what is are was were be not "
         "last past every each as via per versus vs early late late-night only even one next named called until"},
        {Verb, 0, "is was are were will never isn't wasn't and or but of 's came comes to"},
        {Name, 0, "black good cyber super fat shrove ash maundy holy easter palm whit ruby casual manic blue bloody"},
    };
    QuickEntryWords words(false);
    words.addCalendarNames("en");
    words.add(entries);
    return words;
}

}  // namespace zun
