#pragma once

// For blocks that others hold and may call when their maker has gone. A guarded block does nothing once the guard is
// closed; closing waits for those that are running. Any thread; closing not from inside a guarded block.

#include <memory>
#include <mutex>
#include <utility>

#include "platform/foundation/Dispatch.h"

namespace zun {

class LifeGuard {
  public:
    explicit LifeGuard(Dispatch& dispatch) : _room(std::make_shared<Room>(dispatch)) {}
    ~LifeGuard() { close(); }
    LifeGuard(const LifeGuard&) = delete;
    LifeGuard& operator=(const LifeGuard&) = delete;

    template <typename Function>
    [[nodiscard]] auto guarded(Function function) const {
        return [room = _room, function = std::move(function)](auto&&... arguments) {
            const Visit visit(*room);
            if (visit.isInside) function(std::forward<decltype(arguments)>(arguments)...);
        };
    }

    void close() {
        {
            const std::lock_guard lock(_room->mutex);
            _room->isClosed = true;
        }
        _room->dispatch.waitUntil([&room = *_room] {
            const std::lock_guard lock(room.mutex);
            return room.inside == 0;
        });
    }

  private:
    struct Room {
        explicit Room(Dispatch& theDispatch) : dispatch(theDispatch) {}
        Dispatch& dispatch;
        std::mutex mutex;
        int inside = 0;
        bool isClosed = false;
    };
    struct Visit {
        explicit Visit(Room& theRoom) : room(theRoom) {
            const std::lock_guard lock(room.mutex);
            isInside = !room.isClosed;
            if (isInside) ++room.inside;
        }
        ~Visit() {
            if (!isInside) return;
            bool wasLast = false;
            {
                const std::lock_guard lock(room.mutex);
                wasLast = --room.inside == 0 && room.isClosed;
            }
            if (wasLast) room.dispatch.notify();
        }
        Visit(const Visit&) = delete;
        Visit& operator=(const Visit&) = delete;
        Room& room;
        bool isInside = false;
    };

    std::shared_ptr<Room> _room;
};

}  // namespace zun
