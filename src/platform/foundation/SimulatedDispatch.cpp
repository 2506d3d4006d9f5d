#include "platform/foundation/SimulatedDispatch.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <utility>

#include "platform/foundation/Log.h"

namespace zun {
namespace {

constexpr std::chrono::hours patience{1};

}  // namespace

class SimulatedDispatch::Queue final : public DispatchQueue, public std::enable_shared_from_this<Queue> {
  public:
    Queue(SimulatedDispatch& owner, std::string label, Kind kind)
        : _owner(owner), _label(std::move(label)), _kind(kind) {}

    void async(Block block) override {
        if (_blocks.empty()) _owner._ready.push_back(shared_from_this());
        _blocks.push_back(std::move(block));
    }

    void asyncAfter(std::chrono::microseconds delay, Block block) override {
        const auto moment = _owner._now + std::max(delay, std::chrono::microseconds{0});
        _owner._delayed.emplace(moment, std::pair(shared_from_this(), std::move(block)));
    }

    [[nodiscard]] bool isCurrent() const override {
        return _owner._running == this || (!_owner._running && this == _owner._main.get());
    }

    // A serial queue inside a block that waits must not begin another.
    [[nodiscard]] bool mayRun() const { return _kind == Kind::Concurrent || !_busy; }
    [[nodiscard]] bool isEmpty() const { return _blocks.empty(); }
    [[nodiscard]] const std::string& label() const { return _label; }

    Block take(std::mt19937_64& random) {
        const auto index = _kind == Kind::Serial ? 0 : static_cast<std::ptrdiff_t>(random() % _blocks.size());
        Block block = std::move(_blocks[static_cast<std::size_t>(index)]);
        _blocks.erase(_blocks.begin() + index);
        return block;
    }

    void run(const Block& block) {
        const auto previous = std::exchange(_owner._running, this);
        const auto wasBusy = std::exchange(_busy, true);
        block();
        _busy = wasBusy;
        _owner._running = previous;
    }

    void drop() { _blocks.clear(); }

  private:
    SimulatedDispatch& _owner;
    const std::string _label;
    const Kind _kind;
    bool _busy = false;
    std::deque<Block> _blocks;
};

SimulatedDispatch::SimulatedDispatch(std::uint64_t seed)
    : _random(seed), _main(std::make_shared<Queue>(*this, "main", Kind::Serial)) {}

SimulatedDispatch::~SimulatedDispatch() {
    // What a block holds may submit more while it goes.
    while (!_ready.empty() || !_delayed.empty()) {
        const auto ready = std::move(_ready);
        const auto delayed = std::move(_delayed);
        _ready.clear();
        _delayed.clear();
        for (const auto& queue : ready)
            queue->drop();
    }
}

DispatchQueuePtr SimulatedDispatch::main() {
    return _main;
}

std::shared_ptr<SimulatedDispatch::Queue> SimulatedDispatch::makeQueue(std::string label, Kind kind) {
    return std::make_shared<Queue>(*this, std::move(label), kind);
}

DispatchQueuePtr SimulatedDispatch::makeSerialQueue(std::string_view label, QualityOfService) {
    return makeQueue(std::string(label), Kind::Serial);
}

DispatchQueuePtr SimulatedDispatch::concurrent(QualityOfService quality) {
    auto& queue = _concurrent[quality];
    if (!queue) queue = makeQueue(fmt::format("concurrent {}", static_cast<int>(quality)), Kind::Concurrent);
    return queue;
}

bool SimulatedDispatch::runOne() {
    std::vector<std::size_t> runnable;
    for (std::size_t i = 0; i < _ready.size(); ++i) {
        if (_ready[i]->mayRun()) runnable.push_back(i);
    }
    if (runnable.empty()) return false;
    const auto chosen = runnable[_random() % runnable.size()];
    const auto queue = _ready[chosen];
    const Block block = queue->take(_random);
    if (queue->isEmpty()) _ready.erase(_ready.begin() + static_cast<std::ptrdiff_t>(chosen));
    queue->run(block);
    return true;
}

bool SimulatedDispatch::moveToNextDelayed(std::chrono::microseconds limit) {
    if (_delayed.empty() || _delayed.begin()->first > limit) return false;
    _now = std::max(_now, _delayed.begin()->first);
    while (!_delayed.empty() && _delayed.begin()->first <= _now) {
        auto node = _delayed.extract(_delayed.begin());
        node.mapped().first->async(std::move(node.mapped().second));
    }
    return true;
}

void SimulatedDispatch::runUntilIdle() {
    do {
        while (runOne()) {
        }
    } while (moveToNextDelayed(_now));
}

void SimulatedDispatch::advance(std::chrono::microseconds duration) {
    const auto end = _now + duration;
    do {
        runUntilIdle();
    } while (moveToNextDelayed(end));
    _now = std::max(_now, end);
}

void SimulatedDispatch::waitUntil(const std::function<bool()>& condition) {
    const auto limit = _now + patience;
    while (!condition()) {
        if (runOne() || moveToNextDelayed(limit)) continue;
        NSLog("SimulatedDispatch: waiting for a condition that nothing left to run can make true");
        for (const auto& queue : _ready)
            NSLog(fmt::format("  blocked queue: {}", queue->label()));
        std::abort();
    }
}

}  // namespace zun
