#include <utility>

#include "sync/ReminderRecord.h"
#include "sync/ZNCloudKitManager.h"

namespace zun {

namespace {

// Marks that are set in one commit.
constexpr std::size_t marksAtOnce = 1'000;

// Whether the row still is what was sent; its marks aside.
bool isSameVersion(const ReminderAttributes& row, const ReminderAttributes& sent) {
    return row.modified_date == sent.modified_date && !differsFromRemoteRecord(row, sent);
}

}  // namespace

void ZNCloudKitManager::applyRemoteChanges(std::vector<RemoteChange> changes, const ChangeTokens::ReadingPtr& reading,
                                           Block done) {
    struct Work {
        std::vector<RemoteChange> changes;
        std::vector<std::pair<std::size_t, ReminderAttributes>> wonHere;
    };
    const auto work = std::make_shared<Work>(Work{std::move(changes), {}});
    std::vector<std::string> reminderIDs;
    reminderIDs.reserve(work->changes.size());
    for (const auto& change : work->changes)
        reminderIDs.push_back(change.reminderID);

    const auto decide = [work, reading](std::size_t index, std::optional<ReminderAttributes>& record) {
        if (index == 0) work->wonHere.clear();
        // What another account had must not get between the reminders of this one.
        if (reading && !reading->isWanted()) return RecordVerdict::Leave;
        const auto decision = mergeReminder(work->changes[index], record);
        if (decision.winner == MergeWinner::Local) work->wonHere.emplace_back(index, *record);
        return decision.verdict;
    };
    _with.reminders.decideReminders(
        std::move(reminderIDs), decide,
        guarded([this, work, done = std::move(done)](const std::vector<DecidedRecord>& decided) {
            for (const auto& each : decided)
                _received += each.verdict == RecordVerdict::Write || each.verdict == RecordVerdict::Remove ? 1 : 0;
            for (const auto& [index, local] : work->wonHere)
                sendLocalVersion(work->changes[index], local);
            if (done) done();
        }));
}

void ZNCloudKitManager::sendLocalVersion(const RemoteChange& lost, const ReminderAttributes& local) {
    const auto reminderID = lost.reminderID;
    if (lost.home == RemoteChange::Home::PrivateZone) {
        const auto sent = [this, reminderID, local] {
            markReminders({reminderID}, [local](ReminderAttributes& row) {
                return isSameVersion(row, local) && std::exchange(row.hasLocalChanges, false);
            });
        };
        return updateReminder(local, ShouldRetry::Yes, sent, {});
    }
    if (lost.home != RemoteChange::Home::DefaultZone || !lost.unmigratedRecord) return;

    auto record = *lost.unmigratedRecord;
    combineCloudKitRecord(record, local);
    const auto sent = [this, reminderID, local, asSent = reminderWithRecord(record)](const CloudItems&) {
        _with.reminders.decideReminders({reminderID},
                                        [local, asSent](std::size_t, std::optional<ReminderAttributes>& row) {
                                            if (!row || !isSameVersion(*row, local)) return RecordVerdict::Leave;
                                            auto stored = asSent;
                                            stored.sharedZoneID = row->sharedZoneID;
                                            if (stored == *row) return RecordVerdict::Leave;
                                            row = std::move(stored);
                                            return RecordVerdict::Mark;
                                        });
    };
    const auto failed = [this](const OptionalError& error) {
        if (ZNCloudKitErrorHandler::handleError(error) == ZNCloudKitErrorType::Unhandled) postSyncError(error);
    };
    saveRecordsToCloudkit(std::vector{std::move(record)}, OverwriteValues::Yes, CloudDatabaseKind::Private,
                          ShouldRetry::Yes, sent, failed);
}

void ZNCloudKitManager::removeReminders(const std::vector<std::string>& reminderIDs,
                                        const std::function<bool(const ReminderAttributes&)>& condition) {
    if (reminderIDs.empty()) return;
    _with.reminders.decideReminders(
        reminderIDs,
        [condition](std::size_t, std::optional<ReminderAttributes>& record) {
            const bool isMeant = record && (!condition || condition(*record));
            return isMeant ? RecordVerdict::Remove : RecordVerdict::Leave;
        },
        guarded([this](const std::vector<DecidedRecord>& decided) {
            // What was deleted here and is now confirmed did not come from elsewhere.
            for (const auto& each : decided)
                if (each.verdict == RecordVerdict::Remove && !each.record.shouldDeleteRemote.value_or(false))
                    ++_received;
        }));
}

void ZNCloudKitManager::markReminders(const std::vector<std::string>& reminderIDs,
                                      const std::function<bool(ReminderAttributes&)>& mark) {
    for (std::size_t i = 0; i < reminderIDs.size(); i += marksAtOnce) {
        const auto begin = reminderIDs.begin() + static_cast<std::ptrdiff_t>(i);
        const auto end =
            reminderIDs.begin() + static_cast<std::ptrdiff_t>(std::min(reminderIDs.size(), i + marksAtOnce));
        _with.reminders.decideReminders({begin, end}, [mark](std::size_t, std::optional<ReminderAttributes>& record) {
            return record && mark(*record) ? RecordVerdict::Mark : RecordVerdict::Leave;
        });
    }
}

}  // namespace zun
