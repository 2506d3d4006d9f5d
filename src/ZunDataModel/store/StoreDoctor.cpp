#include "ZunDataModel/store/StoreDoctor.h"

#include <fmt/format.h>

#include "ZunDataModel/store/RecordQueries.h"
#include "ZunDataModel/store/StoreBackup.h"
#include "ZunDataModel/store/StoreRecovery.h"
#include "ZunDataModel/store/StoreTuning.h"
#include "ZunDataModel/store/StoreWriter.h"

namespace zun {

namespace {

namespace fs = std::filesystem;
using State = DoctorFinding::State;
using Access = StoreConnection::Access;

std::string counted(std::size_t number, std::string_view one, std::string_view many) {
    return fmt::format("{} {}", number, number == 1 ? one : many);
}

// The check's lines begin with the name of the database inside a connection, which tells the reader nothing.
std::string withoutHeading(const std::string& line) {
    const auto end = line.find("***\n");
    return end == std::string::npos ? line : line.substr(end + 4);
}

// What SQLite's own check says; empty if nothing is wrong.
std::vector<std::string> complaints(StoreConnection& connection) {
    std::vector<std::string> lines;
    try {
        const StatementUse check(connection.statement("PRAGMA integrity_check(20)"));
        while (check->step())
            lines.push_back(withoutHeading(check->text(0)));
        if (lines == std::vector<std::string>{"ok"}) lines.clear();
    } catch (const SQLite::Exception& exception) {
        lines.emplace_back(exception.what());
    }
    return lines;
}

bool rebuildIndexes(StoreConnection& connection) {
    try {
        connection.execute("REINDEX");
        return complaints(connection).empty();
    } catch (const SQLite::Exception&) {
        return false;
    }
}

}  // namespace

std::vector<DoctorFinding> StoreDoctor::examine() {
    _findings.clear();
    try {
        OpenedStore opened = openStore(_files, _environment);
        if (tellOpening(opened)) examineOpened(opened);
    } catch (...) {
        say(State::Broken, currentStoreError().message);
    }
    return std::move(_findings);
}

bool StoreDoctor::tellOpening(const OpenedStore& opened) {
    for (const StoreError& finding : opened.health.findings) {
        const bool repaired = finding.code == StoreErrorCode::Damaged && opened.health.canWrite;
        const bool harmless = finding.code == StoreErrorCode::NewerVersion && opened.health.canRead;
        say(repaired ? State::Repaired : harmless ? State::Fine : State::Broken, finding.message);
    }
    return opened.health.canRead;
}

void StoreDoctor::examineOpened(OpenedStore& opened) {
    if (!opened.health.canWrite) {
        for (const std::string& line : complaints(*opened.connection))
            say(State::Broken, "The file is damaged: " + line + ".");
    } else {
        if (!examineFile(opened)) return;
        examineRecords(*opened.session);
        writeLogBack();
        examineFolder();
    }
    StoreConnection connection(_files.database, opened.readAccess);
    say(State::Fine,
        fmt::format("The store holds {}.", counted(countRecords(connection, std::nullopt), "record", "records")));
}

bool StoreDoctor::examineFile(OpenedStore& opened) {
    opened.connection.reset();
    StoreLock lock(_files.lock);
    const StoreLock::Held held = lock.acquire(tuning::lockWait);
    {
        StoreConnection connection(_files.database, Access::Write);
        const auto lines = complaints(connection);
        if (lines.empty()) {
            say(State::Fine, "The file is sound.");
            return true;
        }
        opened.session->markSuspect();
        if (rebuildIndexes(connection)) {
            say(State::Repaired,
                fmt::format("The indexes did not agree with the records ({}); they were rebuilt.", lines.front()));
            return true;
        }
        say(State::Broken, "The file is damaged: " + lines.front() + ".");
    }
    return rebuildFile(*opened.session);
}

bool StoreDoctor::rebuildFile(StoreSession& session) {
    if (!session.keepForMyself()) {
        say(State::Broken, "It can be repaired once the other programs that use it are closed.");
        return false;
    }
    const Salvage salvage = rebuildStore(_files, _environment.now());
    StoreConnection(_files.database, Access::Write).execute("PRAGMA journal_mode = WAL");
    session.shareAgain();
    // What was said about the file is no longer so.
    _findings.back().state = State::Repaired;
    std::string text = fmt::format("{} could be read", counted(salvage.records, "record", "records"));
    if (salvage.fromBackup > 0) text += fmt::format(", {} came from the newest backup", salvage.fromBackup);
    text += fmt::format("; the damaged file was kept as {}.", salvage.setAside.filename().string());
    say(State::Repaired, std::move(text));
    return true;
}

void StoreDoctor::examineRecords(StoreSession& session) {
    StoreWriter writer(_files, &session, std::nullopt);
    std::vector<std::string> doubled;
    {
        StoreConnection connection(_files.database, Access::Read);
        const StatementUse query(connection.statement(
            "SELECT reminderID FROM reminders WHERE reminderID <> '' GROUP BY reminderID HAVING count(*) > 1"));
        while (query->step())
            doubled.push_back(query->text(0));
    }
    std::size_t removed = 0;
    std::size_t identified = 0;
    const auto error = writer.commit([&](RecordChanges& changes) {
        for (const std::string& reminderID : doubled)
            removed += changes.deDup(reminderID);
        identified = changes.identify(_environment);
    });
    if (error) {
        say(State::Broken, error->message);
        return;
    }
    if (removed > 0)
        say(State::Repaired, fmt::format("{} stood in the store more than once; the newest of each was kept.",
                                         counted(doubled.size(), "record", "records")));
    if (identified > 0)
        say(State::Repaired,
            fmt::format("{} had no identifier and got one.", counted(identified, "record", "records")));
}

void StoreDoctor::writeLogBack() {
    std::error_code none;
    const auto size = fs::file_size(_files.writeAheadLog(), none);
    if (none || size == 0) return;
    StoreLock lock(_files.lock);
    const StoreLock::Held held = lock.acquire(tuning::lockWait);
    StoreConnection connection(_files.database, Access::Write);
    const int code =
        sqlite3_wal_checkpoint_v2(connection.handle(), nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr);
    if (code == SQLITE_OK)
        say(State::Fine, fmt::format("The write-ahead log of {} KB was written back.", (size + 1023) / 1024));
    else
        say(State::Fine, fmt::format("The write-ahead log of {} KB is in use and will be written back later.",
                                     (size + 1023) / 1024));
}

void StoreDoctor::examineFolder() {
    // With the lock nobody is in the middle of a backup or a rebuilding, so whatever is unfinished was left behind.
    StoreLock lock(_files.lock);
    const StoreLock::Held held = lock.acquire(tuning::lockWait);
    std::vector<fs::path> orphans;
    std::error_code none;
    for (const fs::path& folder : {_files.folder, _files.backups}) {
        for (const auto& entry : fs::directory_iterator(folder, none)) {
            const std::string name = entry.path().filename().string();
            const bool ours = name.starts_with("reminders");
            if (ours && (name.find(".sqlite" + std::string(unfinishedSuffix)) != std::string::npos ||
                         entry.path() == _files.salvaged))
                orphans.push_back(entry.path());
            if (name.starts_with("reminders.damaged-") && name.ends_with(".sqlite"))
                say(State::Fine, "A damaged file is kept as " + name + ".");
        }
    }
    for (const fs::path& orphan : orphans)
        if (fs::remove(orphan, none))
            say(State::Repaired, "The unfinished file " + orphan.filename().string() + " was removed.");
    const auto backups = listBackups(_files);
    if (!backups.empty())
        say(State::Fine,
            fmt::format("There {}, the newest is {}.",
                        counted(backups.size(), "backup", "backups").insert(0, backups.size() == 1 ? "is " : "are "),
                        backups.front().filename().string()));
}

}  // namespace zun
