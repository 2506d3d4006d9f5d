#include "cards/ZNCardViewController.h"

#include <algorithm>

#include "calendar/ZNCalendarViewController.h"
#include "cards/DeckToolbar.h"
#include "cards/ZNStackView.h"
#include "cards/ZNStackViewItem.h"
#include "cards/ZNZeroStateView.h"
#include "core/NotificationNames.h"
#include "platform/foundation/LocalizedStrings.h"

namespace zun {
namespace {

using namespace std::chrono_literals;

// The deck rebuilds itself this often whatever happens; everything that matters is heard of sooner.
constexpr auto updateInterval = 300s;
// A card whose write never showed comes back after this long.
constexpr auto longestLeave = 3s;
// A timer further ahead gains nothing over the regular refresh.
constexpr auto furthestFireTimer = updateInterval;

}  // namespace

ZNCardViewController::ZNCardViewController(const Collaborators& collaborators, QWidget* parent)
    : ZNView(parent),
      _with(collaborators),
      _fetchQueue(collaborators.cards.dispatch.makeSerialQueue("deck", QualityOfService::UserInitiated)),
      _stackView(new ZNStackView(collaborators.cards, this)),
      _toolbar(new DeckToolbar(collaborators.cards, this)),
      _zeroState(new ZNZeroStateView(collaborators.cards, this)),
      _fetches(collaborators.cards.dispatch) {
    _stackView->setOverflow(QMargins(stackSide, stackTop, stackSide, 0));
    _toolbar->setCentreLine(stackTop);
    // A card that flies passes over logo and number.
    _toolbar->lower();
    addObservers();
    addSyncObservers();
    _stackView->onSetDelegate(this);
}

ZNCardViewController::~ZNCardViewController() {
    _fetches.wait();
    _stackView->onSetDelegate(nullptr);
}

void ZNCardViewController::addObservers() {
    auto& notifications = _with.cards.notifications;
    auto& dispatch = _with.cards.dispatch;
    const QPointer<ZNCardViewController> self(this);
    // Store notifications come on the store's queue; a guard made here may only be asked on the main thread.
    const auto refetch = gatheredOnMainThread(dispatch, [self] {
        if (self) self->fetchLater();
    });
    const auto lookAhead = gatheredOnMainThread(dispatch, [self] {
        if (self) self->scheduleRefreshAtNextFireDate();
    });
    for (const auto name : {ZNDatabaseDeDupedNotification, ZNReminderObjectUpdatedNotification,
                            ZNReminderObjectRemovedNotification, ZNListViewUpdatedNotification}) {
        _observations.push_back(notifications.addObserver(name, [refetch](const NSNotification&) { refetch(); }));
    }
    _observations.push_back(notifications.addObserver(
        ZNReminderObjectAddedNotification,
        [refetch, lookAhead, &environment = _with.environment](const NSNotification& notification) {
            const auto* reminder = std::any_cast<ReminderPtr>(&notification.object);
            if (!reminder || !*reminder || (*reminder)->completed_date()) return;
            (*reminder)->isFutureReminder(environment.now()) ? lookAhead() : refetch();
        }));
}

// ---- fetching

void ZNCardViewController::fetchData() {
    fetchDataFromTheDatabase();
    if (_reminderIDToShowOnTop.empty()) syncWithiCloud();
    restartTimer();
}

// Starts no sync: if it was a pass that could not write, the next one cannot either.
void ZNCardViewController::writeFailed() {
    _leaving.clear();
    fetchDataFromTheDatabase();
    restartTimer();
}

void ZNCardViewController::fetchDataFromTheDatabase() {
    takeDeck(_with.manager.fetchAllActiveRemindersWithDefaultSort(true));
}

// Off the main thread, and once for a burst of changes: an import must not make the cards stutter.
void ZNCardViewController::fetchLater() {
    // A change that comes during a fetch may have come too late for it.
    if (_fetchRuns) {
        _fetchIsWanted = true;
        return;
    }
    _fetchRuns = true;
    const QPointer<ZNCardViewController> self(this);
    auto& dispatch = _with.cards.dispatch;
    _fetches.async(*_fetchQueue, [self, &dispatch, &manager = _with.manager] {
        auto fetched = manager.fetchAllActiveRemindersWithDefaultSort(true);
        dispatch.main()->async([self, deck = std::move(fetched)]() mutable {
            if (!self) return;
            self->_fetchRuns = false;
            self->takeDeck(std::move(deck));
            if (std::exchange(self->_fetchIsWanted, false)) self->fetchLater();
        });
    });
}

void ZNCardViewController::takeDeck(std::vector<ReminderPtr> fetched) {
    const auto now = _with.cards.dispatch.uptime();
    std::erase_if(_leaving, [&](const auto& entry) {
        const bool isStillThere = std::any_of(
            fetched.begin(), fetched.end(), [&](const ReminderPtr& each) { return each->reminderID() == entry.first; });
        return !isStillThere || entry.second <= now;
    });
    std::erase_if(fetched, [&](const ReminderPtr& each) { return _leaving.contains(each->reminderID().value_or("")); });
    _reminders = std::move(fetched);
    moveRequestedReminderToTopIfNecessary();
    closeSnoozePopoverWithoutItsReminder();
    _stackView->renderStackWithAnimation(false);
    updateUI();
    scheduleRefreshAtNextFireDate();
}

bool ZNCardViewController::moveRequestedReminderToTopIfNecessary() {
    const auto requested = std::exchange(_reminderIDToShowOnTop, {});
    if (requested.empty()) return false;
    const auto found = positionOf(requested);
    if (found == _reminders.begin() || found == _reminders.end()) return false;
    std::rotate(_reminders.begin(), found, found + 1);
    return true;
}

void ZNCardViewController::restartTimer() {
    const QPointer<ZNCardViewController> self(this);
    _updateTimer = NSTimer(_with.cards.dispatch.main(), updateInterval, true, [self] {
        if (self) self->fetchData();
    });
}

void ZNCardViewController::invalidateTimer() {
    _updateTimer.invalidate();
    _nextFireTimer.invalidate();
}

void ZNCardViewController::scheduleRefreshAtNextFireDate() {
    const auto now = _with.environment.now();
    _nextFireDate = _with.manager.nextFireDateAfter(now);
    _nextFireTimer.invalidate();
    if (!_nextFireDate || *_nextFireDate - now > furthestFireTimer) return;
    const QPointer<ZNCardViewController> self(this);
    _nextFireTimer = NSTimer(_with.cards.dispatch.main(), *_nextFireDate - now, false, [self] {
        if (self) self->fetchLater();
    });
}

void ZNCardViewController::minutePassed() {
    if (_calendarController) _calendarController->minutePassed();
    // Timers sleep with the machine and do not hear of a changed clock; this is where both are noticed.
    if (_nextFireDate && *_nextFireDate <= _with.environment.now()) return fetchDataFromTheDatabase();
    _stackView->renderStackWithAnimation(false);
    scheduleRefreshAtNextFireDate();
}

// ---- the cards' actions

ReminderPtr ZNCardViewController::topCardReminder() const {
    return _reminders.empty() ? nullptr : _reminders.front();
}

void ZNCardViewController::throwTopCard(bool completes, const Write& write) {
    if (_reminders.empty() || !_stackView->shouldRespondToActions()) return;
    const auto reminder = _reminders.front();
    _reminders.erase(_reminders.begin());
    _leaving[reminder->reminderID().value_or("")] = _with.cards.dispatch.uptime() + longestLeave;
    const QPointer<ZNCardViewController> self(this);
    const Block done = [self, reminder, write] {
        write(reminder);
        if (self) self->updateUI();
    };
    if (completes) {
        _stackView->completeTopCardWithCompletion(done);
    } else {
        _stackView->snoozeTopCardWithCompletion(done);
    }
}

void ZNCardViewController::shouldCompleteTopCard() {
    const QPointer<ZNCardViewController> self(this);
    throwTopCard(true, [self, &manager = _with.manager](const ReminderPtr& reminder) {
        manager.completeReminder(reminder, [self](const ReminderPtr& completed) {
            if (self) self->registerUndo(completed->reminderID().value_or(""), "Undo_Complete_Text");
        });
    });
}

void ZNCardViewController::shouldSnoozeTopCard() {
    const QPointer<ZNCardViewController> self(this);
    throwTopCard(false, [self, &manager = _with.manager](const ReminderPtr& reminder) {
        manager.snoozeReminder(reminder, std::nullopt);
        if (self) self->registerUndo(reminder->reminderID().value_or(""), "Undo_Snooze_Text");
    });
}

void ZNCardViewController::shouldSkipTopCard(FlyLeft flyLeft) {
    _skipLeft = flyLeft == FlyLeft::Yes;
    shouldSkipTopCard();
}

void ZNCardViewController::shouldSkipTopCard() {
    if (_reminders.size() < 2) return;
    if (!_stackView->shouldRespondToActions()) {
        // A direction asked for while a card flies must not turn a later skip round.
        _skipLeft = false;
        return;
    }
    std::rotate(_reminders.begin(), _reminders.begin() + 1, _reminders.end());
    const auto skipped = _reminders.back();
    _with.manager.bulkSortAndUpdate(_reminders, ShouldSyncWithiCloud::Yes);
    _stackView->skipTopCard();
    updateUI();
    registerUndo(skipped->reminderID().value_or(""), "Undo_Skip_Text");
    _skipLeft = false;
}

void ZNCardViewController::shouldEditTopCard() {
    if (_reminders.empty()) return;
    _with.cards.notifications.postNotificationName(ZNEditControllerRequested, _reminders.front());
}

// ---- undo

namespace {

// Undoes one action of the deck. The action has been done when the command is pushed, so the first redo does nothing;
// and as an undone action cannot be done again in the same words, the command leaves the stack with its undo.
class DeckUndoCommand final : public QUndoCommand {
  public:
    DeckUndoCommand(ZNCardViewController* controller, std::string reminderID, const QString& name)
        : QUndoCommand(name), _controller(controller), _reminderID(std::move(reminderID)) {}

    void redo() override {}
    void undo() override {
        if (_controller) _controller->undoLastReminderActionWithID(_reminderID);
        setObsolete(true);
    }

  private:
    QPointer<ZNCardViewController> _controller;
    std::string _reminderID;
};

}  // namespace

void ZNCardViewController::registerUndo(const std::string& reminderID, const char* textKey) {
    _with.undoStack.push(new DeckUndoCommand(this, reminderID, text(textKey)));
}

void ZNCardViewController::undoLastReminderActionWithID(const std::string& reminderID) {
    if (const auto reminder = _with.manager.fetchReminderWithReminderID(reminderID)) {
        _leaving.erase(reminderID);
        _leaving.erase(reminderID.substr(0, reminderID.find('+')));
        reminder->setRank(std::numeric_limits<std::int64_t>::max());
        if (reminder->onGetIsSnoozed()) {
            _with.manager.undoSnoozeForReminder(reminder);
        } else if (reminder->completed_date()) {
            _with.manager.undoCompletionForReminder(reminder);
        } else {
            _with.manager.updateReminder(reminder, ShouldUpdateDateModified::Yes, ShouldSyncWithiCloud::Yes);
        }
    }
    fetchDataFromTheDatabase();
}

// ---- what stands around the cards

QString ZNCardViewController::text(std::string_view key) const {
    return QString::fromStdString(_with.cards.texts.text(key));
}

void ZNCardViewController::updateUI() {
    const auto count = _reminders.size();
    _toolbar->setItemCount(count);
    if (count == 0) {
        _zeroState->animateIn();
    } else {
        _zeroState->conceal();
    }
    // One card and none read as singular here; the window's title takes the singular for one card alone.
    const auto label =
        _with.cards.texts.text(count > 1 ? "Item_Count_Plural_Accessibility_Label" : "Item_Count_Accessibility_Label");
    const QString spoken = QString::fromStdString(stringWithFormat(label, {std::to_string(count)}));
    _toolbar->setAccessibilityLabel(spoken);
    _stackView->setAccessibilityLabel(spoken);
    _with.cards.notifications.postNotificationName(ZNReminderCountDidUpdateNotification, windowTitle().toStdString());
}

QString ZNCardViewController::windowTitle() const {
    const auto format = _with.cards.texts.text(_reminders.size() == 1 ? "Item_Count_Accessibility_Label"
                                                                      : "Item_Count_Plural_Accessibility_Label");
    return QString::fromStdString(stringWithFormat(format, {std::to_string(_reminders.size())}));
}

std::unique_ptr<ZNStackViewItem> ZNCardViewController::viewForIndex(int) {
    return std::make_unique<ZNStackViewItem>(_with.cards, static_cast<ZNStackViewItemDelegate*>(this));
}

ReminderPtr ZNCardViewController::reminderForObjectAtIndex(int index) const {
    return index >= 0 && index < numberOfItemsInStack() ? _reminders[static_cast<std::size_t>(index)] : nullptr;
}

}  // namespace zun
