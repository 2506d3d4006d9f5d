#include "ZunDataModel/ZNDatabase.h"

#include "ZunDataModel/ZNDatabaseImplementation.h"
#include "ZunDataModel/store/ListedQueries.h"
#include "ZunDataModel/store/RecordQueries.h"
#include "ZunDataModel/store/StoreBackup.h"

namespace zun {

namespace {

std::string storableID(const ReminderPtr& reminder) {
    return snapshot(reminder).reminderID.value_or(std::string());
}

}  // namespace

ZNDatabase::ZNDatabase(const std::filesystem::path& folder, Collaborators collaborators)
    : _implementation(std::make_unique<Implementation>(folder, collaborators)) {}

ZNDatabase::~ZNDatabase() = default;

void ZNDatabase::addReminder(const ReminderPtr& reminder, ReminderBlock withCompletionBlock) {
    _implementation->giveIdentifier(reminder);
    _implementation->commit([record = snapshot(reminder)](RecordChanges& changes) { changes.add(record); },
                            [store = _implementation.get(), reminder, block = std::move(withCompletionBlock)] {
                                store->post(ZNReminderObjectAddedNotification, reminder);
                                if (block) block(reminder);
                            });
}

void ZNDatabase::updateReminder(const ReminderPtr& reminder, ShouldUpdateDateModified shouldupdateDateModified,
                                ReminderBlock withCompletionBlock, const WriteNotes& notes) {
    if (shouldupdateDateModified == ShouldUpdateDateModified::Yes)
        reminder->setModified_date(_implementation->environment().now());
    auto stored = std::make_shared<bool>(false);
    _implementation->commit(
        [record = snapshot(reminder), stored, notes,
         now = _implementation->environment().now()](RecordChanges& changes) {
            if (record.reminderID) CloudChanges(changes).note(*record.reminderID, &record, notes, now);
            *stored = changes.update(record);
        },
        [store = _implementation.get(), reminder, stored, block = std::move(withCompletionBlock)] {
            if (*stored) store->post(ZNReminderObjectUpdatedNotification, reminder);
            if (block) block(reminder);
        });
}

void ZNDatabase::removeReminder(const ReminderPtr& reminder, ReminderBlock withCompletionBlock,
                                const WriteNotes& notes) {
    auto removed = std::make_shared<std::size_t>(0);
    _implementation->commit(
        [reminderID = storableID(reminder), removed, notes,
         now = _implementation->environment().now()](RecordChanges& changes) {
            CloudChanges(changes).note(reminderID, nullptr, notes, now);
            *removed = changes.remove(reminderID);
        },
        [store = _implementation.get(), reminder, removed, block = std::move(withCompletionBlock)] {
            if (*removed > 0) store->post(ZNReminderObjectRemovedNotification, reminder);
            if (block) block(reminder);
        });
}

void ZNDatabase::bulkUpdateReminders(std::vector<ReminderPtr> reminders,
                                     ShouldUpdateDateModified shouldupdateDateModified, SaveIfNotFound saveIfNotFound,
                                     RemindersBlock withCompletionBlock, const WriteNotes& notes) {
    const NSDate now = _implementation->environment().now();
    for (const ReminderPtr& reminder : reminders) {
        if (shouldupdateDateModified == ShouldUpdateDateModified::Yes) reminder->setModified_date(now);
        if (saveIfNotFound == SaveIfNotFound::Yes) _implementation->giveIdentifier(reminder);
    }
    _implementation->commit(
        [records = snapshots(reminders), saveIfNotFound, notes, now](RecordChanges& changes) {
            for (const ReminderAttributes& record : records) {
                if (record.reminderID) CloudChanges(changes).note(*record.reminderID, &record, notes, now);
                if (!changes.update(record) && saveIfNotFound == SaveIfNotFound::Yes) changes.add(record);
            }
        },
        [reminders, block = std::move(withCompletionBlock)] {
            if (block) block(reminders);
        });
}

void ZNDatabase::bulkDeleteReminders(std::vector<ReminderPtr> reminders, RemindersBlock withCompletionBlock,
                                     const WriteNotes& notes) {
    std::vector<std::string> identifiers;
    std::ranges::transform(reminders, std::back_inserter(identifiers), storableID);
    _implementation->commit(
        [identifiers = std::move(identifiers), notes,
         now = _implementation->environment().now()](RecordChanges& changes) {
            for (const std::string& reminderID : identifiers) {
                CloudChanges(changes).note(reminderID, nullptr, notes, now);
                changes.remove(reminderID);
            }
        },
        [reminders = std::move(reminders), block = std::move(withCompletionBlock)] {
            if (block) block(reminders);
        });
}

void ZNDatabase::replaceReminders(std::vector<ReminderPtr> reminders, RemindersBlock withCompletionBlock) {
    bulkUpdateReminders(std::move(reminders), ShouldUpdateDateModified::No, SaveIfNotFound::Yes,
                        std::move(withCompletionBlock));
}

void ZNDatabase::replaceCopyWithSeries(const ReminderPtr& copy, const ReminderPtr& series,
                                       ReminderBlock withCompletionBlock, const WriteNotes& ofCopy,
                                       const WriteNotes& ofSeries) {
    _implementation->giveIdentifier(series);
    struct Outcome {
        bool added = false;
        std::size_t removed = 0;
    };
    auto outcome = std::make_shared<Outcome>();
    _implementation->commit(
        [record = snapshot(series), copyID = storableID(copy), outcome, ofCopy, ofSeries,
         now = _implementation->environment().now()](RecordChanges& changes) {
            CloudChanges(changes).note(*record.reminderID, &record, ofSeries, now);
            CloudChanges(changes).note(copyID, nullptr, ofCopy, now);
            outcome->added = changes.addOrUpdate(record);
            outcome->removed = changes.remove(copyID);
        },
        [store = _implementation.get(), copy, series, outcome, block = std::move(withCompletionBlock)] {
            store->post(outcome->added ? ZNReminderObjectAddedNotification : ZNReminderObjectUpdatedNotification,
                        series);
            if (outcome->removed > 0) store->post(ZNReminderObjectRemovedNotification, copy);
            if (block) block(series);
        });
}

// ---- reading

FetchResult ZNDatabase::fetchRemindersForPredicate(const std::optional<NSPredicate>& predicate,
                                                   const std::vector<NSSortDescriptor>& withSortDescriptors,
                                                   ReturnAsReminderObject returnAsReminderObject) const {
    return _implementation->read([&](StoreConnection& connection) {
        FetchResult result;
        if (returnAsReminderObject == ReturnAsReminderObject::No) {
            result.count = countRecords(connection, predicate);
        } else {
            result.reminders = fetchRecords(connection, predicate, withSortDescriptors);
            result.count = result.reminders.size();
        }
        return result;
    });
}

ListedReminders ZNDatabase::listRemindersForParts(const std::vector<ListingPart>& parts,
                                                  const std::stop_token& stop) const {
    return _implementation->read([&](StoreConnection& connection) { return listRecords(connection, parts, stop); });
}

OptionalDate ZNDatabase::earliestDateForPredicate(const NSPredicate& predicate, std::string_view withAttribute) const {
    return _implementation->read(
        [&](StoreConnection& connection) { return earliestDate(connection, predicate, withAttribute); });
}

std::unordered_set<std::string> ZNDatabase::reminderIDsWithTitleContaining(std::string_view text) const {
    return _implementation->read([&](StoreConnection& connection) { return identifiersByTitle(connection, text); });
}

bool ZNDatabase::forEachReminderID(const std::optional<std::string>& first, const std::optional<std::string>& last,
                                   const std::function<void(const std::string&)>& visit) const {
    return _implementation->read([&](StoreConnection& connection) {
        forEachIdentifier(connection, first, last, visit);
        return true;
    });
}

void ZNDatabase::deDupReminderWithID(const std::string& reminderID) {
    auto removed = std::make_shared<std::size_t>(0);
    _implementation->commit([reminderID, removed](RecordChanges& changes) { *removed = changes.deDup(reminderID); },
                            [store = _implementation.get(), removed] {
                                if (*removed > 0) store->post(ZNDatabaseDeDupedNotification, nullptr);
                            });
}

void ZNDatabase::clearRemindersFromStore(std::function<void()> completion) {
    _implementation->write(
        [now = _implementation->environment().now()](StoreWriter& writer) { return writer.clear(now); },
        [store = _implementation.get(), completion = std::move(completion)] {
            // Records went that nobody names, which is what this notification tells.
            store->post(ZNDatabaseDeDupedNotification, nullptr);
            if (completion) completion();
        });
}

void ZNDatabase::backUpBeforeSweep(std::function<void()> completion) {
    _implementation->write(
        [now = _implementation->environment().now()](StoreWriter& writer) { return writer.backUp(now, routineReason); },
        std::move(completion));
}

void ZNDatabase::setFailureHandler(std::function<void(const StoreError&)> handler) {
    _implementation->setFailureHandler(std::move(handler));
}

const StoreHealth& ZNDatabase::health() const {
    return _implementation->health();
}

void ZNDatabase::waitForWrites() {
    _implementation->waitForWrites();
}

void ZNDatabase::watchForChanges() {
    _implementation->watchForChanges();
}

void ZNDatabase::readChangeLog() {
    _implementation->readChangeLog();
}

}  // namespace zun
