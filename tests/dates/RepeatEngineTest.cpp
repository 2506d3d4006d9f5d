#include <gtest/gtest.h>

#include <limits>

#include "dates/RepeatReplay.h"
#include "platform/foundation/ISO8601.h"
#include "platform/foundation/Log.h"
#include "support/TestEnvironment.h"

namespace zun {
namespace {

using enum AdvancementOption;
using std::chrono::days;
using std::chrono::seconds;
using Dates = std::vector<std::string>;

class RepeatEngineTest : public testing::Test {
  protected:
    RepeatEngineTest() { environment.setTimeZone("Europe/Berlin"); }

    // As the wall clock shows it.
    [[nodiscard]] std::string wall(OptionalDate date) const {
        if (!date) return "none";
        if (*date == NSDate::max()) return "the end";
        auto text = iso8601FromDate(NSDate{environment.timeZone()->localTime(*date).time_since_epoch()});
        text.pop_back();
        return text;
    }
    [[nodiscard]] Dates wall(const std::vector<NSDate>& dates) const {
        Dates texts;
        for (const auto date : dates)
            texts.push_back(wall(OptionalDate(date)));
        return texts;
    }
    [[nodiscard]] std::string next(std::string_view anchor, std::uint64_t type, std::int64_t interval, int ordinal,
                                   std::string_view current, AdvancementOption option = Next,
                                   std::int64_t count = 0) const {
        return wall(engine.advanceDate(environment.date(anchor), type, interval, ordinal, option, count,
                                       environment.date(current)));
    }
    [[nodiscard]] Dates occurrences(std::string_view anchor, std::uint64_t type, std::int64_t interval,
                                    std::vector<int> ordinals, std::string_view from, std::string_view to) const {
        return wall(
            engine.trueOccurrences({environment.date(anchor), type, interval, std::move(ordinals), std::nullopt},
                                   environment.date(from), environment.date(to), 1'000));
    }

    TestEnvironment environment;
    RepeatEngine engine{environment};
    std::vector<std::string> logged;
    ScopedLogSink sink{[this](std::string_view line) { logged.emplace_back(line); }};
};

TEST_F(RepeatEngineTest, EverySecondWeekCountsFromTheAnchorsWeek) {
    struct Case {
        int ordinal;
        const char* current;
        const char* expected;
    };
    for (const auto& [ordinal, current, expected] : {
             Case{6, "2026-01-07T10:00", "2026-01-09T09:00:00"},
             Case{6, "2026-01-10T00:00", "2026-01-23T09:00:00"},
             Case{6, "2026-01-24T00:00", "2026-02-06T09:00:00"},
             Case{2, "2026-01-07T10:00", "2026-01-19T09:00:00"},
             Case{4, "2026-01-07T10:00", "2026-01-21T09:00:00"},
         }) {
        EXPECT_EQ(next("2026-01-07T09:00", 2, 2, ordinal, current), expected) << ordinal << " after " << current;
    }
    const int ordinals[] = {6, 2, 9, 4};
    EXPECT_EQ(wall(engine.advanceToNextWeekWithDate(environment.date("2026-01-07T09:00"), 2, ordinals, Next, 0,
                                                    environment.date("2026-01-07T10:00"))),
              (Dates{"2026-01-09T09:00:00", "2026-01-19T09:00:00", "2026-01-21T09:00:00"}));
    EXPECT_EQ(occurrences("2026-01-07T09:00", 2, 2, {2, 4, 6}, "2026-01-01", "2026-02-05T09:00"),
              (Dates{"2026-01-07T09:00:00", "2026-01-09T09:00:00", "2026-01-19T09:00:00", "2026-01-21T09:00:00",
                     "2026-01-23T09:00:00", "2026-02-02T09:00:00", "2026-02-04T09:00:00"}));
}

TEST_F(RepeatEngineTest, ClampsAndShiftsStickOnPlainSeriesOnly) {
    EXPECT_EQ(occurrences("2026-01-31T09:00", 3, 1, {}, "2026-01-01", "2026-05-01"),
              (Dates{"2026-01-31T09:00:00", "2026-02-28T09:00:00", "2026-03-28T09:00:00", "2026-04-28T09:00:00"}));
    EXPECT_EQ(next("2024-02-29T09:00", 4, 1, 0, "2031-06-01"), "2032-02-28T09:00:00");
    EXPECT_EQ(next("1996-02-29T09:00", 4, 4, 0, "2105-01-01"), "2108-02-28T09:00:00") << "2100 has no leap day";
    EXPECT_EQ(next("2000-02-29T09:00", 4, 400, 0, "9500-01-01"), "9600-02-29T09:00:00");
    EXPECT_EQ(next("2026-03-27T02:30", 1, 1, 0, "2026-03-28T12:00"), "2026-03-29T03:30:00");
    EXPECT_EQ(next("2026-03-27T02:30", 1, 1, 0, "2046-03-28T12:00"), "2046-03-29T03:30:00");
    EXPECT_EQ(next("2026-03-27T02:30", 1, 2, 0, "2026-06-01T12:00"), "2026-06-03T03:30:00");
    EXPECT_EQ(next("2026-03-26T02:30", 1, 2, 0, "2026-06-01T12:00"), "2026-06-02T02:30:00") << "never on the gap's day";
    EXPECT_EQ(occurrences("2026-03-22T02:30", 2, 1, {1}, "2026-03-22T12:00", "2026-04-06"),
              (Dates{"2026-03-29T01:30:00", "2026-04-05T02:30:00"}));
}

TEST_F(RepeatEngineTest, PresentFutureAndCount) {
    struct Case {
        const char* what;
        const char* anchor;
        std::uint64_t type;
        std::int64_t interval;
        int ordinal;
        const char* current;
        AdvancementOption option;
        std::int64_t count;
        const char* expected;
    };
    for (const auto& c : {
             Case{"one interval ago to the second", "2026-01-01T09:00", 1, 1, 0, "2026-01-02T09:00", Next, 0,
                  "2026-01-03T09:00:00"},
             Case{"in the same second as now", "2026-01-01T09:00:00.7", 1, 1, 0, "2026-01-02T09:00:00.2", Next, 0,
                  "2026-01-03T09:00:00.7"},
             Case{"anchor ahead, next", "2026-05-01T09:00", 3, 2, 0, "2026-01-02", Next, 0, "2026-07-01T09:00:00"},
             Case{"anchor ahead, last", "2026-05-01T09:00", 3, 2, 0, "2026-01-02", Last, 0, "2026-05-01T09:00:00"},
             Case{"further steps", "2026-01-31T09:00", 3, 1, 0, "2026-02-01", Next, 2, "2026-04-28T09:00:00"},
             Case{"negative count", "2026-01-31T09:00", 3, 1, 0, "2026-02-01", Next, -7, "2026-03-28T09:00:00"},
             Case{"counted adds the time again", "2026-01-01T09:30:15", 1, 1, 0, "2026-01-01", Counted, 1,
                  "2026-01-02T19:00:30"},
             Case{"week over New Year is not one week", "2025-12-31T09:00", 2, 2, 5, "2025-12-31T10:00", Next, 0,
                  "2026-01-08T09:00:00"},
             Case{"every Friday", "2026-01-09T09:00", 2, 1, 6, "2026-03-01", Last, 0, "2026-02-27T09:00:00"},
             Case{"days in the second hour of a fold", "2026-10-25T02:30:00+01:00", 1, 1, 0, "2026-10-25", Last, 0,
                  "2026-10-25T02:30:00"},
         }) {
        EXPECT_EQ(next(c.anchor, c.type, c.interval, c.ordinal, c.current, c.option, c.count), c.expected) << c.what;
    }
    const auto second = environment.date("2026-10-25T01:30:00Z");
    EXPECT_EQ(engine.advanceDate(second, 1, 1, 0, Last, 0, second - days{1}), second) << "stays in the second hour";
    environment.setTimeZone("America/St_Johns");
    EXPECT_EQ(next("2006-10-20T00:00:30", 1, 1, 0, "2006-10-28T23:30:00-03:30", Last), "2006-10-29T00:00:30")
        << "the clock went back from 00:01 to 23:01, so tomorrow is over already";
    EXPECT_TRUE(logged.empty());
}

TEST_F(RepeatEngineTest, BadInputHasAnswers) {
    constexpr auto huge = std::numeric_limits<std::int64_t>::max();
    const auto anchor = environment.date("2026-01-07T09:00");
    for (const std::uint64_t type : {0u, 5u, 6u, 77u}) {
        logged.clear();
        EXPECT_EQ(engine.advanceDate(anchor, type, 1, 0, Next, 0, anchor + days{9}), anchor);
        EXPECT_EQ(engine.advanceDate(anchor, type, 1, 0, Last, 0, anchor + days{9}), anchor);
        EXPECT_EQ(engine.advanceDate(anchor, type, 1, 0, Next, NSDate::min(), NSDate::max()), std::vector<NSDate>{});
        EXPECT_EQ(logged, Dates(3, "Attempting to advance a date with no repeat type."));
        EXPECT_EQ(engine.trueOccurrences({anchor, type, 1, {}, {}}, NSDate::min(), NSDate::max(), 9),
                  std::vector{anchor});
    }
    logged.clear();
    EXPECT_EQ(next("2026-05-01T09:00", 2, 2, 3, "2026-01-02", Last), "none");
    EXPECT_EQ(logged.size(), 1u);
    const int ordinals[] = {3, 4};
    EXPECT_TRUE(engine.advanceToNextWeekWithDate(anchor, 2, ordinals, Last, 0, anchor - days{1}).empty());

    for (const std::int64_t interval : {std::int64_t{0}, std::int64_t{-5}}) {
        EXPECT_EQ(next("2026-01-01T09:00", 1, interval, 0, "2026-02-01"), "2026-02-01T09:00:00");
        EXPECT_EQ(next("2026-01-01T09:00", 2, interval, 6, "2026-02-01"), "2026-02-06T09:00:00");
    }
    EXPECT_EQ(next("2026-01-01T09:00", 1, 1, 8, "2026-02-01"), "2026-02-01T09:00:00") << "no such weekday";
    for (const std::uint64_t type : {1u, 2u, 3u, 4u}) {
        EXPECT_EQ(next("2026-01-01T09:00", type, huge, 0, "2026-02-01"), "the end");
        EXPECT_EQ(next("2026-01-01T09:00", type, huge, 0, "2026-02-01", Last), "2026-01-01T09:00:00");
        EXPECT_EQ(next("2026-01-01T09:00", type, huge, 0, "2026-02-01", Counted, huge), "the end");
        EXPECT_EQ(next("2026-01-01T02:30", type, 1, 0, "2026-02-01", Next, huge), "the end");
        EXPECT_EQ(engine.advanceDate(NSDate::max(), type, 1, 0, Next, 0, NSDate::max()), NSDate::max());
        EXPECT_GT(engine.advanceDate(NSDate::min(), type, 1, 0, Next, 0, anchor), anchor);
    }
    EXPECT_EQ(next("2026-01-01T09:00", 2, huge, 6, "2026-02-01"), "the end");
    EXPECT_EQ(next("2026-01-01T09:00", 2, huge, 6, "2026-02-01", Counted, huge), "the end");
    EXPECT_EQ(engine.advanceDate(NSDate::max(), 2, 1, 6, Next, 0, NSDate::max()), NSDate::max());
}

TEST_F(RepeatEngineTest, ListsAreBounded) {
    environment.setNow("2026-01-07T10:00");
    const auto anchor = environment.date("1996-01-07T00:00");
    for (const auto option : {Counted, Next, Last}) {
        for (const int ordinal : {0, 3}) {
            const auto all = engine.advanceDate(anchor, 1, 1, ordinal, option, NSDate::min(), NSDate::max());
            EXPECT_LE(all.size(), RepeatEngine::maximumPasses);
            EXPECT_TRUE(std::is_sorted(all.begin(), all.end()));
        }
    }
    EXPECT_EQ(wall(engine.advanceDate(anchor, 1, 1, 0, Next, environment.date("2026-01-08T00:00"),
                                      environment.date("2026-01-11T00:00"))),
              (Dates{"2026-01-09T00:00:00", "2026-01-10T00:00:00"}))
        << "both ends are left out";
    const RepeatRule rule{anchor, 1, 1, {}, environment.date("2026-01-10T00:00")};
    EXPECT_EQ(wall(engine.trueOccurrences(rule, environment.date("2026-01-08T00:00"), NSDate::max(), 99)),
              (Dates{"2026-01-09T00:00:00", "2026-01-10T00:00:00"}))
        << "the end date is still part of the rule";
    EXPECT_EQ(engine.trueOccurrences({anchor, 2, 1, {1, 2, 3}, {}}, NSDate::min(), NSDate::max(), 5).size(), 5u);
    EXPECT_EQ(engine.trueOccurrences({anchor, 3, 1, {}, {}}, anchor, anchor, 5).size(), 0u);
}

// Where no walk step by step could follow, yearly and monthly ones still can.
TEST_F(RepeatEngineTest, DistantYearsAgreeWithTheWalk) {
    const RepeatReplay replay(environment);
    for (const char* anchor :
         {"0001-01-31T02:30", "1600-02-29T02:30", "1893-03-31T23:59:59", "2499-12-31T02:15", "9990-03-30T02:30"}) {
        for (const char* current : {"0001-01-01", "1899-06-30", "2501-03-30T02:30", "9999-12-31T23:59:59"}) {
            for (const std::uint64_t type : {2u, 3u, 4u}) {
                for (const int ordinal : {0, 1}) {
                    if (type == 2 && ordinal == 0) continue;
                    const RepeatReplay::Call call{environment.date(anchor), type, 5, ordinal, Next, 0,
                                                  environment.date(current)};
                    EXPECT_EQ(engine.advanceDate(call.date, type, 5, ordinal, Next, 0, call.currentDate),
                              replay.advance(call))
                        << anchor << ' ' << current << ' ' << type << ' ' << ordinal;
                }
            }
        }
    }
}

}  // namespace
}  // namespace zun
