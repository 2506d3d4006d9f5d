#pragma once

// Notifications by name. Posting is synchronous: observers run on the posting thread before post() returns. Safe from
// any thread; no lock is held while observers run. An observer that goes away during a posting may still be called once
// by it.

#include <any>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace zun {

struct NSNotification {
    std::string_view name;
    std::any object;  // empty for nil
};

// Ends its observation when destroyed.
class Observation {
  public:
    Observation() = default;
    explicit Observation(std::function<void()> end) : _end(std::move(end)) {}
    ~Observation() { reset(); }
    Observation(Observation&& other) noexcept : _end(std::exchange(other._end, nullptr)) {}
    Observation& operator=(Observation&& other) noexcept;
    void reset();

  private:
    std::function<void()> _end;
};

class NSNotificationCenter {
  public:
    using Handler = std::function<void(const NSNotification&)>;

    NSNotificationCenter();
    ~NSNotificationCenter();
    NSNotificationCenter(const NSNotificationCenter&) = delete;
    NSNotificationCenter& operator=(const NSNotificationCenter&) = delete;

    [[nodiscard]] Observation addObserver(std::string_view name, Handler handler);
    void postNotificationName(std::string_view name, std::any object = {});

  private:
    struct Signals;
    std::shared_ptr<Signals> _signals;
};

}  // namespace zun
