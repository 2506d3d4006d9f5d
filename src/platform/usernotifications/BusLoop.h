#pragma once

// The thread on which D-Bus connections are served, with a word when one is lost, and the connections themselves.

#include <sdbus-c++/sdbus-c++.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace zun {

class BusLoop {
  public:
    // The system bus may be null. `lost` runs on the loop's thread, once, when the session bus has gone.
    BusLoop(std::unique_ptr<sdbus::IConnection> session, std::unique_ptr<sdbus::IConnection> system,
            std::function<void()> lost);
    ~BusLoop();
    BusLoop(const BusLoop&) = delete;
    BusLoop& operator=(const BusLoop&) = delete;

    [[nodiscard]] sdbus::IConnection& session() { return *_session; }
    [[nodiscard]] sdbus::IConnection* system() { return _system.get(); }
    // Once all that listens from the start is set up.
    void start();
    // Whoever uses the connections in blocks or is called by them may go after this.
    void stop();
    // Runs the block on the loop's thread. Once it has started, the connections are used there only: the library's
    // calls with answers must not cross threads.
    void post(std::function<void()> block);

  private:
    void wake();
    void runBlocks();
    void serve();

    std::unique_ptr<sdbus::IConnection> _session;
    std::unique_ptr<sdbus::IConnection> _system;
    std::function<void()> _lost;
    int _wake = -1;  // an eventfd
    std::atomic<bool> _ends = false;
    std::mutex _mutex;
    std::vector<std::function<void()>> _blocks;
    std::thread _thread;
};

}  // namespace zun
