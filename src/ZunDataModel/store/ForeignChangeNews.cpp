#include "ZunDataModel/store/ForeignChangeNews.h"

#include <algorithm>

#include "ZunDataModel/ZNDatabase.h"
#include "ZunDataModel/store/RecordQueries.h"
#include "ZunDataModel/store/StoreTuning.h"

namespace zun {

namespace {

// The first change of each record, in the order of the log.
std::vector<Change> oncePerRecord(std::vector<Change> changes) {
    std::unordered_set<std::string> seen;
    std::erase_if(changes, [&](const Change& change) { return !seen.insert(change.reminderID).second; });
    return changes;
}

bool namesNoRecord(const Change& change) {
    return change.kind == ChangeKind::Deduped || change.kind == ChangeKind::Many;
}

}  // namespace

std::vector<ForeignChangeNews> readForeignChangeNews(StoreConnection& connection, std::int64_t& lastChange,
                                                     const std::atomic<std::int64_t>& ownWriter) {
    const ForeignChanges foreign = readForeignChanges(connection, lastChange, ownWriter);
    lastChange = foreign.last;
    const auto changes = oncePerRecord(foreign.changes);
    if (foreign.incomplete || changes.size() > tuning::changesToldSingly ||
        std::ranges::any_of(foreign.changes, namesNoRecord))
        return {{ZNDatabaseDeDupedNotification, nullptr}};

    std::vector<ForeignChangeNews> news;
    for (const Change& change : changes) {
        if (auto reminder = fetchRecord(connection, change.reminderID)) {
            const bool added = change.kind == ChangeKind::Added;
            news.push_back(
                {added ? ZNReminderObjectAddedNotification : ZNReminderObjectUpdatedNotification, std::move(reminder)});
            continue;
        }
        auto gone = std::make_shared<ZNReminderObject>();
        gone->setReminderID(change.reminderID);
        news.push_back({ZNReminderObjectRemovedNotification, std::move(gone)});
    }
    return news;
}

}  // namespace zun
