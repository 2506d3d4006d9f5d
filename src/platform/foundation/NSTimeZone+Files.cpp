// Where zones come from: the system's zone files, and the TZ variable.

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>

#include "platform/foundation/NSTimeZone.h"
#include "platform/foundation/PosixTimeZoneRule.h"
#include "platform/foundation/TZifContents.h"

namespace zun {
namespace {

namespace fs = std::filesystem;
using Zone = std::shared_ptr<const NSTimeZone>;

// The largest file of the system's is 4 kB; a closing rule never needs more than a few transitions on top.
constexpr off_t largestFile = 256 * 1024;

fs::path zoneDirectory() {
    const char* directory = std::getenv("TZDIR");
    return directory && *directory ? directory : "/usr/share/zoneinfo";
}

// Changes whenever the file is replaced or written.
struct FileStamp {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    std::int64_t seconds = 0;
    std::int64_t nanoseconds = 0;

    bool operator==(const FileStamp&) const = default;

    // Empty unless it is a regular file of sane size: a pipe would block, a device never end.
    static std::optional<FileStamp> of(const fs::path& path) {
        struct stat status {};
        if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_size > largestFile) return {};
        return FileStamp{status.st_dev, status.st_ino, status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
    }
};

std::optional<std::string> contentsOf(const fs::path& path, off_t size) {
    std::string bytes(static_cast<std::size_t>(size), '\0');
    std::ifstream file(path, std::ios::binary);
    if (!file.read(bytes.data(), size)) return std::nullopt;
    return bytes;
}

class Cache {
  public:
    Zone zone(const fs::path& path, std::string_view name) {
        const auto stamp = FileStamp::of(path);
        if (!stamp) return nullptr;
        const std::lock_guard lock(_mutex);
        auto& entry = _entries[{path.native(), std::string(name)}];
        if (!entry.zone || entry.stamp != *stamp) {
            const auto bytes = contentsOf(path, stamp->size);
            entry = {*stamp, bytes ? NSTimeZone::fromFileContents(std::string(name), *bytes) : nullptr};
        }
        return entry.zone;
    }

    Zone zoneOfRule(std::string_view text) {
        const auto rule = PosixTimeZoneRule::parse(text);
        if (!rule) return nullptr;
        const std::lock_guard lock(_mutex);
        auto& zone = _rules[std::string(text)];
        if (!zone) zone = NSTimeZone::fromRule(std::string(text), *rule);
        return zone;
    }

    static Cache& shared() {
        static Cache cache;
        return cache;
    }

  private:
    struct Entry {
        FileStamp stamp;
        Zone zone;
    };
    std::mutex _mutex;
    std::map<std::pair<std::string, std::string>, Entry> _entries;
    std::map<std::string, Zone> _rules;
};

// The zone's name if the file, or a link on the way to it, lies in a zone directory; else the path itself.
std::string nameOfFile(fs::path path) {
    constexpr std::string_view folder = "/zoneinfo/";
    const auto given = path.native();
    for (int links = 0; links < 8; ++links) {
        const auto text = path.lexically_normal().native();
        if (const auto at = text.find(folder); at != std::string::npos) return text.substr(at + folder.size());
        std::error_code error;
        const auto target = fs::read_symlink(path, error);
        if (error) break;
        path = path.parent_path() / target;
    }
    return given;
}

bool staysInDirectory(std::string_view name) {
    if (name.empty() || name.front() == '/' || name.find('\0') != std::string_view::npos) return false;
    for (const auto& part : fs::path(name)) {
        if (part == "..") return false;
    }
    return true;
}

}  // namespace

Zone NSTimeZone::fromFileContents(std::string name, std::string_view bytes) {
    const auto contents = TZifContents::parse(bytes);
    if (!contents) return nullptr;
    return Zone(new NSTimeZone(std::move(name), *contents));
}

Zone NSTimeZone::fromRule(std::string name, const PosixTimeZoneRule& rule) {
    TZifContents contents;
    contents.rule = rule;
    return Zone(new NSTimeZone(std::move(name), contents));
}

Zone NSTimeZone::named(std::string_view name) {
    if (!staysInDirectory(name)) return nullptr;
    return Cache::shared().zone(zoneDirectory() / name, name);
}

Zone NSTimeZone::utc() {
    static const Zone zone(new NSTimeZone("UTC", TZifContents{}));
    return zone;
}

Zone NSTimeZone::fromVariable(std::string_view tz) {
    if (tz.starts_with(':')) tz.remove_prefix(1);
    if (tz.empty()) return utc();
    if (tz.front() == '/') {
        const fs::path path(tz);
        if (auto zone = Cache::shared().zone(path, nameOfFile(path))) return zone;
        return utc();
    }
    if (auto zone = named(tz)) return zone;
    if (auto zone = Cache::shared().zoneOfRule(tz)) return zone;
    return utc();
}

}  // namespace zun
