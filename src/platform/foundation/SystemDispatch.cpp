#include "platform/foundation/SystemDispatch.h"

#include <pthread.h>
#include <sys/resource.h>

// The thread sanitizer does not know bare fences. Blocks are handed over under Asio's mutexes, which it does know.
#ifdef __SANITIZE_THREAD__
#define BOOST_ASIO_DISABLE_FENCED_BLOCK
#endif

#include <algorithm>
#include <boost/asio/bind_executor.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/strand.hpp>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

namespace zun {
namespace {

namespace asio = boost::asio;

// Blocks wait for the disk more than they compute. Fewer threads than two would let one waiting block hold up all
// others; more than four have brought nothing and cost a stack each.
constexpr unsigned fewestThreads = 2;
constexpr unsigned mostThreads = 4;
constexpr unsigned quietThreads = 2;
// Of a processor that two busy threads share, a thread gets a fifth less for each number that it is nicer by: beside
// the window's, the workers get a third, and beside those the quiet ones a quarter.
constexpr int workNicenessBesideWindow = 4;
constexpr int quietNiceness = 6;

bool isQuiet(QualityOfService quality) {
    return quality == QualityOfService::Utility || quality == QualityOfService::Background;
}

// The queue whose block this thread is running.
thread_local const DispatchQueue* runningQueue = nullptr;

}  // namespace

class SystemDispatch::Pool {
  public:
    Pool(const char* threadName, unsigned threadCount, int niceness)
        : _threadName(threadName),
          _threadCount(threadCount),
          _niceness(niceness),
          _usualNiceness(getpriority(PRIO_PROCESS, 0)) {}

    ~Pool() { stop(); }

    asio::io_context& context() { return _context; }

    void start() {
        std::call_once(_started, [this] {
            const std::lock_guard lock(_mutex);
            if (_stopped) return;
            for (unsigned i = 0; i < _threadCount; ++i)
                _threads.emplace_back([this] { run(); });
        });
    }

    void stop() {
        std::vector<std::thread> threads;
        {
            const std::lock_guard lock(_mutex);
            _stopped = true;
            threads.swap(_threads);
        }
        _context.stop();
        for (auto& thread : threads)
            thread.join();
    }

  private:
    void run() {
        pthread_setname_np(pthread_self(), _threadName);
        // Who 0 is the calling thread here, and lowering one's own priority needs no permission. A thread begins with
        // that of the one that starts it, which may be one of another pool.
        if (_niceness) setpriority(PRIO_PROCESS, 0, _usualNiceness + _niceness);
        _context.run();
    }

    const char* const _threadName;
    const unsigned _threadCount;
    const int _niceness;
    const int _usualNiceness;  // whoever started the program may have lowered all of it
    asio::io_context _context;
    asio::executor_work_guard<asio::io_context::executor_type> _work{_context.get_executor()};
    std::once_flag _started;
    std::mutex _mutex;
    bool _stopped = false;
    std::vector<std::thread> _threads;
};

// One class for both kinds: a serial queue puts a strand between itself and the pool.
class SystemDispatch::PoolQueue final : public DispatchQueue, public std::enable_shared_from_this<PoolQueue> {
  public:
    enum class Kind { Serial, Concurrent };

    PoolQueue(Pool& pool, Kind kind) : _pool(pool) {
        if (kind == Kind::Serial) _strand.emplace(_pool.context().get_executor());
    }

    void async(Block block) override {
        _pool.start();
        post(wrapped(std::move(block)));
    }

    void asyncAfter(std::chrono::microseconds delay, Block block) override {
        _pool.start();
        auto timer = std::make_shared<asio::steady_timer>(_pool.context(), delay);
        // The pool cancels what is still waiting when it is stopped.
        auto fired = [timer, run = wrapped(std::move(block))](const boost::system::error_code& error) {
            if (!error) run();
        };
        if (_strand) {
            timer->async_wait(asio::bind_executor(*_strand, std::move(fired)));
        } else {
            timer->async_wait(std::move(fired));
        }
    }

    [[nodiscard]] bool isCurrent() const override { return runningQueue == this; }

  private:
    Block wrapped(Block block) {
        return [self = shared_from_this(), run = std::move(block)] {
            const auto previous = std::exchange(runningQueue, self.get());
            run();
            runningQueue = previous;
        };
    }

    template <typename Handler>
    void post(Handler handler) {
        if (_strand) {
            asio::post(*_strand, std::move(handler));
        } else {
            asio::post(_pool.context(), std::move(handler));
        }
    }

    Pool& _pool;
    std::optional<asio::strand<asio::io_context::executor_type>> _strand;
};

struct SystemDispatch::Wait {
    std::mutex mutex;
    std::condition_variable changed;
    std::uint64_t generation = 0;
};

SystemDispatch::SystemDispatch(DispatchQueuePtr main) : SystemDispatch(std::move(main), workNicenessBesideWindow) {}

SystemDispatch::SystemDispatch(DispatchQueuePtr main, int workNiceness)
    : _main(std::move(main)),
      _pool(std::make_unique<Pool>(
          "zun-work", std::clamp(std::thread::hardware_concurrency(), fewestThreads, mostThreads), workNiceness)),
      _quietPool(std::make_unique<Pool>("zun-quiet", quietThreads, workNiceness + quietNiceness)),
      _wait(std::make_unique<Wait>()) {
    _concurrent = {std::make_shared<PoolQueue>(*_pool, PoolQueue::Kind::Concurrent),
                   std::make_shared<PoolQueue>(*_quietPool, PoolQueue::Kind::Concurrent)};
}

SystemDispatch::SystemDispatch(std::shared_ptr<LoopQueue> main) : SystemDispatch(DispatchQueuePtr(main), 0) {
    _loop = std::move(main);
}

SystemDispatch::~SystemDispatch() {
    // Both are at rest before either goes: a block of one may still post to the other.
    _pool->stop();
    _quietPool->stop();
    if (_loop) _loop->dropBlocks();
}

DispatchQueuePtr SystemDispatch::makeSerialQueue(std::string_view, QualityOfService quality) {
    return std::make_shared<PoolQueue>(isQuiet(quality) ? *_quietPool : *_pool, PoolQueue::Kind::Serial);
}

DispatchQueuePtr SystemDispatch::concurrent(QualityOfService quality) {
    return _concurrent[isQuiet(quality) ? 1 : 0];
}

std::chrono::microseconds SystemDispatch::uptime() const {
    return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now().time_since_epoch());
}

void SystemDispatch::waitUntil(const std::function<bool()>& condition) {
    if (_loop && _loop->isCurrent()) return _loop->runUntil(condition);
    while (true) {
        // The number is taken before the test, so that a change between the test and the wait is not slept through.
        std::unique_lock lock(_wait->mutex);
        const auto seen = _wait->generation;
        lock.unlock();
        if (condition()) return;
        lock.lock();
        _wait->changed.wait(lock, [&] { return _wait->generation != seen; });
    }
}

void SystemDispatch::notify() {
    {
        const std::lock_guard lock(_wait->mutex);
        ++_wait->generation;
    }
    _wait->changed.notify_all();
    if (_loop) _loop->wake();
}

}  // namespace zun
