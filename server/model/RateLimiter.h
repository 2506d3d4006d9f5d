#pragma once

// How often somebody may ask: a bucket for each key that fills at a steady rate. Any thread.

#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "platform/foundation/NSDate.h"

namespace zun::cloud {

class RateLimiter {
  public:
    // A rate of 0 limits nothing.
    RateLimiter(double perSecond, double atOnce) : _perSecond(perSecond), _atOnce(atOnce) {}

    // Seconds to wait; nothing if the request may go on.
    [[nodiscard]] std::optional<double> take(const std::string& key, NSDate now);

  private:
    struct Bucket {
        double left;
        NSDate at;
    };
    void forgetRested(NSDate now);
    [[nodiscard]] double fill(const Bucket& bucket, NSDate now) const;

    const double _perSecond, _atOnce;
    std::mutex _mutex;
    std::map<std::string, Bucket> _buckets;
    std::size_t _forgetAt = 1'024;
};

}  // namespace zun::cloud
