#include "ZunDataModel/store/StoreFiles.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

namespace zun {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void throwErrno(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

void syncPath(const fs::path& path, int flags) {
    const int descriptor = open(path.c_str(), flags | O_CLOEXEC);
    if (descriptor < 0) throwErrno("open");
    const int result = fsync(descriptor);
    const int error = errno;
    close(descriptor);
    if (result != 0) {
        errno = error;
        throwErrno("fsync");
    }
}

std::string stamp(NSDate now) {
    const auto day = std::chrono::floor<std::chrono::days>(now);
    const std::chrono::year_month_day date{day};
    const std::chrono::hh_mm_ss time{std::chrono::floor<std::chrono::seconds>(now - day)};
    return fmt::format("{:04}{:02}{:02}T{:02}{:02}{:02}Z", static_cast<int>(date.year()),
                       static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()), time.hours().count(),
                       time.minutes().count(), time.seconds().count());
}

fs::path unusedName(const fs::path& folder, const std::string& stem) {
    fs::path candidate = folder / (stem + ".sqlite");
    for (int number = 2; fs::exists(fs::symlink_status(candidate)); ++number)
        candidate = folder / fmt::format("{}-{}.sqlite", stem, number);
    return candidate;
}

}  // namespace

StoreFiles::StoreFiles(fs::path inFolder)
    : folder(std::move(inFolder)),
      database(folder / "reminders.sqlite"),
      lock(folder / "reminders.lock"),
      session(folder / "reminders.session"),
      salvaged(folder / "reminders.salvaged.sqlite"),
      backups(folder / "backups") {}

fs::path StoreFiles::writeAheadLog() const {
    return withSuffix(database, "-wal");
}

fs::path StoreFiles::setAside(NSDate now) const {
    return unusedName(folder, "reminders.damaged-" + stamp(now));
}

fs::path StoreFiles::backup(NSDate now, std::string_view reason) const {
    return unusedName(backups, fmt::format("reminders-{}-{}", stamp(now), reason));
}

fs::path withSuffix(const fs::path& file, std::string_view suffix) {
    fs::path result = file;
    return result += suffix;
}

void makeFolder(const fs::path& folder) {
    if (fs::is_directory(folder)) return;
    const fs::path parent = folder.parent_path();
    if (!parent.empty()) makeFolder(parent);
    if (mkdir(folder.c_str(), S_IRWXU) != 0 && errno != EEXIST) throwErrno("mkdir");
    if (!parent.empty()) syncFolder(parent);
}

void syncFile(const fs::path& file) {
    syncPath(file, O_RDONLY);
}

void syncFolder(const fs::path& folder) {
    syncPath(folder, O_RDONLY | O_DIRECTORY);
}

void renameDurably(const fs::path& from, const fs::path& to) {
    if (std::rename(from.c_str(), to.c_str()) != 0) throwErrno("rename");
    syncFolder(to.parent_path());
}

void removeDatabase(const fs::path& file) {
    for (const std::string_view suffix : databaseSuffixes)
        if (unlink(withSuffix(file, suffix).c_str()) != 0 && errno != ENOENT) throwErrno("unlink");
}

void renameDatabaseDurably(const fs::path& from, const fs::path& to) {
    for (const std::string_view suffix : databaseSuffixes) {
        const fs::path source = withSuffix(from, suffix);
        if (std::rename(source.c_str(), withSuffix(to, suffix).c_str()) != 0 && errno != ENOENT) throwErrno("rename");
    }
    syncFolder(to.parent_path());
}

}  // namespace zun
