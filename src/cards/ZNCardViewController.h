#pragma once

// The main screen: holds the deck of reminders that are due now, feeds the stack, turns its gestures and buttons into
// operations on the manager, and owns what stands around it: the count, the logo, how the sync goes, the zero state,
// the picker of a snooze and, in a wide window, the calendar beside the stack.
//
// The deck is replaced whole by every fetch and edited in place by the actions. An action takes its card out of the
// deck, animates, writes in the animation's completion and then registers the undo. Until that write shows in a fetch,
// the card stays out of the deck.
//
// Owned by its parent widget. Main thread; store notifications are taken there from whatever thread they come on.

#include <QPointer>
#include <QUndoStack>
#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "cards/CardContext.h"
#include "cards/SyncStatus.h"
#include "cards/ZNSnoozeMenu.h"
#include "cards/ZNSnoozePopoverViewController.h"
#include "cards/ZNStackViewDelegate.h"
#include "cards/ZNStackViewItemDelegate.h"
#include "core/ZNReminderManager.h"
#include "platform/foundation/BlocksUnderWay.h"
#include "toolkit/ZNPopover.h"

namespace zun {

class DeckToolbar;
class ZNCalendarViewController;
class ZNStackView;
class ZNZeroStateView;

class ZNCardViewController final : public ZNView,
                                   private ZNStackViewDelegate,
                                   private ZNStackViewItemDelegate,
                                   private ZNSnoozeMenuDelegate,
                                   private ZNSnoozePopoverViewController::Delegate,
                                   private ZNPopoverDelegate {
    Q_OBJECT
  public:
    struct Collaborators {
        CardContext cards;
        ZNReminderManager& manager;
        const Environment& environment;
        QUndoStack& undoStack;
        const LocalizedStrings& strings;
        const DateLabels& labels;
        SyncStatus& sync = NoSync::shared();
    };
    // How much of the toolbar's height the stack's bounds begin below the top; the deck's cards reach under the
    // toolbar's lower edge.
    static constexpr int stackTop = 40;
    // What of the screen's width is beside the stack's bounds, on each side.
    static constexpr int stackSide = 40;

    explicit ZNCardViewController(const Collaborators& collaborators, QWidget* parent = nullptr);
    ~ZNCardViewController() override;

    // The full refresh, which also starts a sync and puts the next regular one off by the whole interval.
    void fetchData();
    // The store refused a change: every card whose write is under way comes back.
    void writeFailed();
    // The next fetch brings this reminder to the top, once.
    void showReminderWithID(std::string reminderID) { _reminderIDToShowOnTop = std::move(reminderID); }
    // Null with an empty deck.
    [[nodiscard]] ReminderPtr topCardReminder() const;
    [[nodiscard]] const std::vector<ReminderPtr>& reminders() const { return _reminders; }

    enum class FlyLeft { No, Yes };
    void shouldCompleteTopCard() override;
    void shouldSnoozeTopCard() override;
    void shouldSkipTopCard() override;
    void shouldSkipTopCard(FlyLeft flyLeft);
    void shouldEditTopCard() override;
    void undoLastReminderActionWithID(const std::string& reminderID);

    // Relative dates, zone and language may have changed: words are made anew.
    void minutePassed();
    // Another day has begun, or somebody comes back to the screen.
    void lockDidChange();
    void invalidateTimer();
    [[nodiscard]] ZNStackView& stackView() const { return *_stackView; }
    // Present exactly while the picker of a snooze is open.
    [[nodiscard]] ZNPopover* snoozePopover() const { return _snoozePopover; }
    // Null until the window was wide enough for it once.
    [[nodiscard]] ZNCalendarViewController* calendarController() const { return _calendarController; }

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    [[nodiscard]] int numberOfItemsInStack() const override { return static_cast<int>(_reminders.size()); }
    [[nodiscard]] std::unique_ptr<ZNStackViewItem> viewForIndex(int index) override;
    [[nodiscard]] ReminderPtr reminderForObjectAtIndex(int index) const override;
    [[nodiscard]] bool shouldRespondToScrollAndGestures() const override { return _snoozePopover == nullptr; }
    [[nodiscard]] bool shouldSkipLeft() const override { return _skipLeft; }
    void shouldShowSnoozeForCell(ZNStackViewItem& cell, ZNButton& withSnoozeButton, QPoint withEventPosition) override;
    void shouldSnoozeWithReminder(const ReminderPtr& reminder, ZNStackViewItem* withStackItem,
                                  OptionalDate withDate) override;
    void didRequestCustomSnoozePickerWithStackItem(ZNStackViewItem* stackItem) override;
    void didSelectSnoozeDate(NSDate date) override;
    void setPopoverHeight(ZNBasePopoverViewController& controller, int height) override;
    void dismissPopoverController(ZNBasePopoverViewController& controller) override;
    void snoozeReminder(const std::string& reminderID, OptionalDate date);
    void closeSnoozePopoverWithoutItsReminder();
    [[nodiscard]] std::vector<ReminderPtr>::iterator positionOf(const std::string& reminderID);

    void updateViewsForWindowResize();
    void makeCalendar();
    [[nodiscard]] bool isMirrored() const { return layoutDirection() == Qt::RightToLeft; }

    void addObservers();
    void fetchDataFromTheDatabase();
    void fetchLater();
    void takeDeck(std::vector<ReminderPtr> fetched);
    // True if the deck has changed.
    bool moveRequestedReminderToTopIfNecessary();
    void updateUI();
    void restartTimer();

    void addSyncObservers();
    void syncWithiCloud();
    void syncComplete();
    void toggleLoading(bool isLoading);
    void animateToolbarLoadingState(bool on);

    void scheduleRefreshAtNextFireDate();
    [[nodiscard]] QString windowTitle() const;

    // What went wrong in the sync that runs or has just ended.
    struct SyncFailures {
        std::atomic<bool> didErrorOnSync = false, didTimeoutOnSync = false, syncWasUnreachable = false;
    };

    using Write = std::function<void(const ReminderPtr&)>;
    void throwTopCard(bool completes, const Write& write);
    void registerUndo(const std::string& reminderID, const char* textKey);
    [[nodiscard]] QString text(std::string_view key) const;

    Collaborators _with;
    DispatchQueuePtr _fetchQueue;
    ZNStackView* _stackView;
    DeckToolbar* _toolbar;
    ZNZeroStateView* _zeroState;
    ZNCalendarViewController* _calendarController = nullptr;
    QPointer<ZNPopover> _snoozePopover;
    std::string _reminderIDToSnooze;  // what the menu or the picker was opened for
    std::vector<ReminderPtr> _reminders;
    std::string _reminderIDToShowOnTop;
    // Cards whose write is under way, and until when they stay out of the deck if it never shows.
    std::map<std::string, std::chrono::microseconds> _leaving;
    bool _skipLeft = false;
    bool _fetchRuns = false;
    bool _fetchIsWanted = false;
    const std::shared_ptr<SyncFailures> _syncFailures = std::make_shared<SyncFailures>();
    bool _failureWasShown = false;
    NSTimer _loadingStateTimer;
    NSTimer _updateTimer;
    NSTimer _nextFireTimer;
    OptionalDate _nextFireDate;
    std::vector<Observation> _observations;
    BlocksUnderWay _fetches;
};

}  // namespace zun
