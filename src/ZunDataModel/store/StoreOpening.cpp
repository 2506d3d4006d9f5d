#include "ZunDataModel/store/StoreOpening.h"

#include <fmt/format.h>
#include <unistd.h>

#include "ZunDataModel/store/ChangeLog.h"
#include "ZunDataModel/store/RecordQueries.h"
#include "ZunDataModel/store/StoreBackup.h"
#include "ZunDataModel/store/StoreFailure.h"
#include "ZunDataModel/store/StoreHeader.h"
#include "ZunDataModel/store/StoreRecovery.h"
#include "ZunDataModel/store/StoreSchema.h"
#include "ZunDataModel/store/StoreTuning.h"

namespace zun {

namespace {

namespace fs = std::filesystem;
using Access = StoreConnection::Access;

enum class FileState { Missing, Current, NeedsMigration, NewerVersion, Damaged };

// A file of 0 bytes counts as missing, but not with a log beside it: then something cut the file off.
bool isMissing(const StoreFiles& files) {
    std::error_code none;
    const auto size = fs::file_size(files.database, none);
    if (!none && size > 0) return false;
    const auto logSize = fs::file_size(files.writeAheadLog(), none);
    return none || logSize == 0;
}

class Opening {
  public:
    Opening(const StoreFiles& files, const Environment& environment) : _files(files), _environment(environment) {}

    OpenedStore run() {
        try {
            makeFolder(_files.folder);
            _opened.session = std::make_unique<StoreSession>(_files.session);
            if (look() != FileState::Current || _opened.session->wasLeftUncleanly()) prepare();
            _opened.session->shareAgain();
            finish(Access::Read);
        } catch (...) {
            const StoreError error = currentStoreError();
            _connection.reset();
            if (_opened.session) _opened.session->shareAgain();
            openWithoutWriting(error);
        }
        return std::move(_opened);
    }

  private:
    // Leaves a connection open for every state but Missing and Damaged.
    FileState look(Access access = Access::Read) {
        _connection.reset();
        if (isMissing(_files)) return FileState::Missing;
        // An unfinished change to the header is undone by SQLite on opening.
        if (!fs::exists(withSuffix(_files.database, "-journal")) && !hasSoundHeader(_files.database))
            return FileState::Damaged;
        try {
            _connection = std::make_unique<StoreConnection>(_files.database, access);
            const auto version = _connection->integer("PRAGMA user_version");
            const auto application = _connection->integer("PRAGMA application_id");
            if (application == 0 && version == 0 && _connection->integer("SELECT count(*) FROM sqlite_schema") == 0) {
                // A program that was killed while it made the file.
                _connection.reset();
                return FileState::Missing;
            }
            if (application == storeApplicationId && version > currentStoreVersion()) return FileState::NewerVersion;
            if (application == storeApplicationId && version == currentStoreVersion()) {
                _opened.newestChange = newestChange(*_connection);
                requireColumns(*_connection);
                return FileState::Current;
            }
            if (application == storeApplicationId && version > 0) return FileState::NeedsMigration;
        } catch (const SQLite::Exception& exception) {
            // A file that was cut off reports the table that is missing from it, which is no code of damage.
            if (!saysDamaged(exception.getExtendedErrorCode()) && exception.getErrorCode() != SQLITE_ERROR) throw;
        }
        _connection.reset();
        return FileState::Damaged;
    }

    // With the store's lock: whatever the file needs until it is current.
    void prepare() {
        StoreLock lock(_files.lock);
        const StoreLock::Held held = lock.acquire(tuning::lockWait);
        FileState state = look();
        if (finishRebuilding(_files, _environment.now())) state = look();
        const bool mustCheck = _opened.session->wasLeftUncleanly() && _connection;
        if (state == FileState::Missing)
            create();
        else if (state == FileState::Damaged || (mustCheck && !isSound()))
            repair();
        else if (state == FileState::NeedsMigration)
            bringUpToDate();
        state = look();
        if (state == FileState::NewerVersion)
            throw StoreFailure({StoreErrorCode::NewerVersion, "The reminders were written by a newer version."});
        if (state != FileState::Current)
            throw StoreFailure(
                {StoreErrorCode::Damaged, "The file of reminders is damaged and could not be repaired."});
        if (_opened.session->wasLeftUncleanly()) _opened.session->markSound();
    }

    void create() {
        _opened.session->markWriting();
        StoreConnection connection(_files.database, Access::Write);
        connection.execute("PRAGMA journal_mode = WAL");
        migrate(connection);
        syncFolder(_files.folder);
    }

    void bringUpToDate() {
        _opened.session->markWriting();
        _connection.reset();
        StoreConnection connection(_files.database, Access::Write);
        backUp(connection, _files, _environment.now(), fmt::format("v{}", connection.integer("PRAGMA user_version")));
        connection.execute("PRAGMA journal_mode = WAL");
        migrate(connection);
    }

    bool isSound() {
        try {
            const StatementUse check(_connection->statement("PRAGMA quick_check(1)"));
            return check->step() && check->text(0) == "ok";
        } catch (const SQLite::Exception& exception) {
            if (saysDamaged(exception.getExtendedErrorCode())) return false;
            throw;
        }
    }

    void repair() {
        _connection.reset();
        if (!_opened.session->keepForMyself())
            throw StoreFailure({StoreErrorCode::Damaged,
                                "The file of reminders is damaged; close the other programs that use it, so that it "
                                "can be repaired."});
        _opened.session->markWriting();
        const Salvage salvage = rebuildStore(_files, _environment.now());
        {
            StoreConnection connection(_files.database, Access::Write);
            connection.execute("PRAGMA journal_mode = WAL");
        }
        _opened.health.setAside = salvage.setAside;
        _opened.health.salvaged = salvage.records + salvage.fromBackup;
        std::string message =
            fmt::format("The file of reminders was damaged. {} reminders could be read from it", salvage.records);
        if (salvage.fromBackup > 0)
            message += fmt::format(" and {} more came from the newest backup", salvage.fromBackup);
        message += fmt::format("; the damaged file was kept as {}.", salvage.setAside.filename().string());
        _opened.health.findings.push_back({StoreErrorCode::Damaged, std::move(message)});
    }

    void finish(Access readAccess) {
        _opened.readAccess = readAccess;
        _opened.health.canRead = true;
        if (!_opened.refusal && ::access(_files.database.c_str(), W_OK) != 0)
            refuse({StoreErrorCode::ReadOnly,
                    "The reminders can be read but not changed: their file is write-protected."});
        _opened.health.canWrite = !_opened.refusal;
        _opened.connection = std::move(_connection);
    }

    void refuse(StoreError error) {
        _opened.health.findings.push_back(error);
        _opened.refusal = std::move(error);
    }

    // Whatever was in the way of writing need not be in the way of reading.
    void openWithoutWriting(StoreError error) {
        for (const Access access : {Access::Read, Access::Frozen}) {
            try {
                const FileState state = look(access);
                if (!_connection) continue;
                static_cast<void>(countRecords(*_connection, std::nullopt));
                if (state == FileState::NewerVersion) static_cast<void>(fetchRecord(*_connection, ""));
                if (error.code == StoreErrorCode::CannotOpen)
                    error = {StoreErrorCode::ReadOnly,
                             "The reminders can be read but not changed: their folder is write-protected."};
                refuse(error);
                finish(access);
                return;
            } catch (...) {
                _connection.reset();
            }
        }
        refuse(std::move(error));
    }

    const StoreFiles& _files;
    const Environment& _environment;
    std::unique_ptr<StoreConnection> _connection;
    OpenedStore _opened;
};

}  // namespace

OpenedStore openStore(const StoreFiles& files, const Environment& environment) {
    return Opening(files, environment).run();
}

}  // namespace zun
