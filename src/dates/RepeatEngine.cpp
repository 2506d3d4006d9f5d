#include "dates/RepeatEngine.h"

#include <algorithm>
#include <array>
#include <limits>

#include "dates/PlainSeries.h"
#include "dates/WeekdaySeries.h"
#include "platform/foundation/Log.h"

namespace zun {
namespace {

using std::chrono::days;
using std::chrono::seconds;

// Longer intervals and higher counts run past the end of time just as surely, and their products must not overflow.
constexpr std::int64_t most = 300'000'000;

// One question to the engine, with its numbers made safe and its dates read off the wall.
struct Question {
    const NSTimeZone& zone;
    WallMoment anchor;
    std::int64_t interval;
    AdvancementOption option;
    std::int64_t count;
    WallMoment current;

    Question(const NSTimeZone& inZone, NSDate date, std::int64_t withInterval, AdvancementOption withOption,
             std::int64_t repeatCount, NSDate currentDate)
        : zone(inZone),
          anchor(WallMoment::of(date, inZone)),
          interval(std::clamp<std::int64_t>(withInterval, 1, most)),
          option(withOption),
          count(repeatCount < 0 ? 1 : std::min(repeatCount, most)),
          current(WallMoment::of(currentDate, inZone)) {
        // An occurrence at the very second of the present counts as passed, whatever fractions lie behind the two.
        if (anchor.secondOfDay() == current.secondOfDay() && currentDate <= NSDate::max() - seconds{1}) {
            current = WallMoment::of(currentDate + seconds{1}, inZone);
        }
    }
};

OptionalDate answerOfPlainSeries(const Question& question, PlainSeries::Step step) {
    PlainSeries series(question.zone, question.anchor, step);
    series.moveToLastOnOrBefore(question.current);
    switch (question.option) {
        case AdvancementOption::Next:
            if (question.count == 0) return series.next();
            series.move(1 + question.count);
            return series.date();
        case AdvancementOption::Last:
            return series.date();
        case AdvancementOption::Counted:
            break;
    }
    return std::nullopt;
}

// The anchor, that many weeks of wall-clock time later.
NSDate anchorAfterWeeks(const Question& question, std::int64_t weeks) {
    if (weeks == 0) return question.anchor.date;
    return question.zone.instant(wallTime(question.anchor.day + 7 * weeks, question.anchor.timeOfDay));
}

// Walks the series in whole intervals of weeks. With an interval of two or more the first step passes over a match in
// the anchor's own week, which is number 0 of the series, so that weeks count from there.
OptionalDate answerOfWeekStepping(const Question& question, const WeekdaySeries& series) {
    const bool passesOverFirst = series.sameWeek() && question.interval >= 2 && question.count == 0;
    const auto start = question.interval - 1 + (passesOverFirst ? 1 : 0);
    // The date after that many steps.
    const auto stepped = [&](std::int64_t steps) {
        if (steps == 0) return question.anchor.date;
        return series.matchAfterWeeks(start + (steps - 1) * question.interval);
    };
    if (question.option == AdvancementOption::Counted) {
        return stepped(series.anchorIsOnWeekday() ? question.count : question.count + 1);
    }
    if (question.option == AdvancementOption::Last && question.anchor.date > question.current.date) {
        NSLog("You asked to find the last valid date, but the start date is in the future from the current date");
        return std::nullopt;
    }
    const auto steps = series.intervalsToAfter(question.current, start, question.interval) + 1;
    switch (question.option) {
        case AdvancementOption::Next:
            return stepped(steps);
        case AdvancementOption::Last:
            return stepped(steps - 1);
        case AdvancementOption::Counted:
            break;
    }
    return std::nullopt;
}

// What can be said of the anchor's own week without stepping; empty if the steps must tell.
OptionalDate answerWithinFirstWeek(const Question& question, const WeekdaySeries& series) {
    const auto now = question.current.date;
    switch (question.option) {
        case AdvancementOption::Next:
            if (series.sameWeek() && now < series.firstMatch()) return series.firstMatch();
            break;
        case AdvancementOption::Last:
            if (question.interval >= 2 && series.sameWeek() && anchorAfterWeeks(question, question.interval) > now) {
                if (now > series.firstMatch()) return series.firstMatch();
                if (series.anchorIsOnWeekday() && now > question.anchor.date) return question.anchor.date;
            }
            break;
        case AdvancementOption::Counted:
            return series.anchorIsOnWeekday() ? question.anchor.date : series.firstMatch();
    }
    return std::nullopt;
}

NSDate answerByJump(const Question& question, const WeekdaySeries& series) {
    const bool countsAnchorsWeek = series.anchorIsOnWeekday() || series.sameWeek();
    const auto weeks =
        (question.count - (countsAnchorsWeek ? 1 : 0) + 1) * question.interval - (countsAnchorsWeek ? 0 : 1);
    const auto date = anchorAfterWeeks(question, weeks);
    return series.anchorIsOnWeekday() ? date : series.firstMatchAfter(date);
}

OptionalDate answerOfWeekdaySeries(const Question& question, int ordinal) {
    const WeekdaySeries series(question.zone, question.anchor, ordinal);
    if (question.count == 0 && (series.anchorIsOnWeekday() || series.sameWeek())) {
        if (const auto answer = answerWithinFirstWeek(question, series)) return answer;
    } else if (question.interval >= 2 && question.option == AdvancementOption::Counted) {
        return answerByJump(question, series);
    }
    return answerOfWeekStepping(question, series);
}

bool isOrdinal(int value) {
    return value >= 1 && value <= 7;
}

int toCount(std::int64_t a, std::int64_t b) {
    std::int64_t product = 0;
    if (__builtin_mul_overflow(a, b, &product)) return most;
    // Cut before the sign goes: the least integer has no positive.
    return static_cast<int>(std::abs(std::clamp(product, -most, most)));
}

}  // namespace

NSCalendarUnit RepeatEngine::calendarUnitForRepeatType(std::uint64_t type) {
    switch (type) {
        case 1:
            return NSCalendarUnit::Day;
        case 2:
            return NSCalendarUnit::WeekOfYear;
        case 3:
            return NSCalendarUnit::Month;
        case 4:
            return NSCalendarUnit::Year;
        default:
            return NSCalendarUnit::None;
    }
}

OptionalDate RepeatEngine::advanceDate(NSDate date, std::uint64_t withType, std::int64_t withInterval,
                                       int withDayOrdinal, AdvancementOption withAdvancementOption,
                                       std::int64_t withRepeatCount, NSDate withCurrentDate) const {
    const auto zone = _environment.timeZone();
    const auto ask = [&] {
        return Question(*zone, date, withInterval, withAdvancementOption, withRepeatCount, withCurrentDate);
    };
    if (isOrdinal(withDayOrdinal)) return answerOfWeekdaySeries(ask(), withDayOrdinal);
    if (withAdvancementOption == AdvancementOption::Counted) {
        return findNextDateAfterDate(date, withType, withInterval == 0 ? 1 : withInterval,
                                     withRepeatCount < 0 ? 1 : withRepeatCount);
    }
    const auto step = PlainSeries::stepForRepeatType(withType, withInterval);
    if (!step) {
        NSLog("Attempting to advance a date with no repeat type.");
        return date;
    }
    return answerOfPlainSeries(ask(), *step);
}

OptionalDate RepeatEngine::advanceDate(NSDate date, std::uint64_t withType, std::int64_t withInterval,
                                       int withDayOrdinal, AdvancementOption withAdvancementOption,
                                       std::int64_t withRepeatCount) const {
    return advanceDate(date, withType, withInterval, withDayOrdinal, withAdvancementOption, withRepeatCount,
                       _environment.now());
}

std::vector<NSDate> RepeatEngine::advanceToNextWeekWithDate(NSDate date, std::int64_t withInterval,
                                                            std::span<const int> withDayOrdinals,
                                                            AdvancementOption withAdvancementOption,
                                                            std::int64_t withRepeatCount,
                                                            NSDate withCurrentDate) const {
    const auto zone = _environment.timeZone();
    const Question question(*zone, date, withInterval, withAdvancementOption, withRepeatCount, withCurrentDate);
    std::array<int, 8> timesAsked{};
    for (const int ordinal : withDayOrdinals) {
        if (isOrdinal(ordinal)) ++timesAsked[static_cast<std::size_t>(ordinal)];
    }
    std::vector<NSDate> answers;
    answers.reserve(withDayOrdinals.size());
    for (int ordinal = 1; ordinal <= 7; ++ordinal) {
        const auto times = timesAsked[static_cast<std::size_t>(ordinal)];
        if (times == 0) continue;
        const auto answer = answerOfWeekdaySeries(question, ordinal);
        if (!answer) return {};
        answers.insert(answers.end(), static_cast<std::size_t>(times), *answer);
    }
    std::sort(answers.begin(), answers.end());
    return answers;
}

NSDate RepeatEngine::findNextDateAfterDate(NSDate date, std::uint64_t withRepeatType, std::int64_t repeatInterval,
                                           std::int64_t repeatCount) const {
    const auto calendar = NSCalendar::current(_environment);
    const auto shown = calendar.components(date);
    NSDateComponents added{.hour = shown.hour, .minute = shown.minute, .second = shown.second};
    const int units = toCount(repeatInterval, repeatCount);
    switch (calendarUnitForRepeatType(withRepeatType)) {
        case NSCalendarUnit::Day:
            added.day = units;
            break;
        case NSCalendarUnit::WeekOfYear:
            added.weekOfYear = units;
            break;
        case NSCalendarUnit::Month:
            added.month = units;
            break;
        case NSCalendarUnit::Year:
            added.year = units;
            break;
        default:
            break;
    }
    return calendar.dateByAddingComponents(added, date);
}

int RepeatEngine::ordinalForDate(NSDate date) const {
    return weekdayOfDay(WallMoment::of(date, *_environment.timeZone()).day);
}

int RepeatEngine::currentDayOrdinal() const {
    return ordinalForDate(_environment.now());
}

}  // namespace zun
