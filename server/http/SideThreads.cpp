#include "server/http/SideThreads.h"

#include <utility>

namespace zun::cloud {

SideThreads::SideThreads(int count) {
    for (int number = 0; number < count; ++number)
        _threads.emplace_back([this] { run(); });
}

SideThreads::~SideThreads() {
    {
        std::lock_guard lock(_mutex);
        _isEnding = true;
    }
    _news.notify_all();
    for (auto& thread : _threads)
        thread.join();
}

void SideThreads::add(std::function<void()> work) {
    {
        std::lock_guard lock(_mutex);
        _waiting.push_back(std::move(work));
    }
    _news.notify_one();
}

void SideThreads::run() {
    std::unique_lock lock(_mutex);
    while (true) {
        _news.wait(lock, [this] { return _isEnding || !_waiting.empty(); });
        if (_waiting.empty()) return;
        auto work = std::move(_waiting.front());
        _waiting.pop_front();
        lock.unlock();
        work();
        work = nullptr;
        lock.lock();
    }
}

}  // namespace zun::cloud
