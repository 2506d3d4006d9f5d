#pragma once

// Lets blocks in while its owner lives. Closing it keeps later ones out and waits for those inside, except for those of
// the closing thread itself, so that a block may destroy what called it. Any thread.

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace zun {

class BlockGate {
  public:
    // Runs the block unless the gate is closed.
    template <class Work>
    void pass(Work&& work) {
        if (!enter()) return;
        work();
        leave();
    }

    void close() {
        std::unique_lock lock(_mutex);
        _isClosed = true;
        const auto self = std::this_thread::get_id();
        _left.wait(lock, [&] { return std::count(_inside.begin(), _inside.end(), self) == std::ssize(_inside); });
    }

  private:
    bool enter() {
        const std::scoped_lock lock(_mutex);
        if (!_isClosed) _inside.push_back(std::this_thread::get_id());
        return !_isClosed;
    }
    void leave() {
        const std::scoped_lock lock(_mutex);
        _inside.erase(std::find(_inside.begin(), _inside.end(), std::this_thread::get_id()));
        _left.notify_all();
    }

    std::mutex _mutex;
    std::condition_variable _left;
    std::vector<std::thread::id> _inside;
    bool _isClosed = false;
};

}  // namespace zun
