#include <gmock/gmock.h>

#include <cmath>
#include <functional>
#include <map>

#include "datamodel/RecordTools.h"
#include "platform/foundation/Log.h"

namespace zun {
namespace {

using Argument = NSPredicate::Argument;
using Matches = std::function<bool(const ReminderAttributes&, NSDate now)>;

struct Query {
    std::string_view format;
    std::function<std::vector<Argument>(NSDate now)> arguments;
    Matches matches;
};

bool isShown(const ReminderAttributes& r) {
    return !r.shouldDeleteRemote.value_or(false);
}
bool hasNoPlace(const ReminderAttributes& r) {
    return r.locationLatitude == 0 && r.locationLongitude == 0;
}
bool hasPlace(const ReminderAttributes& r) {
    return r.locationLatitude != 0 && r.locationLongitude != 0;
}
bool isOpen(const ReminderAttributes& r) {
    return !r.completed_date && isShown(r);
}
std::vector<Argument> nowAndNo(NSDate now) {
    return {now, false};
}
std::vector<Argument> no(NSDate) {
    return {false};
}
std::vector<Argument> yes(NSDate) {
    return {true};
}
std::vector<Argument> nothing(NSDate) {
    return {};
}

// Every query of the programs, beside the same thing said in C++.
const Query queries[] = {
    {"reminderID != nil", nothing, [](auto&, auto) { return true; }},
    {"completed_date != nil AND (shouldDeleteRemote = %@ OR shouldDeleteRemote = nil)", no,
     [](auto& r, auto) { return r.completed_date && isShown(r); }},
    {"locationLatitude = 0 AND locationLongitude = 0 AND fire_date >= %@ AND completed_date = nil AND "
     "(shouldDeleteRemote = %@ OR "
     "shouldDeleteRemote = nil)",
     nowAndNo, [](auto& r, auto now) { return hasNoPlace(r) && r.fire_date && *r.fire_date >= now && isOpen(r); }},
    {"locationLatitude != 0 AND locationLongitude != 0 AND completed_date = nil AND (shouldDeleteRemote = %@ OR "
     "shouldDeleteRemote = nil)",
     no, [](auto& r, auto) { return hasPlace(r) && isOpen(r); }},
    {"locationLatitude != 0 AND locationLongitude != 0 AND completed_date = nil AND (fire_date = nil OR fire_date <= "
     "%@) AND "
     "(shouldDeleteRemote = %@ OR shouldDeleteRemote = nil)",
     nowAndNo, [](auto& r, auto now) { return hasPlace(r) && isOpen(r) && (!r.fire_date || *r.fire_date <= now); }},
    {"didPersistToiCloud = %@", no, [](auto& r, auto) { return !r.didPersistToiCloud; }},
    {"shareURL != nil", nothing, [](auto& r, auto) { return r.shareURL.has_value(); }},
    {"shouldDeleteRemote = %@", yes, [](auto& r, auto) { return r.shouldDeleteRemote == true; }},
    {"hasLocalChanges = %@ AND (shouldDeleteRemote = %@ OR shouldDeleteRemote = nil)",
     [](auto) {
         return std::vector<Argument>{true, false};
     },
     [](auto& r, auto) { return r.hasLocalChanges && isShown(r); }},
    {"locationLatitude = 0 AND locationLongitude = 0 AND (fire_date <= %@ OR fire_date = nil) AND completed_date = nil "
     "AND "
     "(shouldDeleteRemote = %@ OR shouldDeleteRemote = nil)",
     nowAndNo, [](auto& r, auto now) { return hasNoPlace(r) && isOpen(r) && (!r.fire_date || *r.fire_date <= now); }},
    {"locationLatitude = 0 AND locationLongitude = 0 AND fire_date > %@ AND completed_date = nil AND "
     "(shouldDeleteRemote = %@ OR "
     "shouldDeleteRemote = nil)",
     nowAndNo, [](auto& r, auto now) { return hasNoPlace(r) && isOpen(r) && r.fire_date && *r.fire_date > now; }},
    {"locationLatitude = 0 AND locationLongitude = 0 AND fire_date >= %@ AND start_date != nil AND completed_date = "
     "nil AND "
     "shouldSuppressNotifications == %@ AND (shouldDeleteRemote = %@ OR shouldDeleteRemote = nil)",
     [](auto now) {
         return std::vector<Argument>{now, true, false};
     },
     [](auto& r, auto now) {
         return hasNoPlace(r) && isOpen(r) && r.fire_date && *r.fire_date >= now && r.start_date &&
                r.shouldSuppressNotifications;
     }},
    {"locationLatitude = 0 AND locationLongitude = 0 AND fire_date <= %@ AND completed_date = nil AND start_date != "
     "nil AND "
     "(shouldDeleteRemote = %@ OR shouldDeleteRemote = nil)",
     nowAndNo,
     [](auto& r, auto now) {
         return hasNoPlace(r) && isOpen(r) && r.fire_date && *r.fire_date <= now && r.start_date;
     }},
    {"(locationLatitude = 0 AND locationLongitude = 0 AND fire_date <= %@ AND fire_date >= %@ AND fire_date != nil) "
     "AND completed_date "
     "= nil AND (shouldDeleteRemote = %@ OR shouldDeleteRemote = nil)",
     [](auto now) {
         return std::vector<Argument>{now, now - std::chrono::hours{1}, false};
     },
     [](auto& r, auto now) {
         return hasNoPlace(r) && isOpen(r) && r.fire_date && *r.fire_date <= now &&
                *r.fire_date >= now - std::chrono::hours{1};
     }},
    // Absent values, and operators that only these expressions reach.
    {"fire_date = %@", [](auto) { return std::vector<Argument>{nullptr}; }, [](auto& r, auto) { return !r.fire_date; }},
    {"fire_date != %@", [](auto now) { return std::vector<Argument>{now}; },
     [](auto& r, auto now) { return r.fire_date != now; }},
    {"fire_date <= %@ OR fire_date > nil", [](auto) { return std::vector<Argument>{nullptr}; },
     [](auto&, auto) { return false; }},
    {"shareURL != %@", [](auto) { return std::vector<Argument>{std::string("0")}; },
     [](auto& r, auto) { return r.shareURL != "0"; }},
    {"rank>=-1 AnD rank<1.5 or(title==%@)", [](auto) { return std::vector<Argument>{std::string("Pay rent")}; },
     [](auto& r, auto) { return (r.rank >= -1 && r.rank < 1.5) || r.title == "Pay rent"; }},
    {"title = %@", [](auto) { return std::vector<Argument>{std::string("nul\0inside", 10)}; },
     [](auto& r, auto) { return r.title == std::string("nul\0inside", 10); }},
};

TEST(Predicates, FindWhatTheSameConditionFindsInMemory) {
    const TemporaryFolder folder;
    const TestEnvironment environment("2026-02-01T09:00:00Z");
    Device device(folder.path(), environment);
    std::mt19937 random(7);
    std::map<std::string, ReminderAttributes> records;
    std::vector<ReminderPtr> reminders;
    for (int i = 0; i < 3000; ++i) {
        const auto record = randomRecord(random, environment.now());
        records[*record.reminderID] = record;
        reminders.push_back(std::make_shared<ZNReminderObject>(record));
    }
    device.store->replaceReminders(reminders);
    device.run();

    for (const Query& query : queries) {
        SCOPED_TRACE(query.format);
        std::map<std::string, ReminderAttributes> expected;
        for (const auto& [reminderID, record] : records)
            if (query.matches(record, environment.now())) expected.emplace(reminderID, record);
        std::map<std::string, ReminderAttributes> found;
        for (const auto& reminder : device.fetch(query.format, query.arguments(environment.now())))
            found.emplace(*reminder->reminderID(), reminder->attributes());
        EXPECT_TRUE(found == expected) << found.size() << " found, " << expected.size() << " expected";
        const auto predicate = NSPredicate::predicateWithFormat(query.format, query.arguments(environment.now()));
        EXPECT_EQ(device.store->fetchRemindersForPredicate(predicate, {}, ReturnAsReminderObject::No).count,
                  expected.size());
    }
}

TEST(Predicates, SortByAnyAttributeWithAbsentValuesFirst) {
    const TemporaryFolder folder;
    const TestEnvironment environment("2026-02-01T09:00:00Z");
    Device device(folder.path(), environment);
    std::mt19937 random(8);
    std::vector<ReminderPtr> reminders;
    for (int i = 0; i < 300; ++i)
        reminders.push_back(std::make_shared<ZNReminderObject>(randomRecord(random, environment.now())));
    device.store->replaceReminders(reminders);
    device.run();

    const auto key = [](const ReminderPtr& r) { return std::pair(r->due_date(), r->rank()); };
    for (const bool ascending : {true, false}) {
        const auto sorted = device.fetch("reminderID != nil", {}, {{"due_date", ascending}, {"rank", ascending}});
        ASSERT_EQ(sorted.size(), reminders.size());
        for (std::size_t i = 1; i < sorted.size(); ++i)
            EXPECT_TRUE(ascending ? key(sorted[i - 1]) <= key(sorted[i]) : key(sorted[i - 1]) >= key(sorted[i]));
    }
}

TEST(Predicates, RefuseWhatIsMalformed) {
    const std::string deep(200, '(');
    std::string wide = "rank = 1";
    for (int i = 0; i < 5000; ++i)
        wide += " OR rank = 1";
    for (const std::string& text : {std::string(),
                                    std::string("rank"),
                                    std::string("rank ="),
                                    std::string("= 1"),
                                    std::string("(rank = 1"),
                                    std::string("rank = 1)"),
                                    std::string("rank = 1 AND"),
                                    std::string("rank = 1 rank = 2"),
                                    std::string("rank = inf"),
                                    std::string("rank = -"),
                                    std::string("rank = 1x"),
                                    std::string("rank = 'a'"),
                                    std::string("rank; = 1"),
                                    std::string("rank = 1; DROP TABLE reminders"),
                                    std::string("r\xC3\xA4nk = 1"),
                                    std::string("rank = 1\0", 9),
                                    std::string("rank = nilx"),
                                    std::string("rank LIKE 1"),
                                    deep,
                                    wide})
        EXPECT_FALSE(NSPredicate::predicateWithFormat(text)) << text.substr(0, 40);
    EXPECT_FALSE(NSPredicate::predicateWithFormat("rank = %@"));
    EXPECT_FALSE(NSPredicate::predicateWithFormat("rank = 1", {true}));
}

TEST(Predicates, ThatNameUnknownAttributesFindNothingAndSayWhy) {
    const TemporaryFolder folder;
    const TestEnvironment environment("2026-02-01T09:00:00Z");
    Device device(folder.path(), environment);
    device.add(namedReminder("a"));
    std::vector<std::string> lines;
    const ScopedLogSink sink([&](std::string_view line) { lines.emplace_back(line); });
    EXPECT_TRUE(device.fetch("colour = nil").empty());
    EXPECT_TRUE(device.fetch("rowid != nil").empty());
    EXPECT_TRUE(device.fetch("rank = 0", {}, {{"title_folded", true}}).empty());
    EXPECT_THAT(lines, testing::Each(testing::HasSubstr("which no record has")));
    EXPECT_EQ(lines.size(), 3u);
}

}  // namespace
}  // namespace zun
