#include "server/storage/PostgresSpares.h"

#include <utility>

namespace zun::cloud {
namespace {

constexpr std::chrono::seconds pauseAfterFailure(1);

}  // namespace

std::unique_ptr<PostgresConnection> PostgresSpares::take() {
    std::lock_guard lock(_mutex);
    if (_made.empty()) return nullptr;
    auto connection = std::move(_made.back());
    _made.pop_back();
    return connection;
}

void PostgresSpares::want() {
    std::lock_guard lock(_mutex);
    ++_wanted;
}

void PostgresSpares::make() {
    while (true) {
        {
            std::lock_guard lock(_mutex);
            if (_wanted == 0 || std::chrono::steady_clock::now() < _nextAttempt) return;
            --_wanted;
        }
        try {
            auto connection = std::make_unique<PostgresConnection>(_server);
            std::lock_guard lock(_mutex);
            _made.push_back(std::move(connection));
        } catch (const StorageFailure&) {
            std::lock_guard lock(_mutex);
            ++_wanted;
            _nextAttempt = std::chrono::steady_clock::now() + pauseAfterFailure;
            return;
        }
    }
}

}  // namespace zun::cloud
