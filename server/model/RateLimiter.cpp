#include "server/model/RateLimiter.h"

#include <algorithm>

namespace zun::cloud {

std::optional<double> RateLimiter::take(const std::string& key, NSDate now) {
    if (_perSecond <= 0) return std::nullopt;
    std::lock_guard lock(_mutex);
    if (_buckets.size() >= _forgetAt) forgetRested(now);
    auto& bucket = _buckets.try_emplace(key, Bucket{_atOnce, now}).first->second;
    bucket.left = fill(bucket, now);
    bucket.at = now;
    if (bucket.left < 1) return (1 - bucket.left) / _perSecond;
    bucket.left -= 1;
    return std::nullopt;
}

double RateLimiter::fill(const Bucket& bucket, NSDate now) const {
    // A clock that was set back gives nothing and takes nothing.
    const std::chrono::duration<double> rest = std::max(now - bucket.at, std::chrono::microseconds(0));
    return std::min(_atOnce, bucket.left + rest.count() * _perSecond);
}

void RateLimiter::forgetRested(NSDate now) {
    std::erase_if(_buckets, [&](const auto& each) { return fill(each.second, now) >= _atOnce; });
    _forgetAt = std::max<std::size_t>(1'024, _buckets.size() * 2);
}

}  // namespace zun::cloud
