#include "platform/usernotifications/BusLoop.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace zun {
namespace {

// Serves what has arrived. Adds where and how long to wait for more; false if the connection has gone.
bool process(sdbus::IConnection& connection, std::vector<pollfd>& waiting, int& timeout) {
    // The library reports a lost connection by an exception only; none leaves this function.
    try {
        while (connection.processPendingRequest()) {
        }
        const auto data = connection.getEventLoopPollData();
        waiting.push_back({data.fd, data.events, 0});
        if (const int wanted = data.getPollTimeout(); wanted >= 0)
            timeout = timeout < 0 ? wanted : std::min(timeout, wanted);
        return true;
    } catch (const sdbus::Error&) {
        return false;
    }
}

}  // namespace

BusLoop::BusLoop(std::unique_ptr<sdbus::IConnection> session, std::unique_ptr<sdbus::IConnection> system,
                 std::function<void()> lost)
    : _session(std::move(session)),
      _system(std::move(system)),
      _lost(std::move(lost)),
      _wake(eventfd(0, EFD_CLOEXEC)) {}

BusLoop::~BusLoop() {
    stop();
    close(_wake);
}

void BusLoop::stop() {
    _ends = true;
    wake();
    if (_thread.joinable()) _thread.join();
}

void BusLoop::start() {
    _thread = std::thread([this] { serve(); });
}

void BusLoop::wake() {
    eventfd_write(_wake, 1);
}

void BusLoop::post(std::function<void()> block) {
    {
        const std::lock_guard lock(_mutex);
        _blocks.push_back(std::move(block));
    }
    wake();
}

void BusLoop::runBlocks() {
    std::vector<std::function<void()>> blocks;
    {
        const std::lock_guard lock(_mutex);
        blocks.swap(_blocks);
    }
    for (const auto& block : blocks)
        block();
}

void BusLoop::serve() {
    bool hasSystem = _system != nullptr;
    while (!_ends) {
        std::vector<pollfd> waiting{{_wake, POLLIN, 0}};
        int timeout = -1;
        runBlocks();
        if (!process(*_session, waiting, timeout)) return _lost();
        if (hasSystem) hasSystem = process(*_system, waiting, timeout);
        if (poll(waiting.data(), waiting.size(), timeout) < 0 && errno != EINTR) return _lost();
        if (waiting.front().revents != 0) {
            eventfd_t ignored = 0;
            eventfd_read(_wake, &ignored);
        }
    }
}

}  // namespace zun
