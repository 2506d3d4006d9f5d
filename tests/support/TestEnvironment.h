#pragma once

// Surroundings that stand where a test puts them. With a dispatch, the clock also moves by its virtual time. Any
// thread.

#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "platform/foundation/Dispatch.h"
#include "platform/foundation/Environment.h"

namespace zun {

class TestEnvironment final : public Environment {
  public:
    // Starts at `now` in UTC, en_US, with identifiers "id-1", "id-2", ...
    explicit TestEnvironment(std::string_view now = "2026-01-14T10:00:00Z", const Dispatch* dispatch = nullptr);

    [[nodiscard]] NSDate now() const override;
    // Moves with the dispatch and advance(), and not with setNow().
    [[nodiscard]] BootTime bootTime() const override;
    [[nodiscard]] std::shared_ptr<const NSTimeZone> timeZone() const override;
    [[nodiscard]] NSLocale locale() const override;
    [[nodiscard]] std::string newIdentifier() const override;

    void setNow(NSDate now);
    // ISO 8601; without an offset in the zone set.
    void setNow(std::string_view now);
    void advance(std::chrono::microseconds duration);
    // Another start of the machine, `sinceBoot` ago.
    void setBootTime(std::string boot, std::chrono::microseconds sinceBoot);
    void setTimeZone(std::string_view name);
    void setLocale(NSLocale locale);
    // Gives this one before the sequential ones go on.
    void giveIdentifier(std::string identifier);

    // The instant of an ISO 8601 text; without an offset in the zone set. Ends the test program if it is not a date.
    [[nodiscard]] NSDate date(std::string_view text) const;

  private:
    [[nodiscard]] std::chrono::microseconds uptime() const;

    const Dispatch* _dispatch;
    mutable std::mutex _mutex;
    NSDate _nowAtStart;
    std::chrono::microseconds _start;
    std::string _boot = "boot-1";
    std::chrono::microseconds _bootedBefore{0};  // the dispatch's time
    std::shared_ptr<const NSTimeZone> _timeZone;
    NSLocale _locale;
    mutable std::deque<std::string> _givenIdentifiers;
    mutable std::uint64_t _lastIdentifier = 0;
};

}  // namespace zun
