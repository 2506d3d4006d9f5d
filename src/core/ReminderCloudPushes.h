#pragma once

// What the manager asks of the cloud: to be told of each change as it happens. A push returns at once and reports
// through one of its two blocks, either of which may be empty, on any thread, even before it returns. Nothing is queued
// for later: a push that fails leaves it to the caller to mark the records.

#include <functional>
#include <vector>

#include "ZunDataModel/ZNReminderObject.h"

namespace zun {

// One delayed retry if the service asks for a wait.
enum class ShouldRetry { No, Yes };
enum class ShouldDelete { No, Yes };
// Whether the records' marks are to be brought in line with the answer.
enum class ShouldUpdatePersistenceStatus { No, Yes };

class ReminderCloudPushes {
  public:
    using Block = std::function<void()>;

    virtual ~ReminderCloudPushes() = default;
    // False in a program that never pushes: what would be held back for a while gets its mark at once.
    [[nodiscard]] virtual bool canPush() const { return true; }
    virtual void saveReminderToCloudKit(const ReminderPtr& reminder, ShouldRetry shouldRetry, Block withSuccess,
                                        Block withError) = 0;
    virtual void updateReminderOnCloudKit(const ReminderPtr& reminder, ShouldRetry shouldRetry, Block withSuccess,
                                          Block withError) = 0;
    virtual void deleteReminderOnCloudKit(const ReminderPtr& reminder, ShouldRetry shouldRetry, Block withSuccess,
                                          Block withError) = 0;
    virtual void bulkUpdateRemindersOnCloudKit(std::vector<ReminderPtr> reminders, ShouldRetry shouldRetry,
                                               ShouldDelete shouldDelete,
                                               ShouldUpdatePersistenceStatus shouldUpdatePersistenceStatus,
                                               Block withCompletion, Block withError) = 0;
};

}  // namespace zun
