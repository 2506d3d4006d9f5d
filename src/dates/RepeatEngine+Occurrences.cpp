#include <algorithm>

#include "dates/PlainSeries.h"
#include "dates/RepeatEngine.h"
#include "dates/WeekdaySeries.h"
#include "platform/foundation/Log.h"

namespace zun {
namespace {

constexpr std::int64_t mostInterval = 300'000'000;

// Gathers the dates of ascending series that a caller asked for.
class Window {
  public:
    Window(NSDate from, NSDate to, OptionalDate end, std::size_t most) : _from(from), _to(to), _end(end), _most(most) {}

    [[nodiscard]] NSDate from() const { return _from; }
    [[nodiscard]] bool isPast(NSDate date) const { return date >= _to || (_end && date > *_end); }
    [[nodiscard]] bool holds(NSDate date) const { return date > _from && !isPast(date); }
    [[nodiscard]] std::size_t most() const { return _most; }

  private:
    NSDate _from;
    NSDate _to;
    OptionalDate _end;
    std::size_t _most;
};

void addPlain(std::vector<NSDate>& dates, const Window& window, const NSTimeZone& zone, const WallMoment& anchor,
              PlainSeries::Step step) {
    PlainSeries series(zone, anchor, step);
    series.moveToLastOnOrBefore(WallMoment::of(window.from(), zone));
    for (; !window.isPast(series.date()) && dates.size() < window.most(); series.move(1)) {
        if (window.holds(series.date())) dates.push_back(series.date());
        if (series.date() == NSDate::max()) return;
    }
}

void addWeekday(std::vector<NSDate>& dates, const Window& window, const NSTimeZone& zone, const WallMoment& anchor,
                int ordinal, std::int64_t interval) {
    const WeekdaySeries series(zone, anchor, ordinal);
    const auto start = series.sameWeek() ? 0 : interval - 1;
    auto number = series.intervalsToAfter(WallMoment::of(window.from(), zone), start, interval);
    for (std::size_t found = 0; found < window.most(); ++found, ++number) {
        const auto date = series.matchAfterWeeks(start + number * interval);
        if (!window.holds(date)) return;
        dates.push_back(date);
        if (date == NSDate::max()) return;
    }
}

}  // namespace

std::vector<NSDate> RepeatEngine::trueOccurrences(const RepeatRule& rule, NSDate from, NSDate to,
                                                  std::size_t maximumCount) const {
    const Window window(from, to, rule.end, maximumCount);
    const auto zone = _environment.timeZone();
    const auto anchor = WallMoment::of(rule.anchor, *zone);
    const auto step = PlainSeries::stepForRepeatType(rule.type, rule.interval);
    const bool onWeekdays =
        std::any_of(rule.ordinals.begin(), rule.ordinals.end(), [](int o) { return o >= 1 && o <= 7; });
    std::vector<NSDate> dates;
    if (step && !onWeekdays) {
        addPlain(dates, window, *zone, anchor, *step);
        return dates;
    }
    if (window.holds(rule.anchor)) dates.push_back(rule.anchor);
    if (step) {
        const auto interval = std::clamp<std::int64_t>(rule.interval, 1, mostInterval);
        for (int ordinal = 1; ordinal <= 7; ++ordinal) {
            if (std::find(rule.ordinals.begin(), rule.ordinals.end(), ordinal) == rule.ordinals.end()) continue;
            addWeekday(dates, window, *zone, anchor, ordinal, interval);
        }
    }
    std::sort(dates.begin(), dates.end());
    dates.erase(std::unique(dates.begin(), dates.end()), dates.end());
    if (dates.size() > maximumCount) dates.resize(maximumCount);
    return dates;
}

std::vector<NSDate> RepeatEngine::advanceDate(NSDate date, std::uint64_t withType, std::int64_t withInterval,
                                              int withDayOrdinal, AdvancementOption withAdvancementOption,
                                              NSDate withMinimumDate, NSDate withMaximumDate) const {
    if (calendarUnitForRepeatType(withType) == NSCalendarUnit::None) {
        NSLog("Attempting to advance a date with no repeat type.");
        return {};
    }
    std::vector<NSDate> dates;
    const auto now = _environment.now();
    auto cursor = date;
    for (std::size_t pass = 0; pass < maximumPasses; ++pass) {
        const auto next = advanceDate(cursor, withType, std::max<std::int64_t>(withInterval, 1), withDayOrdinal,
                                      withAdvancementOption, 0, now);
        if (!next) break;
        if (*next > withMinimumDate && *next < withMaximumDate) dates.push_back(*next);
        if (*next >= withMaximumDate || *next <= cursor) break;
        cursor = *next;
    }
    return dates;
}

}  // namespace zun
