#pragma once

#include "core/ReminderCloudPushes.h"

namespace zun {

// For a program without a cloud: no push can start, so each fails at once and leaves its mark on the records.
class NoCloud final : public ReminderCloudPushes {
  public:
    [[nodiscard]] bool canPush() const override { return false; }
    void saveReminderToCloudKit(const ReminderPtr&, ShouldRetry, Block, Block withError) override { fail(withError); }
    void updateReminderOnCloudKit(const ReminderPtr&, ShouldRetry, Block, Block withError) override { fail(withError); }
    void deleteReminderOnCloudKit(const ReminderPtr&, ShouldRetry, Block, Block withError) override { fail(withError); }
    void bulkUpdateRemindersOnCloudKit(std::vector<ReminderPtr>, ShouldRetry, ShouldDelete,
                                       ShouldUpdatePersistenceStatus, Block, Block withError) override {
        fail(withError);
    }

  private:
    static void fail(const Block& withError) {
        if (withError) withError();
    }
};

}  // namespace zun
