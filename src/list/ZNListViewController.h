#pragma once

// The list: everything that is still to be done, in sections, or what was done, by month; one table each, side by side.
// Searches, opens, copies, reorders, completes and deletes, one reminder or many.
//
// Rows are fetched and sectioned off the main thread. A table shows what it has until its next rows are complete. What
// the user does to a row shows at once, ahead of the store; then the store's notification brings new rows. Every action
// fetches its record anew by identifier, and does nothing for one that has gone. Work on many records is done on a
// queue of its own, portion by portion; until it ends, what the store tells is not fetched, and the destructor waits
// for it.
//
// While the screen is hidden it fetches nothing and catches up when it is shown. Calls loadView() itself. Owned by its
// parent widget. Main thread.

#include <QPointer>
#include <atomic>
#include <memory>

#include "cards/ListScreen.h"
#include "core/ReminderListLoader.h"
#include "list/ZNListTableView.h"
#include "list/ZNOptionsMenu.h"
#include "list/ZNSearchBar.h"

class QLabel;

namespace zun {

class BulkActionsBar;
class ZNSegmentControl;

class ZNListViewController final : public ListScreen,
                                   private ZNListTableViewDelegate,
                                   private ZNSearchBarDelegate,
                                   public ZNOptionsMenuDelegate {
    Q_OBJECT
  public:
    struct Collaborators {
        CardContext cards;
        ZNReminderManager& manager;
        const Environment& environment;
        const LocalizedStrings& strings;
        const DateLabels& labels;
        CanSupportCKSharing canSupportCKSharing = CanSupportCKSharing::No;
    };
    using Type = ReminderListLoader::Type;

    ZNListViewController(const Collaborators& collaborators, Type initWithTableViewType, QWidget* parent = nullptr);
    ~ZNListViewController() override;

    // Refreshes the table that is shown.
    void fetchData() override;
    // Begins to search.
    void onLeftButtonPress() override;
    // The escape key. False if there was nothing to cancel.
    bool handleCancelOperation() override;
    // Relative dates are others: what is due may be, too.
    void minutePassed() override;
    void updateViewsForWindowResize() override;
    void prepareViews() override;
    void customizeViews() override;

    void onBulkDelete();
    void onBulkComplete();
    void shouldCompleteWithReminder(const ReminderPtr& reminder, QWidget* withCell) override;
    void shouldUndoCompleteWithReminder(const ReminderPtr& reminder, QWidget* withCell) override;
    void shouldUndoSnoozeWithReminder(const ReminderPtr& reminder, QWidget* withCell) override;
    void shouldShareWithReminder(const ReminderPtr& reminder, QWidget* withCell) override;
    void shouldDeleteWithReminder(const ReminderPtr& reminder, QWidget* withCell) override;
    void shouldCopyWithReminder(const ReminderPtr& reminder, QWidget* withCell) override;

    [[nodiscard]] Type tableViewType() const { return _tableViewType; }
    // The table that is shown.
    [[nodiscard]] ZNListTableView& tableView() const { return *_tables[index()]; }
    [[nodiscard]] ZNSegmentControl& segmentControl() const { return *_segmentControl; }
    [[nodiscard]] ZNSearchBar& searchBar() const { return *_searchBar; }
    [[nodiscard]] BulkActionsBar& actionsBar() const { return *_actionsBar; }
    [[nodiscard]] bool isSearchActive() const { return _isSearchActive; }
    // Whether the table that is shown says that there is nothing in it.
    [[nodiscard]] bool showsZeroState() const;

  protected:
    void showEvent(QShowEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;

  private:
    // What becomes of a section's title whose last row goes.
    enum class Orphan { GoesToo, EmptiesTheList };
    // Counts what is under way on the work queue, for the destructor.
    using Work = std::atomic<int>;

    [[nodiscard]] std::size_t index() const { return static_cast<std::size_t>(_tableViewType); }
    void addObservers();

    // ---- rows
    void load();
    void takeRows(ListRows rows);
    void showZeroStateIfNecessary();

    // ---- views
    void didChangeSegment(int segment);
    void setTableViewPosition(bool animated);
    void placeTables();
    void configureEditingToolbar();
    void updateUIForSelectionCount(std::size_t count);
    void onSetIsSearchActive(bool isActive);
    void animateSearchWithVisibility(bool visible);
    void showSearchAlpha();

    // ---- the table's wishes
    void tableViewSelectionDidChange(ZNListTableView& table) override;
    void tableDoubleClicked(ZNListTableView& table, std::size_t row) override;
    void didRequestOptionsForRow(ZNListTableView& table, std::size_t row, QPoint globalPosition) override;
    void shouldDeleteSelectedRows(ZNListTableView&) override { onBulkDelete(); }
    void shouldCopySelectedRows(ZNListTableView& table) override;
    void acceptDrop(ZNListTableView& table, std::size_t source, std::size_t droppedAbove) override;

    // ---- the search field's
    void searchViewTextDidChange(ZNSearchBar& searchBar, const QString& withText) override;
    void searchViewDidCancel(ZNSearchBar& searchBar) override;
    void searchViewShouldShowResults(ZNSearchBar&) override { tableView().setFocus(Qt::TabFocusReason); }

    // ---- actions
    // The record as it is now, once its row has left the table; null if there is no such row or no such record.
    ReminderPtr takeOut(const ReminderPtr& reminder, Orphan orphan);
    // Until work that is begun now has ended, neither fetch nor search brings them back.
    ReminderListLoader::Identifiers takeOutSelected();
    // Runs the portions one after the other on the work queue, each to its durable end, then the block on the main
    // thread.
    void doWork(std::vector<std::function<void()>> portions, std::function<void()> withCompletion);
    void post(std::string_view name, const ReminderPtr& reminder = nullptr);
    [[nodiscard]] QString text(std::string_view key) const;

    Collaborators _with;
    Type _tableViewType;
    ZNReminderHelper _helper;
    ReminderListLoader _loader;
    DispatchQueuePtr _workQueue;
    std::shared_ptr<Work> _blocksUnderWay = std::make_shared<Work>(0);
    std::shared_ptr<std::atomic<std::uint64_t>> _latestOrder = std::make_shared<std::atomic<std::uint64_t>>(0);

    ZNSegmentControl* _segmentControl = nullptr;
    ZNSearchBar* _searchBar = nullptr;
    BulkActionsBar* _actionsBar = nullptr;
    QWidget* _tableContainer = nullptr;
    std::array<ZNListTableView*, 2> _tables{};
    std::array<QLabel*, 2> _zeroStates{};

    bool _isSearchActive = false;
    std::string _activeSearchString;
    bool _isLoading = false;
    bool _fetchIsWanted = false;  // another fetch, once nothing stands against it
    bool _discardsLoad = false;   // the rows on their way are older than what the user did meanwhile
    int _worksUnderWay = 0;
    AnimatedValue _tableOffset{AnimatedValue::Kind::Movement};  // 0 with the first table in view, 1 with the second
    AnimatedValue _tableFade{AnimatedValue::Kind::Fade};
    AnimatedValue _searchOffset{AnimatedValue::Kind::Movement};
    AnimatedValue _searchAlpha{AnimatedValue::Kind::Fade};
    Observation _frames;
    std::vector<Observation> _observations;
};

}  // namespace zun
