#pragma once

// What the words of a language can mean in a date phrase. Built once a language, immutable then, so safe from any
// thread. A word may have several senses ("morgen" is tomorrow and the morning); the grammar asks for the one it needs.

#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "text/QuickEntryTokens.h"

namespace zun {

enum class PartOfDay { Morning, Forenoon, Afternoon, Evening, Night };

enum class WordClass {
    RelativeDay,   // days from today
    Tonight,       // today, that part of day
    Weekday,       // 1 Sunday to 7 Saturday
    ShortWeekday,  // the same, cut
    WeekdayHabit,  // "mondays", "montags"
    WeekdaySet,    // "weekdays", "weekends": a bit for each weekday, 1 << weekday
    WeekdayPart,   // "freitagabend": weekday * 8 + part of day
    Weekend,
    Month,           // 1 to 12
    AmbiguousMonth,  // the same, a word of its own besides
    Unit,            // QuickEntryUnit
    Number,
    Article,       // "a": one of something
    Part,          // PartOfDay
    PartHabit,     // "abends": PartOfDay
    Clock,         // minutes after midnight
    Every,         // 1 where a number must follow
    Other,         // "every other": interval
    RepeatAdverb,  // unit * 16 + interval
    On,
    At,
    By,
    Due,
    From,
    Until,
    In,
    Next,
    This,
    Coming,
    The,
    Of,
    And,
    To,
    After,
    PartPreposition,
    Half,
    Quarter,
    ThreeQuarters,
    Past,
    Before,
    Hours /* "o'clock" */,
    AM,
    PM,
    OrdinalEnding,
    Minutes,   // "halfhour", "viertelstunde": that many
    Dangling,  // cannot end what is left of the title
    Verb,      // cannot begin what is left of the title
    Name,      // makes a name of the weekday after it
};

enum class QuickEntryUnit { Minute, Hour, Day, Week, Fortnight, Month, Quarter, HalfYear, Year };

class QuickEntryWords {
  public:
    [[nodiscard]] static const QuickEntryWords& english();
    [[nodiscard]] static const QuickEntryWords& german();

    // The value of the word in that sense; null if it has no such sense.
    [[nodiscard]] const int* find(const QuickEntryToken& token, WordClass wordClass) const;
    [[nodiscard]] bool isGerman() const { return _isGerman; }

  private:
    struct Sense {
        WordClass wordClass;
        int value;
    };
    struct Entry {
        WordClass wordClass;
        int value;
        std::string_view words;  // folded, separated by blanks
    };

    explicit QuickEntryWords(bool isGerman) : _isGerman(isGerman) {}
    static QuickEntryWords makeEnglish();
    static QuickEntryWords makeGerman();
    void add(std::string_view words, WordClass wordClass, int value);
    template <std::size_t count>
    void add(const Entry (&entries)[count]) {
        for (const auto& entry : entries)
            add(entry.words, entry.wordClass, entry.value);
    }
    // Months and weekdays as the language's own calendar names them.
    void addCalendarNames(const char* locale);

    bool _isGerman;
    std::unordered_map<std::string, std::vector<Sense>> _senses;
};

}  // namespace zun
