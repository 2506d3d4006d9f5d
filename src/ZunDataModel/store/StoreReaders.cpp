#include "ZunDataModel/store/StoreReaders.h"

#include "ZunDataModel/store/StoreTuning.h"

namespace zun {

StoreReaders::Lease StoreReaders::lend() {
    {
        const std::lock_guard lock(_mutex);
        if (!_idle.empty()) {
            // The one given back last: its pages are still warm.
            auto connection = std::move(_idle.back());
            _idle.pop_back();
            return Lease(*this, std::move(connection));
        }
    }
    return Lease(*this, std::make_unique<StoreConnection>(_file, _access));
}

void StoreReaders::giveBack(std::unique_ptr<StoreConnection> connection) {
    const std::lock_guard lock(_mutex);
    if (_idle.size() < tuning::idleReaders) _idle.push_back(std::move(connection));
}

}  // namespace zun
