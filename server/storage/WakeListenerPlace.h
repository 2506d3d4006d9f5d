#pragma once

// Who is told of wakes: one listener, that can be replaced while it is called. Any thread.

#include <memory>
#include <mutex>
#include <utility>

#include "server/storage/Storage.h"

namespace zun::cloud {

class WakeListenerPlace {
  public:
    void set(Storage::WakeListener listener) {
        auto shared = listener ? std::make_shared<const Storage::WakeListener>(std::move(listener)) : nullptr;
        std::lock_guard lock(_mutex);
        _listener = std::move(shared);
    }

    // Accounts that have news. Never under a lock.
    template <class Accounts>
    void tell(const Accounts& accounts) const {
        std::shared_ptr<const Storage::WakeListener> listener;
        {
            std::lock_guard lock(_mutex);
            listener = _listener;
        }
        if (!listener) return;
        for (const auto& account : accounts)
            (*listener)(account);
    }

  private:
    mutable std::mutex _mutex;
    std::shared_ptr<const Storage::WakeListener> _listener;
};

}  // namespace zun::cloud
