#include <gtest/gtest.h>

#include <random>

#include "platform/foundation/NSCalendar.h"
#include "text/QuickEntryWorld.h"

namespace zun {
namespace {

TEST(QuickEntryDescription, SaysWhatWasUnderstood) {
    const auto describe = [](const char* locale, const char* title) {
        const QuickEntryWorld world(locale);
        return world.reader.description(*world.reader.read(title));
    };
    const auto* const everyTwoWeeks = "gym every 2 weeks on Mon and Fri from 3 March at 9 until June 1";
    EXPECT_EQ(describe("en_US", everyTwoWeeks),
              "Every 2 weeks on Mon, Fri \u00b7 from Fri, Mar 6, 9:00\u202fAM \u00b7 until Mon, Jun 1");
    EXPECT_EQ(describe("de_DE", everyTwoWeeks),
              "Alle 2 Wochen: Mo, Fr \u00b7 ab Fr., 6. M\u00e4rz, 09:00 \u00b7 bis Mo., 1. Juni");
    EXPECT_EQ(describe("ja_JP", "gym every Friday at 9"),
              "\u6bce\u9031\u91d1 \u00b7 1\u670816\u65e5(\u91d1), 9:00\u304b\u3089");
    EXPECT_EQ(describe("en_GB", "gym every day"), "Daily \u00b7 from Thu, 15 Jan, 08:00");
    EXPECT_EQ(describe("en_GB", "gym on 3 Jan at noon"), "Sun, 3 Jan 2027, 12:00");
}

// Draws what a phrase could have meant at a moment.
class Drawing {
  public:
    explicit Drawing(unsigned seed) : _random(seed) {}

    int upTo(int most) { return static_cast<int>(_random() % static_cast<unsigned>(most + 1)); }

    QuickEntry entry(const TestEnvironment& environment) {
        const auto calendar = NSCalendar::current(environment);
        const auto later = [&](NSDate date, int days) {
            const auto day = calendar.dateByAddingUnit(NSCalendarUnit::Day, days, date);
            return calendar.dateBySettingHour(upTo(23), upTo(59), 0, day);
        };
        QuickEntry entry;
        entry.title = "gym";
        do {
            entry.start_date = later(environment.now(), upTo(700));
        } while (entry.start_date <= environment.now());
        entry.repeat_type = static_cast<std::uint64_t>(upTo(4));
        if (entry.repeat_type == RepeatType::none) return entry;
        if (upTo(1)) entry.customRepeatInterval = static_cast<std::uint64_t>(2 + upTo(997));
        if (entry.repeat_type == RepeatType::weekly && upTo(1)) {
            const int startOn = calendar.weekday(entry.start_date);
            entry.customRepeatDayOrdinals.emplace();
            for (const int ordinal : {2, 3, 4, 5, 6, 7, 1}) {
                if (ordinal == startOn || upTo(1)) entry.customRepeatDayOrdinals->push_back(ordinal);
            }
            entry.customRepeatInterval = std::max<std::uint64_t>(entry.customRepeatInterval, 1);
        }
        if (upTo(1)) {
            const auto last = calendar.dateByAddingUnit(NSCalendarUnit::Day, upTo(900), entry.start_date);
            entry.end_date = calendar.dateBySettingHour(23, 59, 59, last);
        }
        return entry;
    }

  private:
    std::mt19937 _random;
};

TEST(QuickEntryDescription, IsReadBackAsWhatItDescribes) {
    for (const auto* locale : {"en_US", "en_GB", "en_AU", "de_DE", "de_AT"}) {
        for (const auto* zone : {"UTC", "Europe/Berlin", "America/Los_Angeles", "Australia/Lord_Howe"}) {
            QuickEntryWorld world(locale, zone);
            Drawing drawing(20260114);
            for (int round = 0; round < 200; ++round) {
                world.environment.advance(std::chrono::minutes{drawing.upTo(20'000)});
                const auto entry = drawing.entry(world.environment);
                const auto text = world.reader.description(entry);
                const bool isFirst = round % 2 == 0;
                const auto read = world.reader.read(isFirst ? text + " gym" : "gym " + text);
                ASSERT_TRUE(read) << text << " in " << locale;
                EXPECT_EQ(world.summary(*read), world.summary(entry)) << text << " in " << locale << ", " << zone;
                EXPECT_EQ(read->phraseLength, text.size()) << text;
                if (testing::Test::HasFailure()) return;
            }
        }
    }
}

}  // namespace
}  // namespace zun
