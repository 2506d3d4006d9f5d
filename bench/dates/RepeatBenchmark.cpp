// What the next occurrence of a rule costs 30 years after its anchor, beside the plain walk with ICU's calendar over
// the same years.

#include <benchmark/benchmark.h>
#include <unicode/gregocal.h>

#include "dates/RepeatEngine.h"
#include "platform/foundation/ISO8601.h"

namespace zun {
namespace {

using std::chrono::days;
using std::chrono::milliseconds;
using std::chrono::seconds;

// One present moment after the other, as the system's clock would give them, in a zone with daylight saving.
class Surroundings final : public Environment {
  public:
    [[nodiscard]] NSDate now() const override { return _now; }
    [[nodiscard]] BootTime bootTime() const override { return {}; }
    [[nodiscard]] std::shared_ptr<const NSTimeZone> timeZone() const override { return _zone; }
    [[nodiscard]] NSLocale locale() const override { return {}; }
    [[nodiscard]] std::string newIdentifier() const override { return {}; }

    [[nodiscard]] NSDate date(std::string_view text) const { return *dateFromISO8601(text, *_zone); }

  private:
    std::shared_ptr<const NSTimeZone> _zone = NSTimeZone::named("Europe/Berlin");
    NSDate _now = date("2026-01-14T10:00");
};

// Spreads the moments over three years, so that no branch can be learnt by heart.
NSDate moment(const Surroundings& surroundings, std::int64_t round) {
    return surroundings.now() + seconds{round * 7'919'777 % 94'608'000};
}

void nextOfDaily(benchmark::State& state, std::string_view anchorText) {
    const Surroundings surroundings;
    const RepeatEngine engine(surroundings);
    const auto anchor = surroundings.date(anchorText);
    std::int64_t round = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            engine.advanceDate(anchor, 1, 1, 0, AdvancementOption::Next, 0, moment(surroundings, ++round)));
    }
}
BENCHMARK_CAPTURE(nextOfDaily, since_30_years, "1996-01-14T09:00");
BENCHMARK_CAPTURE(nextOfDaily, since_30_years_skipped_once, "1996-01-14T02:30");

void nextOfMonthly(benchmark::State& state) {
    const Surroundings surroundings;
    const RepeatEngine engine(surroundings);
    const auto anchor = surroundings.date("1996-01-31T09:00");
    std::int64_t round = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            engine.advanceDate(anchor, 3, 1, 0, AdvancementOption::Next, 0, moment(surroundings, ++round)));
    }
}
BENCHMARK(nextOfMonthly);

void nextOfEverySecondWeekOnThreeWeekdays(benchmark::State& state) {
    const Surroundings surroundings;
    const RepeatEngine engine(surroundings);
    const auto anchor = surroundings.date("1996-01-15T09:00");
    const int ordinals[] = {2, 4, 6};
    std::int64_t round = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(engine.advanceToNextWeekWithDate(anchor, 2, ordinals, AdvancementOption::Next, 0,
                                                                  moment(surroundings, ++round)));
    }
}
BENCHMARK(nextOfEverySecondWeekOnThreeWeekdays);

void trueOccurrencesOfAWeekAfter30Years(benchmark::State& state) {
    const Surroundings surroundings;
    const RepeatEngine engine(surroundings);
    const RepeatRule rule{surroundings.date("1996-01-15T09:00"), 2, 2, {2, 4, 6}, std::nullopt};
    std::int64_t round = 0;
    for (auto _ : state) {
        const auto from = moment(surroundings, ++round);
        benchmark::DoNotOptimize(engine.trueOccurrences(rule, from, from + days{7}, 100));
    }
}
BENCHMARK(trueOccurrencesOfAWeekAfter30Years);

// The floors: one calendar, made beforehand, added to until the moment is passed.
void floorWalk(benchmark::State& state, UCalendarDateFields field, int amount, int walks) {
    const Surroundings surroundings;
    UErrorCode status = U_ZERO_ERROR;
    icu::GregorianCalendar calendar(icu::TimeZone::createTimeZone("Europe/Berlin"), icu::Locale("en_US"), status);
    const auto inMilliseconds = [](NSDate date) {
        return static_cast<UDate>(std::chrono::floor<milliseconds>(date).time_since_epoch().count());
    };
    const auto anchor = inMilliseconds(surroundings.date("1996-01-15T09:00"));
    std::int64_t round = 0;
    for (auto _ : state) {
        const auto now = inMilliseconds(moment(surroundings, ++round));
        for (int walk = 0; walk < walks; ++walk) {
            calendar.setTime(anchor, status);
            while (calendar.getTime(status) <= now)
                calendar.add(field, amount, status);
        }
        benchmark::DoNotOptimize(calendar.getTime(status));
    }
    if (U_FAILURE(status)) state.SkipWithError(u_errorName(status));
}
BENCHMARK_CAPTURE(floorWalk, daily, UCAL_DAY_OF_MONTH, 1, 1)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(floorWalk, monthly, UCAL_MONTH, 1, 1)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(floorWalk, every_second_week_three_times, UCAL_WEEK_OF_YEAR, 2, 3)->Unit(benchmark::kMicrosecond);

void zoneSpanAt(benchmark::State& state) {
    const Surroundings surroundings;
    const auto zone = surroundings.timeZone();
    std::int64_t round = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(zone->spanAt(moment(surroundings, ++round)));
}
BENCHMARK(zoneSpanAt);

void calendarAddsADay(benchmark::State& state) {
    const Surroundings surroundings;
    const auto calendar = NSCalendar::current(surroundings);
    std::int64_t round = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(calendar.dateByAddingUnit(NSCalendarUnit::Day, 1, moment(surroundings, ++round)));
    }
}
BENCHMARK(calendarAddsADay);

}  // namespace
}  // namespace zun
