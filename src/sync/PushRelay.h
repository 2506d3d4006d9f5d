#pragma once

#include <memory>
#include <mutex>
#include <utility>

#include "core/ReminderCloudPushes.h"
#include "sync/LifeGuard.h"

namespace zun {

// Stands between the reminder manager and the cloud manager, which need each other: made before both, and connected
// while the cloud manager lives. A push without a connection fails at once. Any thread.
class PushRelay final : public ReminderCloudPushes {
  public:
    explicit PushRelay(Dispatch& dispatch) : _dispatch(dispatch) {}

    void connect(ReminderCloudPushes& cloud) { exchange(std::make_shared<Connection>(_dispatch, cloud)); }
    // Waits for the pushes that other threads are just handing over.
    void disconnect() {
        if (const auto former = exchange(nullptr)) former->guard.close();
    }

    [[nodiscard]] bool canPush() const override {
        const std::lock_guard lock(_mutex);
        return _connection != nullptr;
    }
    void saveReminderToCloudKit(const ReminderPtr& reminder, ShouldRetry shouldRetry, Block withSuccess,
                                Block withError) override {
        relay(withError, [&](ReminderCloudPushes& cloud) {
            cloud.saveReminderToCloudKit(reminder, shouldRetry, withSuccess, withError);
        });
    }
    void updateReminderOnCloudKit(const ReminderPtr& reminder, ShouldRetry shouldRetry, Block withSuccess,
                                  Block withError) override {
        relay(withError, [&](ReminderCloudPushes& cloud) {
            cloud.updateReminderOnCloudKit(reminder, shouldRetry, withSuccess, withError);
        });
    }
    void deleteReminderOnCloudKit(const ReminderPtr& reminder, ShouldRetry shouldRetry, Block withSuccess,
                                  Block withError) override {
        relay(withError, [&](ReminderCloudPushes& cloud) {
            cloud.deleteReminderOnCloudKit(reminder, shouldRetry, withSuccess, withError);
        });
    }
    void bulkUpdateRemindersOnCloudKit(std::vector<ReminderPtr> reminders, ShouldRetry shouldRetry,
                                       ShouldDelete shouldDelete,
                                       ShouldUpdatePersistenceStatus shouldUpdatePersistenceStatus,
                                       Block withCompletion, Block withError) override {
        relay(withError, [&](ReminderCloudPushes& cloud) {
            cloud.bulkUpdateRemindersOnCloudKit(std::move(reminders), shouldRetry, shouldDelete,
                                                shouldUpdatePersistenceStatus, withCompletion, withError);
        });
    }

  private:
    struct Connection {
        Connection(Dispatch& dispatch, ReminderCloudPushes& theCloud) : guard(dispatch), cloud(theCloud) {}
        LifeGuard guard;
        ReminderCloudPushes& cloud;
    };
    using ConnectionPtr = std::shared_ptr<Connection>;

    ConnectionPtr exchange(ConnectionPtr connection) {
        const std::lock_guard lock(_mutex);
        return std::exchange(_connection, std::move(connection));
    }
    template <typename Push>
    void relay(const Block& withError, Push push) {
        ConnectionPtr connection;
        {
            const std::lock_guard lock(_mutex);
            connection = _connection;
        }
        bool isHandedOver = false;
        if (connection) {
            connection->guard.guarded([&] {
                isHandedOver = true;
                push(connection->cloud);
            })();
        }
        if (!isHandedOver && withError) withError();
    }

    Dispatch& _dispatch;
    mutable std::mutex _mutex;
    ConnectionPtr _connection;
};

}  // namespace zun
