#include "ZunDataModel/store/StoreLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <thread>

#include "ZunDataModel/store/StoreFailure.h"
#include "ZunDataModel/store/StoreTuning.h"

namespace zun {

bool lockFile(int descriptor, int operation, std::chrono::milliseconds wait) {
    for (auto waited = std::chrono::milliseconds{0};; waited += tuning::lockRetry) {
        if (flock(descriptor, operation | LOCK_NB) == 0) return true;
        if (errno != EWOULDBLOCK && errno != EINTR) throw std::system_error(errno, std::generic_category(), "flock");
        if (waited >= wait) return false;
        std::this_thread::sleep_for(tuning::lockRetry);
    }
}

StoreLock::Held::~Held() {
    if (_descriptor >= 0) flock(_descriptor, LOCK_UN);
}

StoreLock::~StoreLock() {
    if (_descriptor >= 0) close(_descriptor);
}

StoreLock::Held StoreLock::acquire(std::chrono::milliseconds wait) {
    if (_descriptor < 0) _descriptor = open(_file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (_descriptor < 0) throw std::system_error(errno, std::generic_category(), "open");
    if (!lockFile(_descriptor, LOCK_EX, wait))
        throw StoreFailure({StoreErrorCode::Busy, "Another program kept the reminders locked for too long."});
    return Held(_descriptor);
}

void StoreLock::ring() {
    // Any write makes the kernel tell the watchers. One that fails costs them a moment: they also look at the log file.
    const char bell = '1';
    [[maybe_unused]] const auto written = pwrite(_descriptor, &bell, 1, 0);
}

}  // namespace zun
