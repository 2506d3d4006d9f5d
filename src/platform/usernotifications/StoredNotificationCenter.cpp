#include "platform/usernotifications/StoredNotificationCenter.h"

#include "platform/usernotifications/AlertTuning.h"

namespace zun {

struct StoredNotificationCenter::State {
    State(const std::filesystem::path& folder, const Environment& environment)
        : store(storeFolder(folder), environment), bellFile(bell(folder)) {}

    AlertStore store;
    const std::filesystem::path bellFile;
    DispatchQueuePtr queue;
    // One writer at a time, so that changes keep their order. Taken before `mutex`.
    std::mutex writing;
    std::mutex mutex;
    std::vector<AlertChange::Any> waiting;
    bool isWriteUnderWay = false;
    std::int64_t lastTold = 0;
};

StoredNotificationCenter::StoredNotificationCenter(const std::filesystem::path& folder, Collaborators collaborators)
    : _with(collaborators), _state(std::make_shared<State>(folder, collaborators.environment)) {
    _state->queue = _with.dispatch.makeSerialQueue("com.zunlabs.alerts", QualityOfService::Utility);
}

StoredNotificationCenter::~StoredNotificationCenter() {
    *_isHere = false;
    _watcher.reset();
    synchronize();
    // The queue's blocks hold the state, and the state the queue.
    const std::lock_guard lock(_state->mutex);
    _state->queue.reset();
}

// ---- writing

void StoredNotificationCenter::add(AlertChange::Any change) {
    const std::lock_guard lock(_state->mutex);
    _state->waiting.push_back(std::move(change));
    if (_state->isWriteUnderWay) return;
    _state->isWriteUnderWay = true;
    writeLater(_state, alertTuning::gatherChanges);
}

// With the mutex held.
void StoredNotificationCenter::writeLater(const std::shared_ptr<State>& state, std::chrono::microseconds delay) {
    if (!state->queue) return;
    state->queue->asyncAfter(delay, [state] {
        const bool isWritten = write(*state);
        const std::lock_guard lock(state->mutex);
        state->isWriteUnderWay = !state->waiting.empty();
        if (state->isWriteUnderWay)
            writeLater(state, isWritten ? std::chrono::microseconds(alertTuning::gatherChanges)
                                        : std::chrono::microseconds(alertTuning::retryChanges));
    });
}

bool StoredNotificationCenter::write(State& state) {
    const std::lock_guard writing(state.writing);
    std::vector<AlertChange::Any> changes;
    {
        const std::lock_guard lock(state.mutex);
        changes.swap(state.waiting);
    }
    if (changes.empty()) return true;
    if (state.store.apply(changes)) {
        ringBell(state.bellFile);
        return true;
    }
    const std::lock_guard lock(state.mutex);
    changes.insert(changes.end(), std::make_move_iterator(state.waiting.begin()),
                   std::make_move_iterator(state.waiting.end()));
    state.waiting = std::move(changes);
    return false;
}

void StoredNotificationCenter::synchronize() {
    write(*_state);
}

void StoredNotificationCenter::scheduleNotification(const NSUserNotification& notification) {
    add(AlertChange::Schedule{notification});
}

void StoredNotificationCenter::removeScheduledNotification(const NSUserNotification& notification) {
    add(AlertChange::RemoveScheduled{notification.identifier});
}

void StoredNotificationCenter::removeScheduledNotificationsForReminderID(const std::string& reminderID) {
    add(AlertChange::RemoveScheduledOfReminder{reminderID});
}

void StoredNotificationCenter::removeDeliveredNotification(const NSUserNotification& notification) {
    add(AlertChange::RemoveDelivered{notification.identifier});
}

// ---- reading

AlertStore& StoredNotificationCenter::current() const {
    write(*_state);
    return _state->store;
}

std::vector<NSUserNotification> StoredNotificationCenter::scheduledNotifications() const {
    return current().scheduled();
}

std::vector<NSUserNotification> StoredNotificationCenter::scheduledNotificationsForReminderID(
    const std::string& reminderID) const {
    return current().scheduledForReminder(reminderID);
}

std::vector<NSUserNotificationCenter::ScheduledReminder> StoredNotificationCenter::scheduledReminders(
    const std::optional<std::string>& after, std::size_t most) const {
    std::vector<ScheduledReminder> all;
    current().visitScheduledReminders(after, most, [&](std::string reminderID, std::size_t alerts) {
        all.push_back({std::move(reminderID), alerts});
    });
    return all;
}

std::vector<NSUserNotification> StoredNotificationCenter::deliveredNotifications() const {
    return current().delivered();
}

bool StoredNotificationCenter::wasDelivered(const std::string& reminderID, NSDate deliveryDate) const {
    return current().wasShown(reminderID, deliveryDate);
}

// ---- deliveries

void StoredNotificationCenter::setDelegate(NSUserNotificationCenterDelegate* delegate) {
    _delegate = delegate;
    if (!delegate) {
        _watcher.reset();
        return;
    }
    const auto last = _state->store.lastDelivered();
    {
        const std::lock_guard lock(_state->mutex);
        _state->lastTold = last;
    }
    if (_watcher) return;
    // The bell must be there to be watched.
    std::error_code ignored;
    std::filesystem::create_directories(_state->bellFile.parent_path(), ignored);
    auto told = [this, isHere = _isHere, state = _state, main = _with.dispatch.main()] {
        const std::lock_guard lock(state->mutex);
        if (!state->queue) return;
        state->queue->async([this, isHere, state, main] {
            auto delivered = newDeliveries(*state);
            if (delivered.empty()) return;
            main->async([this, isHere, delivered = std::move(delivered)] {
                if (*isHere) tellDeliveries(delivered);
            });
        });
    };
    _watcher = std::make_unique<FileWatcher>(
        std::vector<FileWatcher::Watched>{{_state->bellFile.parent_path(), _state->bellFile.filename(), told}});
}

// Waits for the disk, and behind changes that are being written.
std::vector<NSUserNotification> StoredNotificationCenter::newDeliveries(State& state) {
    std::int64_t last = 0;
    {
        const std::lock_guard lock(state.mutex);
        last = state.lastTold;
    }
    auto delivered = state.store.deliveredAfter(last);
    const std::lock_guard lock(state.mutex);
    state.lastTold = last;
    return delivered;
}

void StoredNotificationCenter::tellDeliveries(const std::vector<NSUserNotification>& delivered) {
    for (const auto& notification : delivered) {
        if (_delegate) _delegate->didDeliverNotification(notification);
    }
}

}  // namespace zun
