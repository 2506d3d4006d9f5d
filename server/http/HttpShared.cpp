#include <fmt/format.h>

#include "server/http/HttpSession.h"

namespace zun::cloud {

void Latencies::add(double seconds) {
    std::size_t bucket = 0;
    while (bucket < bounds.size() && seconds > bounds[bucket])
        ++bucket;
    ++_counts[bucket];
    _microseconds += static_cast<std::uint64_t>(seconds * 1e6);
}

std::string Latencies::text(std::string_view name) const {
    std::string text = fmt::format("# TYPE {} histogram\n", name);
    std::uint64_t sum = 0;
    for (std::size_t bucket = 0; bucket < bounds.size(); ++bucket) {
        sum += _counts[bucket];
        text += fmt::format("{}_bucket{{le=\"{}\"}} {}\n", name, bounds[bucket], sum);
    }
    sum += _counts.back();
    text += fmt::format("{0}_bucket{{le=\"+Inf\"}} {1}\n{0}_sum {2}\n{0}_count {1}\n", name, sum,
                        static_cast<double>(_microseconds) / 1e6);
    return text;
}

void HttpShared::add(const std::shared_ptr<HttpConnection>& connection) {
    std::lock_guard lock(_mutex);
    _connections.emplace(connection.get(), connection);
}

void HttpShared::remove(const HttpConnection* connection) {
    std::lock_guard lock(_mutex);
    _connections.erase(connection);
}

std::size_t HttpShared::connectionCount() {
    std::lock_guard lock(_mutex);
    return _connections.size();
}

std::vector<std::shared_ptr<HttpConnection>> HttpShared::connections() {
    std::vector<std::shared_ptr<HttpConnection>> open;
    std::lock_guard lock(_mutex);
    for (const auto& [address, connection] : _connections)
        if (auto found = connection.lock()) open.push_back(std::move(found));
    return open;
}

std::string metricsText(HttpShared& shared) {
    const auto counters = shared.service.counters();
    std::string text;
    const auto counter = [&](std::string_view name, std::uint64_t value) {
        text += fmt::format("# TYPE zun_cloud_{0}_total counter\nzun_cloud_{0}_total {1}\n", name, value);
    };
    const auto gauge = [&](std::string_view name, std::uint64_t value) {
        text += fmt::format("# TYPE zun_cloud_{0} gauge\nzun_cloud_{0} {1}\n", name, value);
    };
    counter("requests", counters.requests);
    counter("requests_refused", counters.refused);
    counter("requests_throttled", counters.throttled);
    counter("records_saved", counters.recordsSaved);
    counter("records_deleted", counters.recordsDeleted);
    counter("pushes", counters.pushes);
    counter("http_answers", shared.answered);
    counter("http_failures", shared.failed);
    gauge("push_streams", counters.openStreams);
    gauge("connections", shared.connectionCount());
    return text + shared.latencies.text("zun_cloud_request_seconds");
}

}  // namespace zun::cloud
