#include "platform/loginitem/AutostartLoginItem.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <system_error>
#include <utility>

#include "platform/foundation/DurableFile.h"
#include "platform/foundation/Log.h"

namespace zun {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view hidden = "Hidden";
constexpr std::string_view enabledKey = "X-GNOME-Autostart-enabled";
constexpr std::string_view exec = "Exec";
// The command as it was written last: a different Exec is somebody else's.
constexpr std::string_view writtenExec = "X-Zun-Exec";

void logFailure(std::string_view what, const fs::path& file, int error) {
    NSLog(fmt::format("The login item {} could not be {}: {}", file.string(), what, std::strerror(error)));
}

bool starts(const DesktopEntryFile& entry) {
    return !entry.isTrue(hidden) && entry.value(enabledKey) != "false" && !entry.value(exec).value_or("").empty();
}

fs::path absoluteVariable(const char* name, const fs::path& fallback) {
    const char* value = std::getenv(name);
    return value && fs::path(value).is_absolute() ? fs::path(value) : fallback;
}

// The text, or the error number.
std::pair<std::string, int> readText(const fs::path& file) {
    // An entry has some hundred bytes; what is much larger was not meant to be one.
    constexpr std::size_t longest = 1u << 16;
    // Not to wait for the other end of a pipe.
    const FileDescriptor in(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!in.isOpen()) return {{}, errno};
    struct stat status {};
    if (::fstat(in.number(), &status) != 0) return {{}, errno};
    if (!S_ISREG(status.st_mode)) return {{}, EINVAL};
    std::string text;
    std::array<char, 4096> piece{};
    while (text.size() <= longest) {
        const auto size = ::read(in.number(), piece.data(), piece.size());
        if (size < 0 && errno == EINTR) continue;
        if (size < 0) return {{}, errno};
        if (size == 0) return {std::move(text), 0};
        text.append(piece.data(), static_cast<std::size_t>(size));
    }
    return {{}, EFBIG};
}

}  // namespace

struct AutostartLoginItem::Own {
    bool isThere = false;
    bool isReadable = true;
    std::optional<DesktopEntryFile> entry;  // empty also for a file that is no entry
};

AutostartLoginItem::Folders AutostartLoginItem::Folders::find() {
    Folders folders;
    folders.user = absoluteVariable("XDG_CONFIG_HOME", absoluteVariable("HOME", "/") / ".config") / "autostart";
    const char* variable = std::getenv("XDG_CONFIG_DIRS");
    std::istringstream names(variable && *variable ? variable : "/etc/xdg");
    for (std::string name; std::getline(names, name, ':');) {
        if (fs::path(name).is_absolute()) folders.system.push_back(fs::path(name) / "autostart");
    }
    return folders;
}

AutostartLoginItem::AutostartLoginItem(Folders folders, std::string name, std::vector<std::string> command)
    : _exec(execValue(command)) {
    name += ".desktop";
    _file = folders.user / name;
    for (const auto& folder : folders.system)
        _systemFiles.push_back(folder / name);
}

bool AutostartLoginItem::setEnabled(bool enabled) {
    const auto own = readOwn();
    if (!own.isReadable) return false;
    const bool edited = own.entry && wasEdited(*own.entry);
    if (!edited && systemStarts() == enabled) return !own.isThere || remove();

    auto entry = own.entry.value_or(DesktopEntryFile());
    if (enabled || !own.entry) switchOn(entry);
    if (!enabled) {
        entry.setValue(hidden, "true");
        entry.setValue(enabledKey, "false");
    }
    return write(entry);
}

bool AutostartLoginItem::isEnabledOnDemand() const {
    const auto own = readOwn();
    return own.isThere ? own.entry && starts(*own.entry) : systemStarts();
}

AutostartLoginItem::Own AutostartLoginItem::readOwn() const {
    auto [text, error] = readText(_file);
    if (error == ENOENT || error == ENOTDIR) return {};
    if (error != 0) logFailure("read", _file, error);
    return {true, error == 0, error == 0 ? DesktopEntryFile::parse(text) : std::nullopt};
}

bool AutostartLoginItem::systemStarts() const {
    for (const auto& file : _systemFiles) {
        const auto [text, error] = readText(file);
        if (error != 0) continue;
        const auto entry = DesktopEntryFile::parse(text);
        return entry && starts(*entry);
    }
    return false;
}

bool AutostartLoginItem::wasEdited(const DesktopEntryFile& entry) const {
    static const std::vector<std::string_view> known = {"Type", "Name", "Icon", exec, writtenExec, hidden, enabledKey};
    std::error_code error;
    return fs::is_symlink(_file, error) || !entry.hasOnly(known) || entry.value(exec) != entry.value(writtenExec);
}

void AutostartLoginItem::switchOn(DesktopEntryFile& entry) const {
    constexpr std::pair<std::string_view, std::string_view> needed[] = {
        {"Type", "Application"}, {"Name", "Zun"}, {"Icon", "com.zunlabs.Zun"}};
    for (const auto& [key, value] : needed) {
        if (!entry.value(key)) entry.setValue(key, value);
    }
    if (!entry.value(exec) || entry.value(exec) == entry.value(writtenExec)) {
        entry.setValue(exec, _exec);
        entry.setValue(writtenExec, _exec);
    }
    entry.removeValue(hidden);
    entry.setValue(enabledKey, "true");
}

bool AutostartLoginItem::write(const DesktopEntryFile& entry) const {
    std::error_code error;
    fs::create_directories(_file.parent_path(), error);
    // A link to a file that is kept elsewhere stays one.
    auto target = fs::is_symlink(_file, error) ? fs::canonical(_file, error) : _file;
    if (target.empty()) target = _file;
    error = replaceFileDurably(target, entry.text(), 0644);
    if (error) logFailure("written", target, error.value());
    return !error;
}

bool AutostartLoginItem::remove() const {
    std::error_code error;
    fs::remove(_file, error);
    if (error) logFailure("removed", _file, error.value());
    return !error;
}

}  // namespace zun
