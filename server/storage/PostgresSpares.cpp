#include "server/storage/PostgresSpares.h"

#include <utility>

namespace zun::cloud {

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
            if (_wanted == 0) return;
            --_wanted;
        }
        try {
            auto connection = std::make_unique<PostgresConnection>(_address);
            std::lock_guard lock(_mutex);
            _made.push_back(std::move(connection));
        } catch (const StorageFailure&) {
            want();
            return;
        }
    }
}

}  // namespace zun::cloud
