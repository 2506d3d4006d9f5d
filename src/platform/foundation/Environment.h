#pragma once

// The surroundings of the logic: what time it is, where, in which language, and fresh identifiers. Everything in the
// tree gets them from here, so that a test can set them. All operations may be called from any thread and do not block
// for long.

#include <chrono>
#include <memory>
#include <string>

#include "platform/foundation/NSDate.h"
#include "platform/foundation/NSLocale.h"
#include "platform/foundation/NSTimeZone.h"

namespace zun {

// How long the machine has run since it was started, time in suspend included. Nobody can set it.
struct BootTime {
    std::string boot;  // differs from start to start; empty where the system does not tell
    std::chrono::microseconds sinceBoot{0};
};

class Environment {
  public:
    virtual ~Environment() = default;

    [[nodiscard]] virtual NSDate now() const = 0;
    [[nodiscard]] virtual BootTime bootTime() const = 0;
    [[nodiscard]] virtual std::shared_ptr<const NSTimeZone> timeZone() const = 0;
    [[nodiscard]] virtual NSLocale locale() const = 0;
    // A string that no other call, in this process or any other, has given: upper-case UUID, version 4.
    [[nodiscard]] virtual std::string newIdentifier() const = 0;
};

}  // namespace zun
