#pragma once

// What stands behind the store's operations: its files, its connections, and the queue on which all writes happen in
// order. Only for the sources of ZNDatabase.

#include <algorithm>
#include <atomic>
#include <cassert>
#include <mutex>
#include <utility>

#include "ZunDataModel/ZNDatabase.h"
#include "ZunDataModel/store/ChangeWatcher.h"
#include "ZunDataModel/store/CloudChanges.h"
#include "ZunDataModel/store/ForeignChangeNews.h"
#include "ZunDataModel/store/StoreFailure.h"
#include "ZunDataModel/store/StoreOpening.h"
#include "ZunDataModel/store/StoreReaders.h"
#include "ZunDataModel/store/StoreTuning.h"
#include "ZunDataModel/store/StoreWriter.h"
#include "platform/foundation/Log.h"

namespace zun {

// The record as it is at the moment of the call, fit for the file: what the caller changes later belongs to a later
// write.
inline ReminderAttributes snapshot(const ReminderPtr& reminder) {
    auto attributes = reminder->attributes();
    makeStorable(attributes);
    return attributes;
}

inline std::vector<ReminderAttributes> snapshots(const std::vector<ReminderPtr>& reminders) {
    std::vector<ReminderAttributes> all;
    all.reserve(reminders.size());
    std::ranges::transform(reminders, std::back_inserter(all), snapshot);
    return all;
}

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
        waitForWrites();
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
                    work(changes);
                    CloudChanges(changes).endPushes(ended);
                });
                if (error) _endedPushes.add(std::move(ended));
                return error;
            },
            std::move(written));
    }

    // For what is to be done only now and then: a transaction without changes costs a write as well, and a store that
    // was written to is checked at the next start if the program is killed.
    void commitWhere(std::function<bool(StoreConnection&)> isNeeded, std::function<void(RecordChanges&)> work) {
        submit([this, isNeeded = std::move(isNeeded), work = std::move(work)] {
            // What could not be read may be needed; the write then tells what is wrong.
            const auto needed = read([&](StoreConnection& connection) { return std::optional(isNeeded(connection)); });
            if (!needed.value_or(true)) return;
            const auto error = _writer.commit(work);
            if (error) fail(*error);
        });
    }

    // What is not written before the program is killed leaves marks that the next sync clears, so it may wait. It has
    // to wait for the writes that were asked for before: one of them makes the note of this push, and another puts down
    // how it ended, and no transaction may end the push before that one.
    void pushDidEnd(const std::string& pushID) {
        submit([this, pushID] {
            if (!_endedPushes.add({pushID})) return;
            _queue->asyncAfter(tuning::endedPushesWait, [this, open = std::weak_ptr(_open)] {
                if (open.lock() && _endedPushes.any()) commit([](RecordChanges&) {}, {});
            });
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
                if (open.lock()) center.postNotificationName(ZNDatabaseChangedByAnotherProgramNotification);
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

}  // namespace zun
