#include "support/FaultySystem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <random>
#include <ranges>
#include <string>
#include <utility>
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

// A file with writes that no sync has made durable, oldest first.
struct UnsyncedFile {
    ino_t inode;
    std::vector<Undo> undos;
};

// A new name that its folder does not yet hold durably.
struct NewName {
    ino_t folder;
    std::string name;
    std::string before;    // what bore it; empty if it was made
    std::string replaced;  // where the file that bore it formerly can still be found; empty if there was none
};

struct Switch {
    bool armed = false;
    bool struck = false;
    Fault fault = Fault::Kill;
    std::uint64_t atCall = 0;
    std::uint64_t calls = 0;
    std::vector<UnsyncedFile> unsynced;  // in the order of their first writes
    std::vector<NewName> newNames;       // oldest first
    std::size_t kept = 0;                // names beside the folder
    std::string folder;                  // only what is below it counts; everything if empty
    std::function<void()> atStrike;      // instead of the end of the process
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
    auto& files = theSwitch().unsynced;
    auto file = std::ranges::find(files, status.st_ino, &UnsyncedFile::inode);
    if (file == files.end()) file = files.insert(files.end(), {status.st_ino, {}});
    file->undos.push_back({own, status.st_size, at, readBack(own, at, length)});
}

std::string besideFolder(std::size_t number) {
    return theSwitch().folder + ".lost" + std::to_string(number);
}

// Another name for a file that is about to be replaced, where it can be put back.
std::string keepReplaced(const char* name) {
    Switch& s = theSwitch();
    if (!s.armed || s.fault != Fault::PowerCut || s.folder.empty() || !std::string_view(name).starts_with(s.folder))
        return {};
    auto kept = besideFolder(s.kept);
    if (syscall(SYS_linkat, AT_FDCWD, name, AT_FDCWD, kept.c_str(), 0) != 0) return {};
    ++s.kept;
    return kept;
}

void rememberName(const char* name, const char* before, std::string replaced = {}) {
    struct stat status {};
    if (!theSwitch().armed || theSwitch().fault != Fault::PowerCut) return;
    if (!std::string_view(name).starts_with(theSwitch().folder)) return;
    if (stat(std::filesystem::path(name).parent_path().c_str(), &status) == 0)
        theSwitch().newNames.push_back({status.st_ino, name, before, std::move(replaced)});
}

void forget(int descriptor) {
    struct stat status {};
    if (!theSwitch().armed || fstat(descriptor, &status) != 0) return;
    std::erase_if(theSwitch().newNames, [&](const NewName& name) { return name.folder == status.st_ino; });
    const auto file = std::ranges::find(theSwitch().unsynced, status.st_ino, &UnsyncedFile::inode);
    if (file == theSwitch().unsynced.end()) return;
    for (const Undo& undo : file->undos)
        syscall(SYS_close, undo.descriptor);
    file->undos.clear();
}

// A disk writes in an order of its own: each unsynced write is lost or not. Names come about in their order: from some
// point on they are lost; they are moved away, newest first, to where they can be found again.
std::vector<std::pair<std::string, std::string>> loseUnsynced() {
    std::mt19937 random(static_cast<unsigned>(theSwitch().atCall));
    std::vector<std::pair<std::string, std::string>> moved;
    auto& names = theSwitch().newNames;
    const auto lost = static_cast<std::ptrdiff_t>(random() % (names.size() + 1));
    const auto move = [&](const std::string& from, const std::string& to) {
        syscall(SYS_rename, from.c_str(), to.c_str());
        moved.emplace_back(from, to);
    };
    for (const NewName& last : names | std::views::reverse | std::views::take(lost)) {
        if (!last.before.empty())
            move(last.name, last.before);
        else if (!theSwitch().folder.empty())
            move(last.name, besideFolder(theSwitch().kept++));
        else if (syscall(SYS_unlink, last.name.c_str()) != 0)
            syscall(SYS_rmdir, last.name.c_str());
        if (!last.replaced.empty()) move(last.replaced, last.name);
    }
    for (auto& [inode, undos] : theSwitch().unsynced) {
        for (auto undo = undos.rbegin(); undo != undos.rend(); ++undo) {
            if (random() % 2 == 0) continue;
            syscall(SYS_pwrite64, undo->descriptor, undo->bytes.data(), undo->bytes.size(), undo->at);
            if (undo + 1 == undos.rend()) syscall(SYS_ftruncate, undo->descriptor, undo->size);
        }
    }
    return moved;
}

// Shows the block what is left after a power cut, and takes that back.
void showLoss(const std::function<void()>& block) {
    std::vector<std::pair<int, std::string>> whole;
    for (const auto& [inode, undos] : theSwitch().unsynced) {
        struct stat status {};
        if (undos.empty() || fstat(undos.front().descriptor, &status) != 0) continue;
        const int descriptor = undos.front().descriptor;
        whole.emplace_back(descriptor, readBack(descriptor, 0, static_cast<std::size_t>(status.st_size)));
    }
    const auto moved = loseUnsynced();
    block();
    for (const auto& [name, former] : moved | std::views::reverse)
        syscall(SYS_rename, former.c_str(), name.c_str());
    for (const auto& [descriptor, bytes] : whole) {
        syscall(SYS_pwrite64, descriptor, bytes.data(), bytes.size(), off_t{0});
        syscall(SYS_ftruncate, descriptor, static_cast<off_t>(bytes.size()));
    }
}

// For a process that lives on.
template <typename Tear>
void strikeOnce(Tear tear) {
    const auto block = std::exchange(theSwitch().atStrike, nullptr);
    theSwitch().armed = false;
    if (theSwitch().fault == Fault::PowerCut) {
        showLoss(block);
    } else {
        tear();
        block();
    }
    disarm();
}

enum class Needs { Room, Nothing };
enum class Verdict { GoOn, Refuse };

// Decides about one call; `tear` does half of what it would have done.
template <typename Tear>
Verdict judge(Needs needs, std::string_view path, Tear tear) {
    Switch& s = theSwitch();
    if (!s.armed || !path.starts_with(s.folder) || (s.fault == Fault::DiskFull && needs == Needs::Nothing))
        return Verdict::GoOn;
    ++s.calls;
    const bool now = s.calls == s.atCall;
    s.struck |= now;
    if (now && s.atStrike) {
        strikeOnce(tear);
        return Verdict::GoOn;
    }
    switch (s.fault) {
        case Fault::Kill:
            if (!now) return Verdict::GoOn;
            tear();
            _exit(killedStatus);
        case Fault::PowerCut:
            if (!now) return Verdict::GoOn;
            static_cast<void>(loseUnsynced());
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

std::string pathOf(int descriptor) {
    if (!theSwitch().armed || theSwitch().folder.empty()) return {};
    std::string path(4'096, '\0');
    const auto length = readlink(("/proc/self/fd/" + std::to_string(descriptor)).c_str(), path.data(), path.size());
    path.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return path;
}

bool isOurs(int descriptor) {
    return descriptor > STDERR_FILENO;
}

ssize_t positionedWrite(int descriptor, const void* data, std::size_t length, off_t at) {
    if (!isOurs(descriptor)) return syscall(SYS_pwrite64, descriptor, data, length, at);
    const auto path = pathOf(descriptor);
    if (judge(Needs::Room, path, [&] { syscall(SYS_pwrite64, descriptor, data, length / 2, at); }) == Verdict::Refuse)
        return -1;
    if (theSwitch().armed && path.starts_with(theSwitch().folder)) remember(descriptor, at, length);
    return syscall(SYS_pwrite64, descriptor, data, length, at);
}

int truncateTo(int descriptor, off_t size) {
    const auto path = pathOf(descriptor);
    if (judge(Needs::Nothing, path, [] {}) == Verdict::Refuse) return -1;
    struct stat status {};
    if (theSwitch().armed && path.starts_with(theSwitch().folder) && fstat(descriptor, &status) == 0 &&
        status.st_size > size)
        remember(descriptor, size, static_cast<std::size_t>(status.st_size - size));
    return static_cast<int>(syscall(SYS_ftruncate, descriptor, size));
}

// Power is only cut here, so nothing has to wait for the disk.
int sync(int descriptor) {
    if (judge(Needs::Nothing, pathOf(descriptor), [] {}) == Verdict::Refuse) return -1;
    forget(descriptor);
    return 0;
}

int openAt(const char* path, int flags, mode_t mode) {
    const bool isNew = (flags & O_CREAT) != 0 && access(path, F_OK) != 0;
    if (isNew && judge(Needs::Room, path, [] {}) == Verdict::Refuse) return -1;
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

void arm(Fault fault, std::uint64_t atCall, const std::filesystem::path& folder, std::function<void()> atStrike) {
    theSwitch() = {};
    theSwitch().folder = folder.string();
    theSwitch().atStrike = std::move(atStrike);
    arm(fault, atCall);
}

void disarm() {
    for (const auto& [inode, undos] : theSwitch().unsynced)
        for (const Undo& undo : undos)
            syscall(SYS_close, undo.descriptor);
    for (std::size_t i = 0; i < theSwitch().kept; ++i)
        syscall(SYS_unlink, besideFolder(i).c_str());
    const bool struck = theSwitch().struck;
    theSwitch() = {};
    theSwitch().struck = struck;
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
    if (judge(Needs::Nothing, to, [] {}) == Verdict::Refuse) return -1;
    auto replaced = keepReplaced(to);
    const auto result = static_cast<int>(syscall(SYS_rename, from, to));
    if (result == 0) rememberName(to, from, std::move(replaced));
    return result;
}
int unlink(const char* path) noexcept {
    if (judge(Needs::Nothing, path, [] {}) == Verdict::Refuse) return -1;
    return static_cast<int>(syscall(SYS_unlink, path));
}
int mkdir(const char* path, mode_t mode) noexcept {
    if (judge(Needs::Room, path, [] {}) == Verdict::Refuse) return -1;
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
