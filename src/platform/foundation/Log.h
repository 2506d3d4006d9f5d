#pragma once

// The platform's log: plain lines on standard error, no levels. A line is written whole, whatever thread it comes from.

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace zun {

void NSLog(std::string_view line);

// Sends lines elsewhere until destroyed; for tests and for programs with a log of their own. One at a time.
class ScopedLogSink {
  public:
    explicit ScopedLogSink(std::function<void(std::string_view)> sink);
    ~ScopedLogSink();
    ScopedLogSink(const ScopedLogSink&) = delete;
    ScopedLogSink& operator=(const ScopedLogSink&) = delete;

  private:
    std::shared_ptr<const std::function<void(std::string_view)>> _previous;
};

}  // namespace zun
