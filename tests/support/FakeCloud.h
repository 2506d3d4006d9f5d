#pragma once

#include <fmt/format.h>

#include <atomic>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "core/ReminderCloudPushes.h"

namespace zun {

// Notes each push as a line and answers it as told, before the push returns. Any thread.
class FakeCloud final : public ReminderCloudPushes {
  public:
    enum class Answer { None, Success, Error };

    void setCanPush(bool can) { _canPush = can; }
    [[nodiscard]] bool canPush() const override { return _canPush; }
    void setAnswer(Answer answer) {
        const std::lock_guard lock(_mutex);
        _answer = answer;
    }
    // What was pushed since the last call, such as "save id-1 retry" or "bulk delete id-1 id-2 retry".
    std::vector<std::string> takeLines() {
        const std::lock_guard lock(_mutex);
        return std::exchange(_lines, {});
    }

    void saveReminderToCloudKit(const ReminderPtr& reminder, ShouldRetry shouldRetry, Block withSuccess,
                                Block withError) override {
        push("save", {reminder}, shouldRetry, withSuccess, withError);
    }
    void updateReminderOnCloudKit(const ReminderPtr& reminder, ShouldRetry shouldRetry, Block withSuccess,
                                  Block withError) override {
        push("update", {reminder}, shouldRetry, withSuccess, withError);
    }
    void deleteReminderOnCloudKit(const ReminderPtr& reminder, ShouldRetry shouldRetry, Block withSuccess,
                                  Block withError) override {
        push("delete", {reminder}, shouldRetry, withSuccess, withError);
    }
    void bulkUpdateRemindersOnCloudKit(std::vector<ReminderPtr> reminders, ShouldRetry shouldRetry,
                                       ShouldDelete shouldDelete, ShouldUpdatePersistenceStatus status,
                                       Block withCompletion, Block withError) override {
        const std::string verb = shouldDelete == ShouldDelete::Yes ? "bulk delete" : "bulk update";
        push(status == ShouldUpdatePersistenceStatus::Yes ? verb + " with status" : verb, reminders, shouldRetry,
             withCompletion, withError);
    }

  private:
    void push(std::string line, const std::vector<ReminderPtr>& reminders, ShouldRetry shouldRetry,
              const Block& withSuccess, const Block& withError) {
        for (const auto& reminder : reminders)
            line += " " + reminder->reminderID().value_or("nobody");
        if (shouldRetry == ShouldRetry::Yes) line += " retry";
        Answer answer;
        {
            const std::lock_guard lock(_mutex);
            _lines.push_back(std::move(line));
            answer = _answer;
        }
        if (answer == Answer::Success && withSuccess) withSuccess();
        if (answer == Answer::Error && withError) withError();
    }

    std::mutex _mutex;
    Answer _answer = Answer::None;
    std::atomic<bool> _canPush = true;
    std::vector<std::string> _lines;
};

}  // namespace zun
