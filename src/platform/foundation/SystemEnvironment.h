#pragma once

#include <mutex>

#include "platform/foundation/Environment.h"

namespace zun {

// The real surroundings: the system clock, the boot clock, TZ or /etc/localtime, the LC_ variables, random UUIDs. The
// zone is looked up once and again on refresh(); a long-running program calls that every minute and on resume.
class SystemEnvironment final : public Environment {
  public:
    SystemEnvironment();

    [[nodiscard]] NSDate now() const override;
    [[nodiscard]] BootTime bootTime() const override;
    [[nodiscard]] std::shared_ptr<const NSTimeZone> timeZone() const override;
    [[nodiscard]] NSLocale locale() const override;
    [[nodiscard]] std::string newIdentifier() const override;

    // Reads zone and locale anew. True if either changed.
    bool refresh();

  private:
    mutable std::mutex _mutex;
    std::shared_ptr<const NSTimeZone> _timeZone;
    NSLocale _locale;
};

}  // namespace zun
