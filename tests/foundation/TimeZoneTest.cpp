// Zones against the C library, which reads the same files on its own, and against damaged ones.

#include <gtest/gtest.h>
#include <time.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>

#include "platform/foundation/ISO8601.h"
#include "platform/foundation/NSTimeZone.h"

namespace zun {
namespace {

namespace fs = std::filesystem;
using std::chrono::days;
using std::chrono::hours;
using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::seconds;
using SkippedTime = NSTimeZone::SkippedTime;

constexpr std::int64_t year1900 = -2'208'988'800;
constexpr std::int64_t year2100 = 4'102'444'800;
constexpr std::int64_t year3000 = 32'503'680'000;

// The C library's zone for a while.
class CLibraryZone {
  public:
    explicit CLibraryZone(const std::string& tz) {
        if (const char* before = std::getenv("TZ")) _before = before;
        ::setenv("TZ", tz.c_str(), 1);
        ::tzset();
    }
    ~CLibraryZone() {
        if (_before) {
            ::setenv("TZ", _before->c_str(), 1);
        } else {
            ::unsetenv("TZ");
        }
        ::tzset();
    }
    [[nodiscard]] static std::int64_t offsetAt(std::int64_t time) {
        const time_t instant = time;
        struct tm fields {};
        ::localtime_r(&instant, &fields);
        return fields.tm_gmtoff;
    }

  private:
    std::optional<std::string> _before;
};

fs::path zoneFolder() {
    const char* folder = std::getenv("TZDIR");
    return folder ? folder : "/usr/share/zoneinfo";
}

std::string bytesOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> everyZoneName() {
    std::vector<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(zoneFolder())) {
        const auto name = fs::relative(entry.path(), zoneFolder()).native();
        // "posix" repeats the others; "right" counts leap seconds, which no clock here does.
        if (!entry.is_regular_file() || name.starts_with("posix/") || name.starts_with("right/")) continue;
        if (bytesOf(entry.path()).starts_with("TZif")) names.push_back(name);
    }
    return names;
}

NSDate instantOf(std::int64_t time) {
    return NSDate{seconds{time}};
}

void expectOffsetsOfCLibrary(const NSTimeZone& zone, std::int64_t from, std::int64_t to, int times,
                             std::mt19937_64& random) {
    std::uniform_int_distribution<std::int64_t> any(from, to);
    for (int i = 0; i < times; ++i) {
        const auto time = any(random);
        ASSERT_EQ(zone.offsetAt(instantOf(time)).count(), CLibraryZone::offsetAt(time))
            << zone.name() << " at " << iso8601FromDate(instantOf(time));
    }
}

// Around each jump of the clock up to 2100, wall times must come out as the C library's two offsets say.
void expectWallTimesOfCLibrary(const NSTimeZone& zone) {
    for (auto span = zone.spanAt(instantOf(0)); span.end < instantOf(year2100);) {
        const auto before = span.offset;
        const auto at = span.end;
        const auto spanBefore = span;
        span = zone.spanAt(at);
        const auto time = at.time_since_epoch() / seconds{1};
        ASSERT_EQ(CLibraryZone::offsetAt(time - 1), before.count()) << zone.name() << ' ' << iso8601FromDate(at);
        ASSERT_EQ(CLibraryZone::offsetAt(time), span.offset.count()) << zone.name() << ' ' << iso8601FromDate(at);
        if (spanBefore.begin > at - days{2} || span.end < at + days{2}) continue;
        const auto wallBefore = LocalTime{at.time_since_epoch() + before};
        const auto jump = span.offset - before;
        EXPECT_EQ(zone.instant(wallBefore - microseconds{1}), at - microseconds{1});
        if (jump > seconds{0}) {
            for (const auto into : {microseconds{0}, microseconds{jump} / 2, microseconds{jump} - microseconds{1}}) {
                EXPECT_EQ(zone.instant(wallBefore + into), at + into);
                EXPECT_EQ(zone.instant(wallBefore + into, SkippedTime::EarlierByGap), at + into - jump);
                EXPECT_EQ(zone.instant(wallBefore + into, SkippedTime::EndOfGap), at);
                EXPECT_TRUE(zone.mightSkip((wallBefore + into).time_since_epoch() % days{1}));
            }
        } else {
            EXPECT_EQ(zone.instant(wallBefore + jump), at + jump) << "the first of two";
            EXPECT_EQ(zone.instant(wallBefore), at - jump) << "only after the change";
        }
    }
}

TEST(TimeZone, EveryZoneOfTheSystemAgreesWithTheCLibrary) {
    std::mt19937_64 random(7);
    const auto names = everyZoneName();
    ASSERT_GT(names.size(), 300u);
    for (const auto& name : names) {
        const auto zone = NSTimeZone::named(name);
        ASSERT_TRUE(zone) << name;
        const CLibraryZone cLibrary(name);
        expectOffsetsOfCLibrary(*zone, year1900, 0, 30, random);
        expectOffsetsOfCLibrary(*zone, 0, year2100, 200, random);
        expectOffsetsOfCLibrary(*zone, year2100, year3000, 30, random);
        expectWallTimesOfCLibrary(*zone);
        if (HasFatalFailure()) return;
    }
}

TEST(TimeZone, VariablesMeanWhatTheyMeanToTheCLibrary) {
    std::mt19937_64 random(8);
    for (const char* tz : {"CET-1CEST,M3.5.0,M10.5.0/3", "<+03>-3", "<-0330>3:30<-0230>,M3.2.0/0:01,M11.1.0/0:01",
                           "NZST-12NZDT,M9.5.0,M4.1.0/3", "IST-1GMT0,M10.5.0,M3.5.0/1", "XXX3EDT4,0/0,J365/23",
                           "AAA+4:30:15BBB,59/3,J280/2", "AAA-2BBB,M3.4.4/50,M10.4.4/-50", ":Europe/Berlin",
                           "Europe/Berlin", "UTC", "", ":", "Nowhere/Nothing", "XX5"}) {
        const auto zone = NSTimeZone::fromVariable(tz);
        ASSERT_TRUE(zone);
        const CLibraryZone cLibrary(tz);
        expectOffsetsOfCLibrary(*zone, 0, year3000, 500, random);
    }
    // The C library takes these from an old file, or in part.
    const auto withoutMoments = NSTimeZone::fromVariable("AAA5BBB");
    EXPECT_EQ(withoutMoments->spanAt(instantOf(year2100)).end,
              NSTimeZone::named("America/New_York")->spanAt(instantOf(year2100)).end);
    EXPECT_EQ(NSTimeZone::fromVariable("CET-1CEST,M13.5.0,M10.5.0")->name(), "UTC");

    const auto file = zoneFolder() / "Asia/Tokyo";
    EXPECT_EQ(NSTimeZone::fromVariable(file.native())->name(), "Asia/Tokyo");
    EXPECT_EQ(NSTimeZone::fromVariable("/dev/zero")->name(), "UTC");
    for (const char* name : {"", "/etc/localtime", "../zoneinfo/UTC", "Europe", "tzdata.zi", "Nowhere"}) {
        EXPECT_FALSE(NSTimeZone::named(name)) << name;
    }
    EXPECT_EQ(NSTimeZone::named("Europe/Berlin"), NSTimeZone::named("Europe/Berlin")) << "read once";
}

TEST(TimeZone, GapsCanBeWalkedThroughAllTime) {
    const auto zone = NSTimeZone::named("Europe/Berlin");
    for (const auto start : {year1900, std::int64_t{0}, year2100, year3000 * 7}) {
        auto number = zone->gapNumberAfter(instantOf(start));
        auto date = instantOf(start);
        for (int i = 0; i < 500; ++i, ++number) {
            auto span = zone->spanAt(date);
            while (zone->offsetAt(span.end) < span.offset)
                span = zone->spanAt(span.end);
            const auto gap = zone->gap(number);
            ASSERT_TRUE(gap);
            ASSERT_EQ(gap->at, span.end) << i << " after " << start;
            ASSERT_EQ(gap->begin.time_since_epoch(), span.end.time_since_epoch() + span.offset);
            ASSERT_EQ(zone->gapNumberAfter(gap->at - microseconds{1}), number);
            date = gap->at;
        }
    }
    EXPECT_FALSE(zone->mightSkip(hours{9}));
    const auto fixed = NSTimeZone::fromVariable("<+03>-3");
    EXPECT_FALSE(fixed->gap(fixed->gapNumberAfter(instantOf(0))));
}

TEST(TimeZone, TheEndsOfTimeHold) {
    for (const char* name : {"Europe/Berlin", "America/New_York", "Asia/Kolkata", "UTC"}) {
        const auto zone = NSTimeZone::named(name);
        EXPECT_EQ(zone->spanAt(NSDate::min()).begin, NSDate::min());
        EXPECT_GE(zone->spanAt(NSDate::max()).end, NSDate::max());
        EXPECT_EQ(zone->instant(LocalTime::max()), NSDate::max());
        EXPECT_EQ(zone->instant(LocalTime::min()), NSDate::min());
        for (std::size_t number = zone->gapNumberAfter(NSDate::max() - days{800}); zone->gap(number); ++number) {
            EXPECT_GT(zone->gap(number)->at, NSDate::max() - days{800});
        }
    }
}

void expectSane(const NSTimeZone& zone) {
    for (const std::int64_t time : {year1900 * 9, year1900, std::int64_t{0}, year2100, year3000 * 9}) {
        const auto date = instantOf(time);
        const auto span = zone.spanAt(date);
        ASSERT_LE(span.begin, date);
        ASSERT_LT(date, span.end);
        ASSERT_LE(std::chrono::abs(span.offset), hours{26});
        const auto back = zone.instant(zone.localTime(date));
        ASSERT_EQ(zone.localTime(back), zone.localTime(date));
        ASSERT_LE(back, date);
        (void)zone.gap(zone.gapNumberAfter(date) + 3);
    }
}

TEST(TimeZone, DamagedFilesAreRefusedOrStillMakeSense) {
    const auto bytes = bytesOf(zoneFolder() / "Europe/Berlin");
    ASSERT_TRUE(NSTimeZone::fromFileContents("whole", bytes));
    const auto footer = bytes.find_last_of('\n', bytes.size() - 2);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        const auto zone = NSTimeZone::fromFileContents("cut", std::string_view(bytes).substr(0, length));
        // Only the closing rule may be missing from a file that is of use.
        EXPECT_EQ(zone != nullptr, length >= footer) << length;
    }
    std::mt19937_64 random(9);
    int accepted = 0;
    for (int i = 0; i < 20'000; ++i) {
        auto damaged = bytes;
        for (auto changes = random() % 4 + 1; changes > 0; --changes) {
            // Half of the time in a header, where counts and version stand.
            const auto place = random() % 2 == 0 ? random() % 44 : random() % damaged.size();
            damaged[place] = static_cast<char>(random());
        }
        const auto zone = NSTimeZone::fromFileContents("damaged", damaged);
        if (!zone) continue;
        ++accepted;
        expectSane(*zone);
        if (HasFatalFailure()) return;
    }
    EXPECT_GT(accepted, 100) << "otherwise this tests nothing";
}

TEST(TimeZone, TheOldVersionIsRead) {
    auto bytes = bytesOf(zoneFolder() / "Europe/Berlin");
    bytes[4] = '\0';
    const auto old = NSTimeZone::fromFileContents("old", bytes);
    ASSERT_TRUE(old);
    const auto zone = NSTimeZone::named("Europe/Berlin");
    for (std::int64_t time = 0; time < 2'000'000'000; time += 7'000'000) {
        EXPECT_EQ(old->offsetAt(instantOf(time)), zone->offsetAt(instantOf(time)));
    }
}

}  // namespace
}  // namespace zun
