#include <array>

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

struct Named {
    std::string_view name;
    int value;
};

constexpr std::array<Named, 8> weekdays = {{{"sonntag", 1},
                                            {"montag", 2},
                                            {"dienstag", 3},
                                            {"mittwoch", 4},
                                            {"donnerstag", 5},
                                            {"freitag", 6},
                                            {"samstag", 7},
                                            {"sonnabend", 7}}};
constexpr std::array<Named, 6> parts = {{{"morgen", valueOf(PartOfDay::Morning)},
                                         {"frueh", valueOf(PartOfDay::Morning)},
                                         {"vormittag", valueOf(PartOfDay::Forenoon)},
                                         {"nachmittag", valueOf(PartOfDay::Afternoon)},
                                         {"abend", valueOf(PartOfDay::Evening)},
                                         {"nacht", valueOf(PartOfDay::Night)}}};

}  // namespace

QuickEntryWords QuickEntryWords::makeGerman() {
    using enum WordClass;
    using Units = QuickEntryUnit;
    static constexpr Entry entries[] = {
        {RelativeDay, 0, "heute"},
        {RelativeDay, 1, "morgen"},
        {RelativeDay, 2, "uebermorgen"},
        {Weekday, 7, "sonnabend"},
        {WeekdayHabit, 4, "mittwochs"},
        {WeekdaySet, 0b01111100, "werktags wochentags werktag wochentag werktagen wochentagen"},
        {WeekdaySet, 0b10000010, "wochenenden"},
        {Weekend, 0, "wochenende"},
        {Month, 1, "jaenner jaen"},
        {Month, 2, "feber"},
        {Month, 3, "mrz"},
        {Month, 9, "sept"},
        {Unit, valueOf(Units::Minute), "minute minuten min"},
        {Unit, valueOf(Units::Hour), "stunde stunden std"},
        {Unit, valueOf(Units::Day), "tag tage tagen"},
        {Unit, valueOf(Units::Week), "woche wochen"},
        {Unit, valueOf(Units::Month), "monat monate monaten monats"},
        {Unit, valueOf(Units::Quarter), "quartal quartale quartalen"},
        {Unit, valueOf(Units::Year), "jahr jahre jahren jahres"},
        {Minutes, 15, "viertelstunde"},
        {Minutes, 30, "halbestunde"},
        {Minutes, 45, "dreiviertelstunde"},
        {Number, 1, "eins"},
        {Number, 2, "zwei"},
        {Number, 3, "drei"},
        {Number, 4, "vier"},
        {Number, 5, "fuenf"},
        {Number, 6, "sechs"},
        {Number, 7, "sieben"},
        {Number, 8, "acht"},
        {Number, 9, "neun"},
        {Number, 10, "zehn"},
        {Number, 11, "elf"},
        {Number, 12, "zwoelf"},
        {Number, 14, "vierzehn"},
        {Number, 20, "zwanzig"},
        {Number, 30, "dreissig"},
        {Article, 1, "ein eine einer einem einen"},
        {Part, valueOf(PartOfDay::Morning), "morgen frueh"},
        {Part, valueOf(PartOfDay::Forenoon), "vormittag"},
        {Part, valueOf(PartOfDay::Afternoon), "nachmittag"},
        {Part, valueOf(PartOfDay::Evening), "abend"},
        {Part, valueOf(PartOfDay::Night), "nacht"},
        {PartHabit, valueOf(PartOfDay::Morning), "morgens fruehmorgens"},
        {PartHabit, valueOf(PartOfDay::Forenoon), "vormittags"},
        {PartHabit, valueOf(PartOfDay::Afternoon), "nachmittags"},
        {PartHabit, valueOf(PartOfDay::Evening), "abends"},
        {PartHabit, valueOf(PartOfDay::Night), "nachts"},
        {Clock, 12 * 60, "mittag mittags"},
        {Clock, 24 * 60, "mitternacht"},
        {Every, 0, "jeden jede jedes"},
        {Every, 1, "alle"},
        {Other, 2, "zweiten zweite zweites"},
        {Other, 3, "dritten dritte drittes"},
        {Other, 4, "vierten vierte viertes"},
        {RepeatAdverb, inUnits(Units::Day, 1), "taeglich"},
        {RepeatAdverb, inUnits(Units::Week, 1), "woechentlich"},
        {RepeatAdverb, inUnits(Units::Week, 2), "zweiwoechentlich"},
        {RepeatAdverb, inUnits(Units::Month, 1), "monatlich"},
        {RepeatAdverb, inUnits(Units::Month, 3), "vierteljaehrlich quartalsweise"},
        {RepeatAdverb, inUnits(Units::Month, 6), "halbjaehrlich"},
        {RepeatAdverb, inUnits(Units::Year, 1), "jaehrlich"},
        {On, 0, "am an"},
        {At, 0, "um gegen ab punkt"},
        {From, 0, "ab vom seit beginnend"},
        {Until, 0, "bis"},
        {By, 0, "bis"},
        {In, 0, "in"},
        {Next, 0, "naechsten naechste naechster naechstes naechstem"},
        {This, 0, "diesen diese dieser dieses diesem"},
        {Coming, 0, "kommenden kommende kommender kommendes kommendem"},
        {The, 0, "den dem der zum"},
        {Of, 0, "im des"},
        {And, 0, "und & + sowie oder"},
        {To, 0, "bis"},
        {PartPreposition, 0, "am"},
        {Half, 0, "halb halbe halben"},
        {Quarter, 0, "viertel"},
        {ThreeQuarters, 0, "dreiviertel"},
        {Past, 0, "nach"},
        {Before, 0, "vor"},
        {Hours, 0, "uhr"},
        {Dangling, 0,
         "fuer ueber von vom seit nach vor ab zu zum zur der die das den dem des ein eine einer einem einen mein meine "
         "meinen dein deine deinen sein seine ihr ihre unser unsere mit ohne bei beim im in am an auf aus um gegen bis "
         "als wie zwischen waehrend und oder aber wenn was ist sind war waren letzten letzte letzter vorigen jeden "
         "jede jedes alle nicht dieser diese diesen dieses guten gute guter per statt trotz wegen erst schon nur so"},
        {Verb, 0, "ist war sind waren wird und oder bis der die das den kommt kam"},
        {Name, 0, "schwarzer schwarzen weisser weissen blauer blauen gruener black cyber"},
    };
    QuickEntryWords words(true);
    words.addCalendarNames("de");
    words.add(entries);
    for (const auto& day : weekdays) {
        words.add(std::string(day.name) + "s", WeekdayHabit, day.value);
        for (const auto& part : parts) {
            words.add(std::string(day.name) + std::string(part.name), WeekdayPart, day.value * 8 + part.value);
        }
    }
    return words;
}

}  // namespace zun
