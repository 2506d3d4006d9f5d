#include "ZunDataModel/ZNDatabase.h"

#include <algorithm>
#include <atomic>
#include <cassert>
#include <mutex>
#include <utility>

#include "ZunDataModel/store/ChangeWatcher.h"
#include "ZunDataModel/store/CloudChanges.h"
#include "ZunDataModel/store/ForeignChangeNews.h"
#include "ZunDataModel/store/ListedQueries.h"
#include "ZunDataModel/store/RecordQueries.h"
#include "ZunDataModel/store/StoreBackup.h"
#include "ZunDataModel/store/StoreFailure.h"
#include "ZunDataModel/store/StoreOpening.h"
#include "ZunDataModel/store/StoreReaders.h"
#include "ZunDataModel/store/StoreTuning.h"
#include "ZunDataModel/store/StoreWriter.h"
#include "platform/foundation/Log.h"

namespace zun {

namespace {

// The record as it is at the moment of the call, fit for the file: what the caller changes later belongs to a later
// write.
ReminderAttributes snapshot(const ReminderPtr& reminder) {
    auto attributes = reminder->attributes();
    makeStorable(attributes);
    return attributes;
}

std::vector<ReminderAttributes> snapshots(const std::vector<ReminderPtr>& reminders) {
    std::vector<ReminderAttributes> all;
    all.reserve(reminders.size());
    std::ranges::transform(reminders, std::back_inserter(all), snapshot);
    return all;
}

std::string storableID(const ReminderPtr& reminder) {
    return snapshot(reminder).reminderID.value_or(std::string());
}

}  // namespace

class ZNDatabase::Implementation {
  public:
    using Write = std::function<std::optional<StoreError>(StoreWriter&)>;

    Implementation(const std::filesystem::path& folder, Collaborators collaborators)
        : _collaborators(collaborators),
          _files(folder),
          _opened(openStore(_files, collaborators.environment)),
          _readers(_files.database, _opened.readAccess),
          _writer(_files, _opened.session.get(), _opened.refusal),
          _queue(collaborators.dispatch.makeSerialQueue("com.zunlabs.store", QualityOfService::UserInitiated)),
          _lastChange(_opened.newestChange) {
        if (_opened.connection) _readers.giveBack(std::move(_opened.connection));
    }

    ~Implementation() {
        _watcher.reset();
        if (_endedPushes.any()) commit([](RecordChanges&) {}, {});
        // The queue is serial, so after this block no delayed one touches the store.
        submit([this] {
            _open.reset();
            _writer.checkpointAtEnd();
        });
        waitForWrites();
    }

    // Runs `write` on the queue, then either `written` or the failure handler.
    void write(Write write, Block written) {
        submit([this, write = std::move(write), written = std::move(written)] {
            const auto error = write(_writer);
            if (error)
                fail(*error);
            else if (written)
                written();
        });
    }

    void commit(std::function<void(RecordChanges&)> work, Block written) {
        write(
            [this, work = std::move(work)](StoreWriter& writer) {
                auto ended = _endedPushes.take();
                const auto error = writer.commit([&](RecordChanges& changes) {
                    CloudChanges(changes).endPushes(ended);
                    work(changes);
                });
                if (error) _endedPushes.add(std::move(ended));
                return error;
            },
            std::move(written));
    }

    // What is not written before the program is killed leaves marks that the next sync clears, so it may wait.
    void pushDidEnd(const std::string& pushID) {
        if (!_endedPushes.add({pushID})) return;
        _queue->asyncAfter(tuning::endedPushesWait, [this, open = std::weak_ptr(_open)] {
            if (open.lock() && _endedPushes.any()) commit([](RecordChanges&) {}, {});
        });
    }

    void post(std::string_view name, const ReminderPtr& reminder) const {
        _collaborators.notifications.postNotificationName(name, reminder ? std::any(reminder) : std::any());
    }

    // What `query` gives, or nothing.
    template <typename Query>
    auto read(Query query) -> decltype(query(std::declval<StoreConnection&>())) {
        if (!_opened.health.canRead) return {};
        try {
            auto connection = _readers.lend();
            return query(*connection);
        } catch (const StoreFailure& failure) {
            NSLog(failure.what());
        } catch (...) {
            const StoreError error = currentStoreError();
            if (error.code == StoreErrorCode::Damaged && _opened.session) _opened.session->markSuspect();
            // The same query comes again and again.
            if (!_readFailureTold.exchange(true)) submit([this, error] { fail(error); });
        }
        return {};
    }

    void setFailureHandler(std::function<void(const StoreError&)> handler) {
        const std::lock_guard lock(_handlerMutex);
        _failureHandler = std::move(handler);
    }

    [[nodiscard]] const StoreHealth& health() const { return _opened.health; }
    [[nodiscard]] const Environment& environment() const { return _collaborators.environment; }

    void giveIdentifier(const ReminderPtr& reminder) const {
        if (!reminder->reminderID()) reminder->setReminderID(environment().newIdentifier());
    }

    void waitForWrites() {
        assert(!_queue->isCurrent());
        const std::uint64_t target = _submitted;
        _collaborators.dispatch.waitUntil([this, target] { return _finished >= target; });
    }

    void watchForChanges() {
        if (_watcher || !_opened.health.canRead) return;
        try {
            _watcher = std::make_unique<ChangeWatcher>(_files, [this] { readChangeLog(); });
        } catch (...) {
            NSLog(currentStoreError().message);
        }
    }

    void readChangeLog() {
        const std::lock_guard lock(_changeMutex);
        auto news = read([this](StoreConnection& connection) {
            return readForeignChangeNews(connection, _lastChange, _writer.number());
        });
        if (news.empty()) return;
        _collaborators.dispatch.main()->async(
            [open = std::weak_ptr(_guard), &center = _collaborators.notifications, news = std::move(news)] {
                for (const ForeignChangeNews& item : news)
                    if (open.lock())
                        center.postNotificationName(item.name, item.reminder ? std::any(item.reminder) : std::any());
            });
    }

  private:
    class EndedPushes {
      public:
        // True if there were none before.
        bool add(std::vector<std::string> names) {
            const std::lock_guard lock(_mutex);
            const bool wereNone = _names.empty();
            std::ranges::move(names, std::back_inserter(_names));
            return wereNone && !_names.empty();
        }
        std::vector<std::string> take() {
            const std::lock_guard lock(_mutex);
            return std::exchange(_names, {});
        }
        [[nodiscard]] bool any() const {
            const std::lock_guard lock(_mutex);
            return !_names.empty();
        }

      private:
        mutable std::mutex _mutex;
        std::vector<std::string> _names;
    };

    void submit(Block block) {
        ++_submitted;
        _queue->async([this, block = std::move(block)] {
            block();
            _writer.checkpointIfLong();
            checkpointWhenIdle();
            ++_finished;
            _collaborators.dispatch.notify();
        });
    }

    void fail(const StoreError& error) {
        std::function<void(const StoreError&)> handler;
        {
            const std::lock_guard lock(_handlerMutex);
            handler = _failureHandler;
        }
        // Told once: whoever asks for failures tells them in a way of its own.
        if (handler)
            handler(error);
        else
            NSLog(error.message);
    }

    // One delayed block at a time: while writes keep coming it only puts itself off.
    void checkpointWhenIdle() {
        if (_idleCheckWaiting || !_open || !_writer.hasUncheckpointedPages()) return;
        _idleCheckWaiting = true;
        const std::uint64_t before = _submitted;
        _queue->asyncAfter(tuning::checkpointIdle, [this, before, open = std::weak_ptr(_open)] {
            if (!open.lock()) return;
            _idleCheckWaiting = false;
            if (_submitted == before) _writer.checkpointAtRest();
            checkpointWhenIdle();
        });
    }

    Collaborators _collaborators;
    StoreFiles _files;
    OpenedStore _opened;
    StoreReaders _readers;
    StoreWriter _writer;  // the queue's
    DispatchQueuePtr _queue;
    std::atomic<std::uint64_t> _submitted = 0;
    std::atomic<std::uint64_t> _finished = 0;
    std::atomic<bool> _readFailureTold = false;
    std::shared_ptr<int> _open = std::make_shared<int>();   // the queue's; ends with its last block
    std::shared_ptr<int> _guard = std::make_shared<int>();  // ends with the store
    bool _idleCheckWaiting = false;                         // the queue's
    EndedPushes _endedPushes;
    std::mutex _handlerMutex;
    std::function<void(const StoreError&)> _failureHandler;
    std::mutex _changeMutex;
    std::int64_t _lastChange;
    std::unique_ptr<ChangeWatcher> _watcher;
};

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

// ---- for the sync

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

void ZNDatabase::addTombstones(const std::vector<ReminderPtr>& reminders, std::function<void()> completion) {
    _implementation->commit(
        [records = snapshots(reminders)](RecordChanges& changes) {
            for (const ReminderAttributes& record : records)
                CloudChanges(changes).addTombstone(record);
        },
        std::move(completion));
}

void ZNDatabase::pushDidEnd(const std::string& pushID) {
    _implementation->pushDidEnd(pushID);
}

void ZNDatabase::takeUnfinishedPushesForFailed() {
    _implementation->commit([](RecordChanges& changes) { CloudChanges(changes).takeUnfinishedPushesForFailed(); }, {});
}

std::vector<KeptVersion> ZNDatabase::keptVersions() const {
    return _implementation->read([](StoreConnection& connection) { return zun::keptVersions(connection); });
}

void ZNDatabase::forgetKeptVersionsBefore(NSDate date) {
    _implementation->commit([date](RecordChanges& changes) { CloudChanges(changes).forgetKeptBefore(date); }, {});
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
