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

RoomForBodies::Part RoomForBodies::take(std::size_t bytes) {
    auto left = _left.load();
    do {
        if (bytes > left) return nullptr;
    } while (!_left.compare_exchange_weak(left, left - bytes));
    return {this, [bytes](RoomForBodies* of) { of->_left += bytes; }};
}

bool HttpShared::hasRoomFor(const std::string& peer) {
    // Behind these there may be any number of others.
    const bool isOne = !options.isBehindProxy && peer != "local" && !peer.starts_with("127.") && peer != "::/64";
    std::lock_guard lock(_mutex);
    if (_connections.size() >= options.connectionLimit) return false;
    const auto known = _countByPeer.find(peer);
    return !isOne || known == _countByPeer.end() || known->second < options.connectionsOfOne;
}

void HttpShared::add(const std::shared_ptr<HttpConnection>& connection, const std::string& peer) {
    std::lock_guard lock(_mutex);
    _connections.emplace(connection.get(), Connection{connection, peer});
    ++_countByPeer[peer];
}

void HttpShared::remove(const HttpConnection* connection) {
    std::lock_guard lock(_mutex);
    const auto known = _connections.find(connection);
    if (known == _connections.end()) return;
    const auto count = _countByPeer.find(known->second.peer);
    if (--count->second == 0) _countByPeer.erase(count);
    _connections.erase(known);
}

std::size_t HttpShared::connectionCount() {
    std::lock_guard lock(_mutex);
    return _connections.size();
}

std::vector<std::shared_ptr<HttpConnection>> HttpShared::connections() {
    std::vector<std::shared_ptr<HttpConnection>> open;
    std::lock_guard lock(_mutex);
    for (const auto& [address, known] : _connections)
        if (auto found = known.connection.lock()) open.push_back(std::move(found));
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
