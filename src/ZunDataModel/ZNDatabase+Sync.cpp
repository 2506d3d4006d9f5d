#include "ZunDataModel/ZNDatabaseImplementation.h"

namespace zun {

void ZNDatabase::markReminders(std::vector<std::string> reminderIDs, CloudMark mark, std::function<void()> completion) {
    _implementation->commit(
        [reminderIDs = std::move(reminderIDs), mark](RecordChanges& changes) {
            for (const std::string& reminderID : reminderIDs)
                CloudChanges(changes).mark(reminderID, mark);
        },
        std::move(completion));
}

void ZNDatabase::decideReminders(std::vector<std::string> reminderIDs, RecordDecision decide,
                                 std::function<void(const std::vector<DecidedRecord>&)> withCompletionBlock) {
    struct Outcome {
        std::vector<DecidedRecord> decided;
        std::vector<bool> added;
    };
    auto outcome = std::make_shared<Outcome>();
    _implementation->commit(
        [reminderIDs = std::move(reminderIDs), decide = std::move(decide), outcome,
         now = _implementation->environment().now()](RecordChanges& changes) {
            *outcome = {};
            for (std::size_t i = 0; i < reminderIDs.size(); ++i) {
                bool wasStored = false;
                const auto look = [&](std::size_t index, std::optional<ReminderAttributes>& record) {
                    wasStored = record.has_value();
                    return decide(index, record);
                };
                outcome->decided.push_back(CloudChanges(changes).decide(reminderIDs[i], i, look, now));
                outcome->added.push_back(!wasStored);
            }
        },
        [store = _implementation.get(), outcome, block = std::move(withCompletionBlock)] {
            for (std::size_t i = 0; i < outcome->decided.size(); ++i) {
                const auto& [verdict, record] = outcome->decided[i];
                if (verdict != RecordVerdict::Write && verdict != RecordVerdict::Remove) continue;
                const auto name = verdict == RecordVerdict::Remove ? ZNReminderObjectRemovedNotification
                                  : outcome->added[i]              ? ZNReminderObjectAddedNotification
                                                                   : ZNReminderObjectUpdatedNotification;
                store->post(name, std::make_shared<ZNReminderObject>(record));
            }
            if (block) block(outcome->decided);
        });
}

void ZNDatabase::addTombstones(const std::vector<ReminderPtr>& reminders, const WriteNotes& notes,
                               std::function<void()> completion) {
    auto gone = std::make_shared<std::vector<ReminderPtr>>();
    _implementation->commit(
        [records = snapshots(reminders), pushID = notes.pushID, gone](RecordChanges& changes) {
            gone->clear();
            if (pushID && !CloudChanges(changes).hasNoteOfDeletion(*pushID)) return;
            for (const ReminderAttributes& record : records)
                if (CloudChanges(changes).addTombstone(record))
                    gone->push_back(std::make_shared<ZNReminderObject>(record));
        },
        [store = _implementation.get(), gone, completion = std::move(completion)] {
            for (const auto& reminder : *gone)
                store->post(ZNReminderObjectRemovedNotification, reminder);
            if (completion) completion();
        });
}

void ZNDatabase::pushDidEnd(const std::string& pushID) {
    _implementation->pushDidEnd(pushID);
}

void ZNDatabase::takeUnfinishedPushesForFailed() {
    _implementation->commitWhere(hasUnfinishedPushes,
                                 [](RecordChanges& changes) { CloudChanges(changes).takeUnfinishedPushesForFailed(); });
}

std::vector<KeptVersion> ZNDatabase::keptVersions() const {
    auto versions = _implementation->read([](StoreConnection& connection) { return zun::keptVersions(connection); });
    const auto oldest = _implementation->environment().now() - KeptVersion::lifetime;
    std::erase_if(versions, [oldest](const KeptVersion& each) { return each.date < oldest; });
    return versions;
}

void ZNDatabase::forgetKeptVersionsBefore(NSDate date) {
    _implementation->commitWhere(
        [date](StoreConnection& connection) { return hasKeptVersionsBefore(connection, date); },
        [date](RecordChanges& changes) { CloudChanges(changes).forgetKeptBefore(date); });
}

}  // namespace zun
