#include <SQLiteCpp/Database.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>

#include "ZunDataModel/store/StoreDoctor.h"
#include "ZunDataModel/store/StoreSchema.h"
#include "datamodel/RecordTools.h"
#include "platform/foundation/Log.h"

namespace zun {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class StoreOpening : public testing::Test {
  protected:
    std::unique_ptr<Device> open() { return std::make_unique<Device>(folder.path(), environment); }

    // A store of so many records with all of them in the main file.
    void fill(int records) {
        std::vector<ReminderPtr> reminders;
        for (int i = 0; i < records; ++i)
            reminders.push_back(namedReminder("record " + std::to_string(i), std::string(300, 'x')));
        auto device = open();
        device->store->replaceReminders(reminders);
        device->run();
        device->dispatch.advance(std::chrono::minutes{1});
    }

    // As if the writer had been killed: what the next opening goes by.
    void markUnclean() const { std::ofstream(folder.path() / "reminders.session") << 'w'; }

    void overwrite(std::streamoff at, std::size_t length) const {
        std::fstream stream(file, std::ios::in | std::ios::out | std::ios::binary);
        stream.seekp(at);
        stream << std::string(length, '\xA5');
    }

    [[nodiscard]] std::vector<std::string> filesLike(const std::string& prefix) const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder.path()))
            if (entry.path().filename().string().starts_with(prefix)) names.push_back(entry.path().filename());
        std::ranges::sort(names);
        return names;
    }

    std::vector<std::pair<DoctorFinding::State, std::string>> examine() {
        std::vector<std::pair<DoctorFinding::State, std::string>> findings;
        for (auto& finding : StoreDoctor(folder.path(), environment).examine())
            findings.emplace_back(finding.state, finding.text);
        return findings;
    }

    TemporaryFolder folder;
    TestEnvironment environment{"2026-02-01T09:00:00Z"};
    fs::path file = folder.path() / "reminders.sqlite";
    ScopedLogSink quiet{[](std::string_view) {}};
};

TEST_F(StoreOpening, TakesAnEmptyFileForANewStore) {
    std::ofstream(file).close();
    auto device = open();
    device->add(namedReminder("a"));
    EXPECT_EQ(device->count(), 1u);
    EXPECT_THAT(device->store->health().findings, IsEmpty());
    EXPECT_TRUE(device->store->health().canWrite);
}

TEST_F(StoreOpening, MigratesAnOldFileAfterBackingItUp) {
    {
        StoreConnection old(file, StoreConnection::Access::Write);
        migrate(old, 1);
        old.execute(
            "INSERT INTO reminders VALUES ('a', '\xC3\x84rger', NULL, NULL, 1, NULL, NULL, NULL, NULL, NULL, NULL, 2, "
            "0, '[2,4]', "
            "0, 0, 0, 1, 0, 0.0, 0.0, NULL, 0, 0, -5, 0, 0, NULL, NULL, 0, x'00FF')");
    }
    auto device = open();
    EXPECT_THAT(device->store->health().findings, IsEmpty());
    const auto migrated = device->stored("a");
    ASSERT_TRUE(migrated);
    EXPECT_EQ(migrated->customRepeatDayOrdinals(), (DayOrdinals{2, 4}));
    EXPECT_EQ(migrated->sharedZoneID(), (Bytes{0x00, 0xFF}));
    EXPECT_EQ(migrated->rank(), -5);
    EXPECT_EQ(device->store->reminderIDsWithTitleContaining("arger").size(), 1u);
    device->add(namedReminder("b"));
    EXPECT_EQ(device->count(), 2u);

    SQLite::Database backup(folder.path() / "backups" / "reminders-20260201T090000Z-v1.sqlite");
    EXPECT_EQ(backup.execAndGet("PRAGMA user_version").getInt(), 1);
    EXPECT_EQ(backup.execAndGet("SELECT title FROM reminders").getString(), "\xC3\x84rger");
}

TEST_F(StoreOpening, ReadsAFileOfANewerVersionAndLeavesItAlone) {
    fill(3);
    {
        SQLite::Database newer(file, SQLite::OPEN_READWRITE);
        newer.exec("ALTER TABLE reminders ADD COLUMN colour TEXT; PRAGMA user_version = 99");
    }
    markUnclean();
    // Two programs at once: neither keeps the other waiting.
    const auto second = open();
    auto device = open();
    EXPECT_EQ(device->count(), 3u);
    ASSERT_EQ(device->store->health().findings.size(), 1u);
    EXPECT_EQ(device->store->health().findings[0].code, StoreErrorCode::NewerVersion);
    bool called = false;
    device->store->addReminder(namedReminder("a"), [&](const auto&) { called = true; });
    device->store->clearRemindersFromStore([&] { called = true; });
    device->run();
    EXPECT_FALSE(called);
    EXPECT_THAT(device->failures, ElementsAre(StoreErrorCode::NewerVersion, StoreErrorCode::NewerVersion));
    EXPECT_EQ(device->count(), 3u);
}

TEST_F(StoreOpening, SetsAFileAsideThatIsNoStore) {
    const std::string contents = "Dear diary, this was never a database, and it is long enough to be mistaken for one.";
    std::ofstream(file) << contents;
    for (int round = 0; round < 2; ++round) {
        auto device = open();
        EXPECT_TRUE(device->store->health().canWrite);
        if (round == 0) {
            ASSERT_EQ(device->store->health().findings.size(), 1u);
            EXPECT_EQ(device->store->health().findings[0].code, StoreErrorCode::Damaged);
            EXPECT_EQ(device->store->health().setAside, folder.path() / "reminders.damaged-20260201T090000Z.sqlite");
            device->add(namedReminder("a"));
        }
        EXPECT_EQ(device->count(), 1u);
    }
    std::string kept;
    std::getline(std::ifstream(folder.path() / "reminders.damaged-20260201T090000Z.sqlite"), kept);
    EXPECT_EQ(kept, contents);
}

TEST_F(StoreOpening, SalvagesTheRowsAroundADamagedStretch) {
    fill(2000);
    const auto size = fs::file_size(file);
    // The table fills the file in order; its middle goes.
    overwrite(static_cast<std::streamoff>(size / 2 / 4096 * 4096), 40'960);
    markUnclean();
    auto device = open();
    const StoreHealth& health = device->store->health();
    ASSERT_EQ(health.findings.size(), 1u);
    EXPECT_EQ(health.findings[0].code, StoreErrorCode::Damaged);
    EXPECT_THAT(filesLike("reminders.damaged-"), testing::Not(IsEmpty()));
    EXPECT_GT(health.salvaged, 1700u);
    EXPECT_LT(health.salvaged, 2000u);
    EXPECT_EQ(device->count(), health.salvaged);
    EXPECT_TRUE(device->stored("record 0"));
    EXPECT_TRUE(device->stored("record 1999"));
    EXPECT_EQ(device->stored("record 1999")->title(), std::string(300, 'x'));
}

TEST_F(StoreOpening, TellsOfDamageThatOnlyAFetchMeetsAndRepairsItNextTime) {
    fill(2000);
    overwrite(static_cast<std::streamoff>(fs::file_size(file) / 2 / 4096 * 4096), 40'960);
    {
        auto device = open();
        for (int i = 0; i < 3; ++i)
            EXPECT_THAT(device->fetch("title != nil"), IsEmpty());
        device->run();
        EXPECT_THAT(device->failures, ElementsAre(StoreErrorCode::Damaged));
    }
    auto device = open();
    EXPECT_GT(device->fetch("title != nil").size(), 1700u);
    EXPECT_THAT(device->failures, IsEmpty());
}

TEST_F(StoreOpening, TakesLostRecordsFromTheNewestBackupButNotThoseRemovedSince) {
    fill(2000);
    {
        StoreConnection connection(file, StoreConnection::Access::Write);
        fs::create_directory(folder.path() / "backups");
        connection.execute(
            ("VACUUM INTO '" + (folder.path() / "backups" / "reminders-20260101T000000Z-v1.sqlite").string() + "'")
                .c_str());
    }
    {
        auto device = open();
        device->store->removeReminder(namedReminder("record 5"));
        device->store->removeReminder(namedReminder("record 1000"));
        device->add(namedReminder("younger than the backup"));
        device->dispatch.advance(std::chrono::minutes{1});
    }
    overwrite(static_cast<std::streamoff>(fs::file_size(file) / 2 / 4096 * 4096), 40'960);
    markUnclean();
    auto device = open();
    EXPECT_EQ(device->count(), 1999u);
    EXPECT_FALSE(device->stored("record 5"));
    EXPECT_TRUE(device->stored("record 1200"));
    EXPECT_TRUE(device->stored("younger than the backup"));
}

TEST_F(StoreOpening, FinishesARebuildingThatWasCutOff) {
    fill(3);
    fs::rename(file, folder.path() / "reminders.salvaged.sqlite");
    fs::remove(folder.path() / "reminders.sqlite-wal");
    EXPECT_EQ(open()->count(), 3u);
}

TEST_F(StoreOpening, KeepsAFileWhoseEndWasCutOff) {
    fill(500);
    fs::resize_file(file, 4096 * 3);
    markUnclean();
    auto device = open();
    EXPECT_FALSE(device->store->health().setAside.empty());
    EXPECT_EQ(fs::file_size(device->store->health().setAside), 4096u * 3);
    device->add(namedReminder("after"));
    EXPECT_TRUE(device->stored("after"));
}

TEST_F(StoreOpening, ReadsEverythingBehindADamagedFirstPage) {
    fill(200);
    { open()->add(namedReminder("only in the log")); }
    const TemporaryFolder sound;
    fs::copy(folder.path(), sound.path(), fs::copy_options::recursive | fs::copy_options::overwrite_existing);
    struct Damage {
        std::streamoff at;
        std::size_t length;
    };
    std::vector<Damage> damages{{0, 100}, {0, 4096}, {100, 3996}};
    for (std::streamoff byte = 0; byte < 100; byte += byte % 4 == 1 ? 2 : 1)
        damages.push_back({byte, 1});
    for (const Damage& damage : damages) {
        SCOPED_TRACE(testing::Message() << damage.length << " at " << damage.at);
        fs::remove_all(folder.path());
        fs::copy(sound.path(), folder.path(), fs::copy_options::recursive);
        overwrite(damage.at, damage.length);
        markUnclean();
        auto device = open();
        EXPECT_EQ(device->count(), 201u);
        // Another version number may be a newer program's.
        const bool isVersion = damage.length == 1 && damage.at >= 60 && damage.at < 64;
        EXPECT_TRUE(device->store->health().canWrite || isVersion);
        EXPECT_TRUE(device->stored("record 199"));
        device.reset();
        ASSERT_THAT(examine(), testing::Each(testing::Key(DoctorFinding::State::Fine)));
    }
}

TEST_F(StoreOpening, ReadsTheLogBesideAFileThatLostAllItsBytes) {
    {
        auto device = open();
        device->add(namedReminder("a"));
        device->add(namedReminder("b"));
    }
    fs::resize_file(file, 0);
    auto device = open();
    EXPECT_EQ(device->count(), 2u);
    EXPECT_EQ(device->store->health().salvaged, 2u);
    EXPECT_THAT(filesLike("reminders.damaged-"), testing::Contains("reminders.damaged-20260201T090000Z.sqlite-wal"));
}

// No check sum covers a page, so a changed letter goes unseen; but nothing ends the program, and what the store serves
// afterwards is whole.
TEST_F(StoreOpening, ServesWhatIsLeftWhateverBytesWereChanged) {
    fill(200);
    const TemporaryFolder sound;
    fs::copy(folder.path(), sound.path(), fs::copy_options::recursive | fs::copy_options::overwrite_existing);
    std::mt19937 random(7);
    for (int round = 0; round < 40; ++round) {
        SCOPED_TRACE(round);
        fs::remove_all(folder.path());
        fs::copy(sound.path(), folder.path(), fs::copy_options::recursive);
        for (int i = 0; i <= round % 8; ++i)
            overwrite(static_cast<std::streamoff>(random() % fs::file_size(file)), 1 + random() % 64);
        if (round % 2 == 0) markUnclean();
        {
            auto device = open();
            device->add(namedReminder("during"));
            static_cast<void>(device->fetch("fire_date = nil AND completed_date = nil", {}, {{"title", true}}));
        }
        static_cast<void>(examine());
        ASSERT_THAT(examine(), testing::Each(testing::Key(DoctorFinding::State::Fine)));
        auto device = open();
        device->add(namedReminder("after"));
        EXPECT_TRUE(device->stored("after"));
        EXPECT_EQ(device->fetch("title != nil").size(), device->count());
    }
}

TEST_F(StoreOpening, DoctorRepairsIndexesTwinsNamesAndLeftovers) {
    fill(20);
    {
        // An index that misses a row: made by hiding the index while the row is deleted.
        SQLite::Database tampering(file, SQLite::OPEN_READWRITE);
        tampering.exec(
            "PRAGMA writable_schema = ON; UPDATE sqlite_schema SET type = 'table', sql = 'CREATE TABLE hidden (x)' "
            "WHERE 0;"
            "UPDATE reminders SET reminderID = '' WHERE reminderID = 'record 1';"
            "UPDATE reminders SET reminderID = 'record 3' WHERE reminderID = 'record 2'");
        tampering.exec(
            "CREATE TABLE saved AS SELECT * FROM sqlite_schema WHERE name = 'reminders_by_id';"
            "DELETE FROM sqlite_schema WHERE name = 'reminders_by_id'");
    }
    {
        SQLite::Database tampering(file, SQLite::OPEN_READWRITE);
        tampering.exec(
            "DELETE FROM reminders WHERE reminderID = 'record 7'; PRAGMA writable_schema = ON;"
            "INSERT INTO sqlite_schema SELECT * FROM saved; DROP TABLE saved");
    }
    std::ofstream(folder.path() / "reminders.salvaged.sqlite.part") << "half";
    const auto findings = examine();
    using State = DoctorFinding::State;
    EXPECT_THAT(findings, testing::Contains(testing::Pair(State::Repaired, HasSubstr("indexes"))));
    EXPECT_THAT(findings, testing::Contains(
                              testing::Pair(State::Repaired, HasSubstr("1 record stood in the store more than once"))));
    EXPECT_THAT(findings, testing::Contains(testing::Pair(State::Repaired, HasSubstr("1 record had no identifier"))));
    EXPECT_THAT(findings,
                testing::Contains(testing::Pair(State::Repaired, HasSubstr("reminders.salvaged.sqlite.part"))));
    EXPECT_THAT(findings, testing::Contains(testing::Pair(State::Fine, "The store holds 18 records.")));
    EXPECT_THAT(findings, testing::Not(testing::Contains(testing::Key(State::Broken))));
    EXPECT_THAT(examine(), testing::Each(testing::Key(State::Fine)));
}

TEST_F(StoreOpening, DoctorRebuildsOnlyWithTheStoreToItself) {
    using State = DoctorFinding::State;
    const auto damage = [&] { overwrite(static_cast<std::streamoff>(fs::file_size(file) / 2 / 4096 * 4096), 4096); };
    fill(2000);
    damage();
    {
        const auto other = open();
        EXPECT_THAT(examine(), testing::Contains(testing::Pair(State::Broken, HasSubstr("closed"))));
        EXPECT_THAT(filesLike("reminders.damaged-"), IsEmpty());
    }
    // Nobody has checked it since, however cleanly the other one left.
    EXPECT_THAT(examine(), testing::Contains(testing::Pair(State::Repaired, HasSubstr("reminders could be read"))));
    EXPECT_THAT(examine(), testing::Each(testing::Key(State::Fine)));
    damage();
    EXPECT_THAT(examine(), testing::Contains(testing::Pair(State::Repaired, HasSubstr("records could be read"))));
    EXPECT_THAT(examine(), testing::Each(testing::Key(State::Fine)));
}

// Runs the body in a process of its own, which may drop rights and set limits; true if it found all as expected.
template <typename Body>
bool inChild(Body body) {
    const pid_t child = fork();
    if (child == 0) {
        bool good = false;
        try {
            good = body();
        } catch (...) {
        }
        _exit(good && !testing::Test::HasFailure() ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// The superuser may write anywhere; the tests may run as it in a container.
void becomeOrdinary() {
    constexpr uid_t nobody = 65534;
    if (geteuid() == 0 && seteuid(nobody) != 0) _exit(2);
}

TEST_F(StoreOpening, ReadsFromAWriteProtectedFolder) {
    fill(3);
    ASSERT_EQ(chmod(folder.path().c_str(), 0555), 0);
    for (const auto& entry : fs::directory_iterator(folder.path()))
        ASSERT_EQ(chmod(entry.path().c_str(), 0444), 0);
    EXPECT_TRUE(inChild([&] {
        becomeOrdinary();
        auto device = open();
        device->add(namedReminder("a"));
        EXPECT_EQ(device->count(), 3u);
        EXPECT_FALSE(device->store->health().canWrite);
        EXPECT_THAT(device->failures, ElementsAre(StoreErrorCode::ReadOnly));
        return true;
    }));
    // A copy on a medium that never had the log beside it.
    fs::permissions(folder.path(), fs::perms::owner_all);
    for (const char* suffix : {"-wal", "-shm"})
        fs::remove(file.string() + suffix);
    ASSERT_EQ(chmod(folder.path().c_str(), 0555), 0);
    EXPECT_TRUE(inChild([&] {
        becomeOrdinary();
        EXPECT_EQ(open()->count(), 3u);
        return true;
    }));
    fs::permissions(folder.path(), fs::perms::owner_all);
}

TEST_F(StoreOpening, SaysSoWhereNoFolderCanBeMade) {
    std::ofstream(folder.path() / "file").close();
    Device device(folder.path() / "file" / "below", environment);
    device.add(namedReminder("a"));
    EXPECT_EQ(device.count(), 0u);
    EXPECT_FALSE(device.store->health().canRead);
    EXPECT_THAT(device.failures, ElementsAre(StoreErrorCode::CannotOpen));
    EXPECT_THAT(StoreDoctor(folder.path() / "file" / "below", environment).examine(),
                ElementsAre(testing::Field(&DoctorFinding::state, DoctorFinding::State::Broken)));
}

TEST_F(StoreOpening, LosesNothingWhenTheDiskIsFull) {
    fill(3);
    EXPECT_TRUE(inChild([&] {
        auto device = open();
        device->add(namedReminder("before"));
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{fs::file_size(folder.path() / "reminders.sqlite-wal") + 20'000, RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &limit);
        bool called = false;
        device->store->addReminder(namedReminder("large", std::string(1'000'000, 'x')),
                                   [&](const auto&) { called = true; });
        device->run();
        EXPECT_FALSE(called);
        EXPECT_THAT(device->failures, ElementsAre(StoreErrorCode::DiskFull));
        EXPECT_EQ(device->count(), 4u);
        // As soon as there is room again, it goes on.
        const rlimit none{RLIM_INFINITY, RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &none);
        device->add(namedReminder("after"));
        EXPECT_EQ(device->count(), 5u);
        return device->failures.size() == 1;
    }));
    EXPECT_EQ(open()->count(), 5u);
}

}  // namespace
}  // namespace zun
