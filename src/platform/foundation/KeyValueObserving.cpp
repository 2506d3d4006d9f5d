#include "platform/foundation/KeyValueObserving.h"

#include <algorithm>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace zun {

struct KeyValueObservable::Observers {
    struct Observer {
        std::vector<std::string> keys;
        KeyHandler handler;
        std::atomic<bool> ended{false};
    };

    std::mutex mutex;
    std::vector<std::shared_ptr<Observer>> list;
    std::atomic<std::size_t> count{0};

    void remove(const std::shared_ptr<Observer>& observer) {
        observer->ended = true;
        const std::lock_guard lock(mutex);
        std::erase(list, observer);
        count = list.size();
    }
};

KeyValueObservable::~KeyValueObservable() {
    delete _observers.load();
}

KeyValueObservable::Shared KeyValueObservable::observers() {
    if (auto* existing = _observers.load()) return *existing;
    auto made = std::make_unique<Shared>(std::make_shared<Observers>());
    Shared* expected = nullptr;
    if (_observers.compare_exchange_strong(expected, made.get())) return *made.release();
    return *expected;
}

Observation KeyValueObservable::observe(std::initializer_list<std::string_view> keys, KeyHandler handler) {
    auto observer = std::make_shared<Observers::Observer>();
    observer->keys.assign(keys.begin(), keys.end());
    observer->handler = std::move(handler);
    auto all = observers();
    {
        const std::lock_guard lock(all->mutex);
        all->list.push_back(observer);
        all->count = all->list.size();
    }
    return Observation([all = std::weak_ptr(all), observer] {
        observer->ended = true;
        if (const auto shared = all.lock()) shared->remove(observer);
    });
}

bool KeyValueObservable::isObserved() const {
    const auto* all = _observers.load();
    return all && (*all)->count > 0;
}

void KeyValueObservable::didChangeValueForKey(std::string_view key) {
    if (!isObserved()) return;
    const Shared all = *_observers.load();
    std::vector<std::shared_ptr<Observers::Observer>> concerned;
    {
        const std::lock_guard lock(all->mutex);
        for (const auto& observer : all->list) {
            if (std::ranges::find(observer->keys, key) != observer->keys.end()) concerned.push_back(observer);
        }
    }
    // An observer that an earlier one has just removed is left out.
    for (const auto& observer : concerned) {
        if (!observer->ended) observer->handler(key);
    }
}

}  // namespace zun
