#pragma once

// Observing single keys of an object. Changes are told after they have happened, on the changing thread, with no lock
// held.

#include <atomic>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string_view>

#include "platform/foundation/NSNotificationCenter.h"

namespace zun {

class KeyValueObservable {
  public:
    using KeyHandler = std::function<void(std::string_view key)>;

    // Calls the handler for each change of one of these keys until the observation is destroyed. Any thread.
    [[nodiscard]] Observation observe(std::initializer_list<std::string_view> keys, KeyHandler handler);

  protected:
    KeyValueObservable() = default;
    // A copy starts without observers.
    KeyValueObservable(const KeyValueObservable&) {}
    KeyValueObservable& operator=(const KeyValueObservable&) { return *this; }
    ~KeyValueObservable();

    void didChangeValueForKey(std::string_view key);
    // True if anyone listens; lets a setter skip the work of comparing.
    [[nodiscard]] bool isObserved() const;

  private:
    struct Observers;
    using Shared = std::shared_ptr<Observers>;
    Shared observers();
    // Made by the first observer, so that the many objects that nobody observes carry one null pointer.
    std::atomic<Shared*> _observers{nullptr};
};

}  // namespace zun
