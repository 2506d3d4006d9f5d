#include "support/FaultySystem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace zun::faults {

namespace {

// What a write or a truncation replaced, so that it can be lost again.
struct Undo {
    int descriptor;  // a duplicate, still open when the writer's is not
    off_t size;
    off_t at;
    std::string bytes;
};

// A new name that its folder does not yet hold durably.
struct NewName {
    ino_t folder;
    std::string name;
    std::string before;  // what bore it; empty if it was made
};

struct Switch {
    bool armed = false;
    bool struck = false;
    Fault fault = Fault::Kill;
    std::uint64_t atCall = 0;
    std::uint64_t calls = 0;
    std::map<ino_t, std::vector<Undo>> unsynced;
    std::vector<NewName> newNames;  // oldest first
};

Switch& theSwitch() {
    static Switch only;
    return only;
}

std::string readBack(int descriptor, off_t at, std::size_t length) {
    std::string bytes(length, '\0');
    const auto got = pread(descriptor, bytes.data(), length, at);
    bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return bytes;
}

void remember(int descriptor, off_t at, std::size_t length) {
    struct stat status {};
    if (theSwitch().fault != Fault::PowerCut || fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) return;
    // The writer's descriptor may be for writing only, so the old bytes are read through one of our own.
    const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
    const auto own = static_cast<int>(syscall(SYS_openat, AT_FDCWD, path.c_str(), O_RDWR | O_CLOEXEC));
    if (own < 0) return;
    theSwitch().unsynced[status.st_ino].push_back({own, status.st_size, at, readBack(own, at, length)});
}

void rememberName(const char* name, const char* before) {
    struct stat status {};
    if (!theSwitch().armed || theSwitch().fault != Fault::PowerCut) return;
    if (stat(std::filesystem::path(name).parent_path().c_str(), &status) == 0)
        theSwitch().newNames.push_back({status.st_ino, name, before});
}

void forget(int descriptor) {
    struct stat status {};
    if (!theSwitch().armed || fstat(descriptor, &status) != 0) return;
    std::erase_if(theSwitch().newNames, [&](const NewName& name) { return name.folder == status.st_ino; });
    auto& undos = theSwitch().unsynced[status.st_ino];
    for (const Undo& undo : undos)
        syscall(SYS_close, undo.descriptor);
    undos.clear();
}

// A disk writes in an order of its own: each unsynced write is lost or not. Names come about in their order: from some
// point on they are lost.
void loseUnsynced() {
    std::mt19937 random(static_cast<unsigned>(theSwitch().atCall));
    auto& names = theSwitch().newNames;
    for (auto lost = random() % (names.size() + 1); lost > 0; --lost, names.pop_back()) {
        const NewName& last = names.back();
        if (!last.before.empty())
            syscall(SYS_rename, last.name.c_str(), last.before.c_str());
        else if (syscall(SYS_unlink, last.name.c_str()) != 0)
            syscall(SYS_rmdir, last.name.c_str());
    }
    for (auto& [inode, undos] : theSwitch().unsynced) {
        for (auto undo = undos.rbegin(); undo != undos.rend(); ++undo) {
            if (random() % 2 == 0) continue;
            syscall(SYS_pwrite64, undo->descriptor, undo->bytes.data(), undo->bytes.size(), undo->at);
            if (undo + 1 == undos.rend()) syscall(SYS_ftruncate, undo->descriptor, undo->size);
        }
    }
}

enum class Needs { Room, Nothing };
enum class Verdict { GoOn, Refuse };

// Decides about one call; `tear` does half of what it would have done.
template <typename Tear>
Verdict judge(Needs needs, Tear tear) {
    Switch& s = theSwitch();
    if (!s.armed || (s.fault == Fault::DiskFull && needs == Needs::Nothing)) return Verdict::GoOn;
    ++s.calls;
    const bool now = s.calls == s.atCall;
    s.struck |= now;
    switch (s.fault) {
        case Fault::Kill:
            if (!now) return Verdict::GoOn;
            tear();
            _exit(killedStatus);
        case Fault::PowerCut:
            if (!now) return Verdict::GoOn;
            loseUnsynced();
            _exit(killedStatus);
        case Fault::Fail:
            errno = EIO;
            return now ? Verdict::Refuse : Verdict::GoOn;
        case Fault::DiskFull:
            errno = ENOSPC;
            return s.struck ? Verdict::Refuse : Verdict::GoOn;
    }
    return Verdict::GoOn;
}

bool isOurs(int descriptor) {
    return descriptor > STDERR_FILENO;
}

ssize_t positionedWrite(int descriptor, const void* data, std::size_t length, off_t at) {
    if (!isOurs(descriptor)) return syscall(SYS_pwrite64, descriptor, data, length, at);
    if (judge(Needs::Room, [&] { syscall(SYS_pwrite64, descriptor, data, length / 2, at); }) == Verdict::Refuse)
        return -1;
    if (theSwitch().armed) remember(descriptor, at, length);
    return syscall(SYS_pwrite64, descriptor, data, length, at);
}

int truncateTo(int descriptor, off_t size) {
    if (judge(Needs::Nothing, [] {}) == Verdict::Refuse) return -1;
    struct stat status {};
    if (theSwitch().armed && fstat(descriptor, &status) == 0 && status.st_size > size)
        remember(descriptor, size, static_cast<std::size_t>(status.st_size - size));
    return static_cast<int>(syscall(SYS_ftruncate, descriptor, size));
}

// Power is only cut here, so nothing has to wait for the disk.
int sync(int descriptor) {
    if (judge(Needs::Nothing, [] {}) == Verdict::Refuse) return -1;
    forget(descriptor);
    return 0;
}

int openAt(const char* path, int flags, mode_t mode) {
    const bool isNew = (flags & O_CREAT) != 0 && access(path, F_OK) != 0;
    if (isNew && judge(Needs::Room, [] {}) == Verdict::Refuse) return -1;
    const auto descriptor = static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
    if (isNew && descriptor >= 0) rememberName(path, "");
    return descriptor;
}

}  // namespace

void arm(Fault fault, std::uint64_t atCall) {
    theSwitch().fault = fault;
    theSwitch().atCall = atCall;
    theSwitch().armed = true;
}

bool hasStruck() {
    return theSwitch().struck;
}

}  // namespace zun::faults

using namespace zun::faults;

extern "C" {

ssize_t pwrite(int descriptor, const void* data, std::size_t length, off_t at) {
    return positionedWrite(descriptor, data, length, at);
}
ssize_t pwrite64(int descriptor, const void* data, std::size_t length, off64_t at) {
    return positionedWrite(descriptor, data, length, at);
}
int ftruncate(int descriptor, off_t size) noexcept {
    return truncateTo(descriptor, size);
}
int ftruncate64(int descriptor, off64_t size) noexcept {
    return truncateTo(descriptor, size);
}
int fsync(int descriptor) {
    return zun::faults::sync(descriptor);
}
int fdatasync(int descriptor) {
    return zun::faults::sync(descriptor);
}

int rename(const char* from, const char* to) noexcept {
    if (judge(Needs::Nothing, [] {}) == Verdict::Refuse) return -1;
    const auto result = static_cast<int>(syscall(SYS_rename, from, to));
    if (result == 0) rememberName(to, from);
    return result;
}
int unlink(const char* path) noexcept {
    if (judge(Needs::Nothing, [] {}) == Verdict::Refuse) return -1;
    return static_cast<int>(syscall(SYS_unlink, path));
}
int mkdir(const char* path, mode_t mode) noexcept {
    if (judge(Needs::Room, [] {}) == Verdict::Refuse) return -1;
    const auto result = static_cast<int>(syscall(SYS_mkdir, path, mode));
    if (result == 0) rememberName(path, "");
    return result;
}

int open(const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return openAt(path, flags, mode);
}
int open64(const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return openAt(path, flags, mode);
}
}
