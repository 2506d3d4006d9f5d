#include "ZunDataModel/store/ChangeWatcher.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "ZunDataModel/store/StoreTuning.h"

namespace zun {

ChangeWatcher::ChangeWatcher(const StoreFiles& files, std::function<void()> committed)
    : _lockName(files.lock.filename()), _logName(files.writeAheadLog().filename()), _committed(std::move(committed)) {
    _inotify = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    _end = eventfd(0, EFD_CLOEXEC);
    if (_inotify < 0 || _end < 0 || inotify_add_watch(_inotify, files.folder.c_str(), IN_MODIFY) < 0) {
        const int error = errno;
        if (_inotify >= 0) close(_inotify);
        if (_end >= 0) close(_end);
        throw std::system_error(error, std::generic_category(), "inotify");
    }
    _thread = std::thread([this] { watch(); });
}

ChangeWatcher::~ChangeWatcher() {
    eventfd_write(_end, 1);
    _thread.join();
    close(_inotify);
    close(_end);
}

void ChangeWatcher::watch() {
    // The log is written before its commit counts, the bell rings after it. A writer that died in between leaves the
    // log alone.
    bool logUnread = false;
    for (;;) {
        pollfd waiting[] = {{_inotify, POLLIN, 0}, {_end, POLLIN, 0}};
        const int timeout = logUnread ? static_cast<int>(tuning::quietBeforeReading.count()) : -1;
        const int ready = poll(waiting, std::size(waiting), timeout);
        if (ready < 0 && errno != EINTR) return;
        if (waiting[1].revents != 0) return;
        const Seen seen = ready > 0 ? readEvents() : Seen::Nothing;
        if (seen == Seen::LogWritten) logUnread = true;
        if (seen == Seen::Bell || (ready == 0 && logUnread)) {
            logUnread = false;
            _committed();
        }
    }
}

ChangeWatcher::Seen ChangeWatcher::readEvents() const {
    Seen seen = Seen::Nothing;
    alignas(inotify_event) char buffer[4096];
    for (ssize_t length = 0; (length = read(_inotify, buffer, sizeof buffer)) > 0;) {
        for (const char* at = buffer; at < buffer + length;) {
            const auto* const event = reinterpret_cast<const inotify_event*>(at);
            const std::string_view name = event->len > 0 ? event->name : "";
            // When events were dropped, any may have been among them.
            if (name == _lockName || (event->mask & IN_Q_OVERFLOW) != 0)
                seen = Seen::Bell;
            else if (name == _logName)
                seen = std::max(seen, Seen::LogWritten);
            at += sizeof(inotify_event) + event->len;
        }
    }
    return seen;
}

}  // namespace zun
