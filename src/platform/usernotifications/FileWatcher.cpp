#include "platform/usernotifications/FileWatcher.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

namespace zun {
namespace {

constexpr std::uint32_t fileEvents = IN_MODIFY | IN_CREATE | IN_MOVED_TO | IN_ATTRIB;
// Of the folder in its parent: its own end is told only when the last file in it has been closed, ours among them.
constexpr std::uint32_t removalEvents = IN_DELETE | IN_MOVED_FROM;

}  // namespace

FileWatcher::FileWatcher(std::vector<Watched> files) : _files(std::move(files)) {
    _inotify = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    _end = eventfd(0, EFD_CLOEXEC);
    for (auto& file : _files) {
        const auto events = file.name.empty() ? removalEvents : fileEvents;
        if (file.name.empty()) {
            file.name = file.folder.filename();
            file.folder = file.folder.parent_path();
        }
        _events.push_back(events);
        _descriptors.push_back(inotify_add_watch(_inotify, file.folder.c_str(), events | IN_MASK_ADD));
    }
    _thread = std::thread([this] { watch(); });
}

FileWatcher::~FileWatcher() {
    eventfd_write(_end, 1);
    _thread.join();
    close(_inotify);
    close(_end);
}

void FileWatcher::watch() {
    for (;;) {
        pollfd waiting[] = {{_inotify, POLLIN, 0}, {_end, POLLIN, 0}};
        if (poll(waiting, std::size(waiting), -1) < 0 && errno != EINTR) return;
        if (waiting[1].revents != 0) return;
        if (waiting[0].revents != 0) readEvents();
    }
}

void FileWatcher::readEvents() {
    std::vector<bool> changed(_files.size());
    alignas(inotify_event) char buffer[4096];
    for (ssize_t length = 0; (length = read(_inotify, buffer, sizeof buffer)) > 0;) {
        for (const char* at = buffer; at < buffer + length;) {
            const auto* const event = reinterpret_cast<const inotify_event*>(at);
            const std::string_view name = event->len > 0 ? event->name : "";
            for (std::size_t index = 0; index < _files.size(); ++index) {
                // When events were dropped, any change may have been among them; a removal is no guess.
                const bool isDropped = (event->mask & IN_Q_OVERFLOW) != 0 && _events[index] == fileEvents;
                const bool isOurs = event->wd == _descriptors[index] && (event->mask & _events[index]) != 0 &&
                                    name == _files[index].name;
                if (isDropped || isOurs) changed[index] = true;
            }
            at += sizeof(inotify_event) + event->len;
        }
    }
    for (std::size_t index = 0; index < _files.size(); ++index) {
        if (changed[index]) _files[index].changed();
    }
}

void ringBell(const std::filesystem::path& file) {
    const int bell = open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (bell < 0) return;
    [[maybe_unused]] const auto written = pwrite(bell, "1", 1, 0);
    close(bell);
}

}  // namespace zun
