#pragma once

// A few threads for work that keeps a core busy for long, such as the hash of a password, so that nobody else waits for
// it. Work begins in the order in which it was added. Any thread.

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace zun::cloud {

class SideThreads {
  public:
    explicit SideThreads(int count);
    // Ends what was added, and what that adds.
    ~SideThreads();
    SideThreads(const SideThreads&) = delete;
    SideThreads& operator=(const SideThreads&) = delete;

    // The work throws nothing.
    void add(std::function<void()> work);

  private:
    void run();

    std::mutex _mutex;
    std::condition_variable _news;
    std::deque<std::function<void()>> _waiting;
    bool _isEnding = false;
    std::vector<std::thread> _threads;
};

}  // namespace zun::cloud
