#include <SQLiteCpp/Database.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>

#include "ZunDataModel/store/StoreDoctor.h"
#include "ZunDataModel/store/StoreSchema.h"
#include "datamodel/RecordTools.h"
#include "platform/foundation/Log.h"
#include "support/FaultSweep.h"

namespace zun {
namespace {

namespace fs = std::filesystem;
using faults::Fault;

// What the ended process still tells.
struct Promises {
    bool saved[3] = {};  // for each write whether its block ran
    std::size_t failures = 0;
};

struct Scenario {
    const char* name;
    std::size_t writes;
    void (*prepare)(const fs::path& folder, const Environment& environment);
    void (*run)(Device& device, Promises& promises);
    void (*verify)(Device& device, const Promises& promises);
};

constexpr int storedBefore = 14;

// Some notes are longer than a page.
ReminderPtr record(int number) {
    auto reminder = namedReminder("record " + std::to_string(number), "title " + std::to_string(number));
    reminder->setNotes(std::string(number % 7 == 3 ? 5000 : 20, 'n'));
    reminder->onSetFireDate(referenceDate);
    return reminder;
}

void prepareStore(const fs::path& folder, const Environment& environment) {
    Device device(folder, environment);
    for (int i = 0; i < storedBefore; ++i)
        device.add(record(i));
    device.dispatch.advance(std::chrono::minutes{1});
}

void expectWhole(Device& device, int from, int to) {
    for (int i = from; i < to; ++i) {
        const auto stored = device.stored("record " + std::to_string(i));
        ASSERT_TRUE(stored) << i;
        EXPECT_EQ(stored->attributes(), record(i)->attributes());
    }
}

void prepareNothing(const fs::path&, const Environment&) {}

// Three saves, one after the other.
void save(Device& device, Promises& promises) {
    for (int i = 0; i < 3; ++i) {
        device.store->addReminder(record(storedBefore + i), [&promises, i](const auto&) { promises.saved[i] = true; });
        device.run();
    }
}
void verifyFirstSaves(Device& device, const Promises& promises) {
    EXPECT_TRUE(device.store->health().findings.empty()) << device.store->health().findings.front().message;
    for (int i = storedBefore; i < storedBefore + 3; ++i)
        if (promises.saved[i - storedBefore] || device.stored("record " + std::to_string(i)))
            expectWhole(device, i, i + 1);
}

void verifySaves(Device& device, const Promises& promises) {
    expectWhole(device, 0, storedBefore);
    verifyFirstSaves(device, promises);
}

// One commit, part of which replaces stored ones, written back into the file afterwards.
constexpr int importReplaces = 6;
constexpr int importAdds = 19;
ReminderPtr imported(int number) {
    auto reminder = record(number);
    reminder->setTitle("imported");
    return reminder;
}
void import(Device& device, Promises& promises) {
    std::vector<ReminderPtr> reminders;
    for (int i = storedBefore - importReplaces; i < storedBefore + importAdds; ++i)
        reminders.push_back(imported(i));
    device.store->replaceReminders(reminders, [&](const auto&) { promises.saved[0] = true; });
    device.run();
    device.dispatch.advance(std::chrono::minutes{1});
}
void verifyImport(Device& device, const Promises& promises) {
    const auto found = device.fetch("title = %@", {std::string("imported")}).size();
    EXPECT_TRUE(found == importReplaces + importAdds || (found == 0 && !promises.saved[0])) << found;
    EXPECT_EQ(device.count(), static_cast<std::size_t>(storedBefore + (found > 0 ? importAdds : 0)));
    expectWhole(device, 0, storedBefore - importReplaces);
}

// Replaces a completed copy by its series, then removes another record.
void undoCompletion(Device& device, Promises& promises) {
    device.store->replaceCopyWithSeries(record(0), imported(100), [&](const auto&) { promises.saved[0] = true; });
    device.run();
    device.store->removeReminder(record(1), [&](const auto&) { promises.saved[1] = true; });
    device.run();
}
void verifyUndoneCompletion(Device& device, const Promises& promises) {
    const bool copy = device.stored("record 0") != nullptr;
    EXPECT_NE(copy, device.stored("record 100") != nullptr);
    EXPECT_FALSE(copy && promises.saved[0]);
    EXPECT_FALSE(device.stored("record 1") && promises.saved[1]);
    expectWhole(device, 2, storedBefore);
}

void prepareOldFile(const fs::path& folder, const Environment&) {
    StoreConnection old(folder / "reminders.sqlite", StoreConnection::Access::Write);
    migrate(old, 1);
    for (int i = 0; i < storedBefore; ++i) {
        const auto values = "'record " + std::to_string(i) + "', 'title " + std::to_string(i) + "', '" +
                            record(i)->notes().value() + "', NULL, NULL, NULL, NULL, NULL, NULL, " +
                            std::to_string(referenceDate.time_since_epoch().count());
        old.execute(("INSERT INTO reminders VALUES (" + values +
                     ", NULL, 0, 0, NULL, 0, 0, 0, 0, 0, 0.0, 0.0, NULL, 0, 0, 0, 0, 0, NULL, NULL, 0, NULL)")
                        .c_str());
    }
}
void verifyMigration(Device& device, const Promises&) {
    EXPECT_EQ(device.count(), static_cast<std::size_t>(storedBefore));
    EXPECT_EQ(device.store->reminderIDsWithTitleContaining("TITLE").size(), static_cast<std::size_t>(storedBefore));
    expectWhole(device, 0, storedBefore);
}

void clearAll(Device& device, Promises& promises) {
    device.store->clearRemindersFromStore([&] { promises.saved[0] = true; });
    device.run();
}
void verifyCleared(Device& device, const Promises& promises) {
    if (device.count() != 0) {
        EXPECT_FALSE(promises.saved[0]);
        return expectWhole(device, 0, storedBefore);
    }
    // Whenever the records are gone there is a backup with all of them.
    const auto backup = device.folder / "backups" / "reminders-20260201T090000Z-cleared.sqlite";
    ASSERT_TRUE(fs::exists(backup));
    EXPECT_EQ(SQLite::Database(backup).execAndGet("SELECT count(*) FROM reminders").getInt(), storedBefore);
}

// Part of the records stand in the log only, and a page of the file that the log does not replace is overwritten.
void prepareDamage(const fs::path& folder, const Environment& environment) {
    prepareStore(folder, environment);
    {
        Device device(folder, environment);
        for (int i = storedBefore; i < storedBefore + 3; ++i)
            device.add(record(i));
    }
    ASSERT_GT(fs::file_size(folder / "reminders.sqlite-wal"), 0u);
    std::fstream file(folder / "reminders.sqlite", std::ios::in | std::ios::out | std::ios::binary);
    SQLite::Database database(folder / "reminders.sqlite");
    const auto page =
        database.execAndGet("SELECT max(rootpage) FROM sqlite_schema WHERE name = 'reminders_completed'").getInt();
    file.seekp((page - 1) * 4096);
    file << std::string(4096, '\xA5');
    std::ofstream(folder / "reminders.session") << 'w';
}
void verifyRebuilt(Device& device, const Promises&) {
    EXPECT_EQ(device.count(), static_cast<std::size_t>(storedBefore + 3));
    expectWhole(device, 0, storedBefore + 3);
    const auto kept =
        std::ranges::count_if(fs::directory_iterator(device.folder), [](const fs::directory_entry& entry) {
            const auto name = entry.path().filename().string();
            return name.starts_with("reminders.damaged-") && name.ends_with(".sqlite");
        });
    EXPECT_EQ(kept, 1);
}

void onlyOpen(Device&, Promises&) {}

const Scenario scenarios[] = {
    {"first saves", 3, prepareNothing, save, verifyFirstSaves},
    {"save", 3, prepareStore, save, verifySaves},
    {"import", 1, prepareStore, import, verifyImport},
    {"undo of a completion", 2, prepareStore, undoCompletion, verifyUndoneCompletion},
    {"migration", 0, prepareOldFile, onlyOpen, verifyMigration},
    {"clearing", 1, prepareStore, clearAll, verifyCleared},
    {"rebuilding", 0, prepareDamage, onlyOpen, verifyRebuilt},
};

class StoreFaults : public testing::Test {
  protected:
    bool strike(const Scenario& scenario, Fault fault, std::uint64_t atCall, const fs::path& folder) {
        const bool struck = _process.strike(fault, atCall, [&](Promises& promises) {
            Device device(folder, _environment);
            scenario.run(device, promises);
            promises.failures = device.failures.size();
        });
        // Each write tells what became of it.
        const auto& promises = _process.promises();
        const auto told = static_cast<std::size_t>(std::ranges::count(promises.saved, true)) + promises.failures;
        EXPECT_TRUE(!_process.wentOn() || told == scenario.writes) << told << " of " << scenario.writes;
        return struck;
    }

    void verify(const Scenario& scenario, const fs::path& folder) {
        // Shared memory does not outlive the machine.
        std::error_code none;
        fs::remove(folder / "reminders.sqlite-shm", none);
        {
            Device device(folder, _environment);
            EXPECT_TRUE(device.store->health().canWrite);
            scenario.verify(device, _process.promises());
            device.add(namedReminder("afterwards"));
            EXPECT_TRUE(device.stored("afterwards"));
        }
        for (const DoctorFinding& finding : StoreDoctor(folder, _environment).examine())
            EXPECT_TRUE(finding.state == DoctorFinding::State::Fine || finding.text.starts_with("The unfinished file"))
                << finding.text;
    }

    TestEnvironment _environment{"2026-02-01T09:00:00Z"};
    ScopedLogSink _quiet{[](std::string_view) {}};
    faults::StruckProcess<Promises> _process;
};

TEST_F(StoreFaults, KeepEveryPromiseWhereverTheyStrike) {
    for (const Scenario& scenario : scenarios) {
        const TemporaryFolder prepared;
        scenario.prepare(prepared.path(), _environment);
        faults::sweep(scenario.name, prepared.path(), [&](Fault fault, std::uint64_t call, const fs::path& folder) {
            const bool struck = strike(scenario, fault, call, folder);
            verify(scenario, folder);
            return struck;
        });
        if (HasFailure()) return;
    }
}

}  // namespace
}  // namespace zun
