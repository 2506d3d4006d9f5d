#pragma once

// An event loop of a connection's thread for those below who know nothing of its kind.

#include <boost/asio/io_context.hpp>

#include "server/storage/EventLoop.h"

namespace zun::cloud {

class AsioLoop final : public EventLoop {
  public:
    // The loop outlives it.
    explicit AsioLoop(boost::asio::io_context& loop) : _loop(loop) {}

    void after(std::chrono::microseconds time, std::function<void()> work) override;
    [[nodiscard]] std::unique_ptr<Watch> watch(int socket) override;

  private:
    boost::asio::io_context& _loop;
};

}  // namespace zun::cloud
