#include "ZunDataModel/store/StoreFailure.h"

#include <SQLiteCpp/Exception.h>

#include <cerrno>
#include <exception>
#include <new>
#include <system_error>

namespace zun {

namespace {

StoreError withCode(StoreErrorCode code, const std::string& cause) {
    switch (code) {
        case StoreErrorCode::CannotOpen:
            return {code, "The reminders cannot be opened: " + cause + "."};
        case StoreErrorCode::ReadOnly:
            return {code, "The reminders can be read but not changed: " + cause + "."};
        case StoreErrorCode::DiskFull:
            return {code, "The disk is full; the change was not saved."};
        case StoreErrorCode::Damaged:
            return {code, "The file of reminders is damaged: " + cause + "."};
        case StoreErrorCode::NewerVersion:
            return {code, "The reminders were written by a newer version."};
        case StoreErrorCode::Busy:
            return {code, "Another program kept the reminders locked for too long."};
        case StoreErrorCode::Other:
            break;
    }
    return {code, "The reminders could not be read or written: " + cause + "."};
}

StoreErrorCode codeOfErrno(int error) {
    switch (error) {
        case ENOSPC:
        case EDQUOT:
        case EFBIG:
            return StoreErrorCode::DiskFull;
        case EROFS:
            return StoreErrorCode::ReadOnly;
        case EACCES:
        case EPERM:
        case ENOENT:
        case ENOTDIR:
        case ELOOP:
        case ENAMETOOLONG:
            return StoreErrorCode::CannotOpen;
        default:
            return StoreErrorCode::Other;
    }
}

StoreErrorCode codeOfSQLite(int code, int systemError) {
    if (saysDamaged(code)) return StoreErrorCode::Damaged;
    switch (code & 0xff) {
        case SQLITE_FULL:
            return StoreErrorCode::DiskFull;
        case SQLITE_READONLY:
            return StoreErrorCode::ReadOnly;
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return StoreErrorCode::Busy;
        case SQLITE_CANTOPEN:
        case SQLITE_PERM:
        case SQLITE_AUTH:
            return StoreErrorCode::CannotOpen;
        case SQLITE_IOERR:
            return codeOfErrno(systemError) == StoreErrorCode::DiskFull ? StoreErrorCode::DiskFull
                                                                        : StoreErrorCode::Other;
        default:
            return StoreErrorCode::Other;
    }
}

}  // namespace

bool saysDamaged(int sqliteCode) {
    const int primary = sqliteCode & 0xff;
    // A short read of the file itself: it was cut off.
    return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB || sqliteCode == SQLITE_IOERR_SHORT_READ;
}

StoreError currentStoreError(sqlite3* connection) {
    try {
        throw;
    } catch (const StoreFailure& failure) {
        return failure.error();
    } catch (const SQLite::Exception& exception) {
        const int systemError = connection ? sqlite3_system_errno(connection) : 0;
        const int code =
            exception.getExtendedErrorCode() >= 0 ? exception.getExtendedErrorCode() : exception.getErrorCode();
        return withCode(codeOfSQLite(code, systemError), exception.what());
    } catch (const std::system_error& error) {
        return withCode(codeOfErrno(error.code().value()), error.code().message());
    } catch (const std::exception& exception) {
        return withCode(StoreErrorCode::Other, exception.what());
    }
}

}  // namespace zun
