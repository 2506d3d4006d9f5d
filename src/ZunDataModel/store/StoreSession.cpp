#include "ZunDataModel/store/StoreSession.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "ZunDataModel/store/StoreFailure.h"
#include "ZunDataModel/store/StoreLock.h"
#include "ZunDataModel/store/StoreTuning.h"

namespace zun {

namespace {

constexpr char writing = 'w';
constexpr char sound = 's';
constexpr char suspect = 'x';

}  // namespace

StoreSession::StoreSession(const std::filesystem::path& file)
    : _descriptor(open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR)) {
    if (_descriptor < 0) throw std::system_error(errno, std::generic_category(), "open");
    if (flock(_descriptor, LOCK_EX | LOCK_NB) == 0) {
        _leftUncleanly = readMark() != sound;
        // This one may not come to check it, and others may join and leave before anybody does.
        if (_leftUncleanly) writeMark(suspect);
        return;
    }
    if (!lockFile(_descriptor, LOCK_SH, tuning::lockWait)) {
        close(_descriptor);
        throw StoreFailure({StoreErrorCode::Busy, "Another program is repairing the reminders."});
    }
}

StoreSession::~StoreSession() {
    if (readMark() == writing && flock(_descriptor, LOCK_EX | LOCK_NB) == 0 && readMark() == writing) writeMark(sound);
    close(_descriptor);
}

bool StoreSession::keepForMyself() {
    if (flock(_descriptor, LOCK_EX | LOCK_NB) == 0) return true;
    // A conversion that fails has lost the shared lock.
    shareAgain();
    return false;
}

void StoreSession::shareAgain() {
    flock(_descriptor, LOCK_SH);
}

void StoreSession::markWriting() {
    if (readMark() != sound) return;
    writeMark(writing);
    if (fdatasync(_descriptor) != 0) throw std::system_error(errno, std::generic_category(), "fdatasync");
}

void StoreSession::markSound() {
    writeMark(sound);
}

void StoreSession::markSuspect() {
    writeMark(suspect);
    fdatasync(_descriptor);
}

char StoreSession::readMark() const {
    char mark = sound;
    return pread(_descriptor, &mark, 1, 0) == 1 ? mark : sound;
}

void StoreSession::writeMark(char mark) const {
    // Without the mark the next opening checks once too often or once too seldom; neither is worth refusing a write.
    [[maybe_unused]] const auto written = pwrite(_descriptor, &mark, 1, 0);
}

}  // namespace zun
