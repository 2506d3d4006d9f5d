// The engine against the slow oracle, over random rules near everything that makes a series bend.

#include <gtest/gtest.h>

#include <random>

#include "dates/RepeatReplay.h"
#include "platform/foundation/ISO8601.h"
#include "platform/foundation/Log.h"
#include "support/TestEnvironment.h"

namespace zun {
namespace {

using std::chrono::days;
using std::chrono::hours;
using std::chrono::microseconds;
using std::chrono::minutes;
using std::chrono::seconds;

std::string text(const std::vector<NSDate>& dates) {
    std::string result;
    for (const auto date : dates)
        result += iso8601FromDate(date) + ' ';
    return result;
}

std::string text(const OptionalDate& date) {
    return date ? iso8601FromDate(*date) : "none";
}

// Draws calls whose anchors, moments and steps lie where mistakes would show.
class Draw {
  public:
    // mostSteps: how long the longest walks are; they are rare.
    Draw(const NSTimeZone& zone, unsigned seed, std::int64_t mostSteps)
        : _zone(zone), _random(seed), _mostSteps(mostSteps) {}

    [[nodiscard]] std::int64_t between(std::int64_t least, std::int64_t most) {
        return std::uniform_int_distribution<std::int64_t>(least, most)(_random);
    }
    [[nodiscard]] bool oneIn(int n) { return between(1, n) == 1; }
    template <typename T, std::size_t N>
    [[nodiscard]] T any(const T (&values)[N]) {
        return values[between(0, N - 1)];
    }

    // A whole second, often within hours of a change of the clock, or some days before it at the same time of day.
    [[nodiscard]] NSDate anchor() {
        NSDate date =
            NSDate{std::chrono::sys_days{std::chrono::year{1970} / 1 / 1}} + seconds{between(0, 2'900'000'000)};
        if (!oneIn(4)) {
            const auto span = _zone.spanAt(date);
            if (span.end < NSDate::max() - days{400}) date = span.end + minutes{between(-150, 150)};
            if (oneIn(2)) date -= days{any({1, 2, 7, 28, 29, 30, 31, 60, 61, 364, 365, 366, 730})};
        }
        if (oneIn(6)) date = atEndOfMonth(date);
        if (oneIn(8)) date += microseconds{between(1, 999'999)};
        return date;
    }

    [[nodiscard]] RepeatReplay::Call call() {
        RepeatReplay::Call call{};
        call.date = anchor();
        call.type = static_cast<std::uint64_t>(between(1, 4));
        call.interval = oneIn(20) ? any({48, 52, 99, 100, 400, 999}) : between(1, 5);
        call.dayOrdinal = oneIn(2) ? static_cast<int>(between(1, 7)) : 0;
        call.option = static_cast<AdvancementOption>(oneIn(10) ? 0 : between(1, 2));
        call.count = oneIn(6) ? between(-1, 4) : 0;
        call.currentDate = moment(call);
        return call;
    }

    // Mostly a few steps after the anchor, sometimes many or before it; often at a date's own second or the next one.
    [[nodiscard]] NSDate moment(const RepeatReplay::Call& call) {
        const std::int64_t step = (call.dayOrdinal != 0 ? 7 : any({0, 1, 7, 30, 365}, call.type)) * call.interval;
        const auto steps = oneIn(1000) ? _mostSteps : oneIn(25) ? std::min<std::int64_t>(_mostSteps, 120) : 12;
        auto date = call.date + days{between(-3, std::min<std::int64_t>(step * steps, 200'000))};
        if (oneIn(2)) {
            const auto span = _zone.spanAt(date);
            if (span.begin > call.date) date = span.begin + minutes{between(-150, 150)};
        } else if (oneIn(2)) {
            date += seconds{between(-90'000, 90'000)};
        }
        if (oneIn(4)) date += seconds{between(-1, 1)};
        return date;
    }

  private:
    [[nodiscard]] std::int64_t any(std::initializer_list<std::int64_t> values, std::uint64_t number) const {
        return values.begin()[number];
    }

    [[nodiscard]] NSDate atEndOfMonth(NSDate date) {
        const auto wall = _zone.localTime(date);
        const auto day = std::chrono::floor<days>(wall);
        const std::chrono::year_month_day civil{day};
        const auto last = std::chrono::local_days{civil.year() / civil.month() / std::chrono::last};
        return _zone.instant(last - days{between(0, 2)} + (wall - day));
    }

    const NSTimeZone& _zone;
    std::mt19937_64 _random;
    std::int64_t _mostSteps;
};

struct ZoneCase {
    const char* name;
    const char* reason;

    friend void PrintTo(const ZoneCase& zone, std::ostream* out) { *out << zone.name << ": " << zone.reason; }
};

class RepeatReplayTest : public testing::TestWithParam<ZoneCase> {
  protected:
    RepeatReplayTest() { environment.setTimeZone(GetParam().name); }

    [[nodiscard]] std::string describe(const RepeatReplay::Call& call) const {
        return "anchor " + iso8601FromDate(call.date) + " type " + std::to_string(call.type) + " interval " +
               std::to_string(call.interval) + " ordinal " + std::to_string(call.dayOrdinal) + " option " +
               std::to_string(static_cast<int>(call.option)) + " count " + std::to_string(call.count) + " current " +
               iso8601FromDate(call.currentDate);
    }

    TestEnvironment environment;
    RepeatEngine engine{environment};
};

TEST_P(RepeatReplayTest, SingleAnswersAreThoseOfTheWalk) {
    const RepeatReplay replay(environment);
    const auto zone = environment.timeZone();
    Draw draw(*zone, 1, 2'000);
    ScopedLogSink quiet([](std::string_view) {});
    for (int i = 0; i < 25'000; ++i) {
        const auto call = draw.call();
        const auto expected = replay.advance(call);
        const auto answer = engine.advanceDate(call.date, call.type, call.interval, call.dayOrdinal, call.option,
                                               call.count, call.currentDate);
        ASSERT_EQ(text(answer), text(expected)) << describe(call);
    }
}

TEST_P(RepeatReplayTest, SeveralAnswersAreThoseOfTheWalk) {
    const auto zone = environment.timeZone();
    Draw draw(*zone, 2, 40);
    ScopedLogSink quiet([](std::string_view) {});
    for (int i = 0; i < 5'000; ++i) {
        auto call = draw.call();
        const std::vector<int> ordinals{static_cast<int>(draw.between(1, 3)), static_cast<int>(draw.between(4, 5)),
                                        static_cast<int>(draw.between(6, 7))};
        const RepeatReplay replay(environment);
        ASSERT_EQ(text(engine.advanceToNextWeekWithDate(call.date, call.interval, ordinals, call.option, call.count,
                                                        call.currentDate)),
                  text(replay.advanceToNextWeek(call, ordinals)))
            << describe(call);

        call.option = AdvancementOption::Next;
        call.count = 0;
        environment.setNow(call.currentDate);
        const auto minimum = call.currentDate + days{draw.between(-20, 20)};
        const auto maximum = minimum + days{draw.between(0, 40)};
        ASSERT_EQ(text(engine.advanceDate(call.date, call.type, call.interval, call.dayOrdinal, call.option, minimum,
                                          maximum)),
                  text(replay.advanceBetween(call, minimum, maximum)))
            << describe(call) << " between " << text({minimum, maximum});

        RepeatRule rule{call.date, call.type, call.interval, {}, std::nullopt};
        if (draw.oneIn(2)) rule = {call.date, 2, call.interval, ordinals, std::nullopt};
        if (draw.oneIn(3)) rule.end = maximum - days{draw.between(-10, 10)};
        ASSERT_EQ(text(engine.trueOccurrences(rule, minimum, maximum, 1'000)),
                  text(replay.occurrences(rule, minimum, maximum)))
            << describe(call) << (rule.ordinals.empty() ? " plain" : " weekly") << " between "
            << text({minimum, maximum});
    }
}

INSTANTIATE_TEST_SUITE_P(
    Zones, RepeatReplayTest,
    testing::Values(ZoneCase{"Europe/Berlin", "an hour at night"}, ZoneCase{"America/New_York", "an hour at night"},
                    ZoneCase{"Australia/Lord_Howe", "half an hour"}, ZoneCase{"America/Sao_Paulo", "gaps at midnight"},
                    ZoneCase{"Africa/Casablanca", "four changes a year"}, ZoneCase{"Asia/Kolkata", "no changes"},
                    ZoneCase{"Pacific/Apia", "a day that never was"}, ZoneCase{"UTC", "no changes at all"},
                    ZoneCase{"Antarctica/Troll", "gaps of two hours"}, ZoneCase{"America/Nuuk", "gaps before midnight"},
                    ZoneCase{"America/St_Johns", "changes a minute after midnight"},
                    ZoneCase{"Europe/Dublin", "winter is the exception"}),
    [](const auto& parameter) {
        std::string name = parameter.param.name;
        std::erase_if(name, [](unsigned char c) { return !std::isalnum(c); });
        return name;
    });

}  // namespace
}  // namespace zun
