#include "server/http/AsioLoop.h"

#include <fcntl.h>

#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>

namespace zun::cloud {
namespace {

using boost::asio::posix::stream_descriptor;

// Has a descriptor of its own: once the other one is closed, its number may be somebody else's.
class AsioWatch final : public EventLoop::Watch {
  public:
    AsioWatch(boost::asio::io_context& loop, int descriptor) : _descriptor(loop, descriptor) {}

    void whenReadable(std::function<void()> then) override {
        _descriptor.async_wait(stream_descriptor::wait_read,
                               [then = std::move(then), isWatching = std::weak_ptr(_isWatching)](auto error) {
                                   if (!error && !isWatching.expired()) then();
                               });
    }

  private:
    stream_descriptor _descriptor;
    const std::shared_ptr<int> _isWatching = std::make_shared<int>();
};

}  // namespace

void AsioLoop::after(std::chrono::microseconds time, std::function<void()> work) {
    if (time.count() == 0) {
        boost::asio::post(_loop, std::move(work));
        return;
    }
    auto timer = std::make_unique<boost::asio::steady_timer>(_loop, time);
    auto& started = *timer;
    started.async_wait([timer = std::move(timer), work = std::move(work)](auto) { work(); });
}

std::unique_ptr<EventLoop::Watch> AsioLoop::watch(int socket) {
    const int own = ::fcntl(socket, F_DUPFD_CLOEXEC, 0);
    return own < 0 ? nullptr : std::make_unique<AsioWatch>(_loop, own);
}

}  // namespace zun::cloud
