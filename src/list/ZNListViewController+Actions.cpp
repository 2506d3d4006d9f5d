#include <QClipboard>
#include <QGuiApplication>
#include <algorithm>
#include <span>

#include "ZunDataModel/ReminderActions.h"
#include "core/NotificationNames.h"
#include "list/RemindersByID.h"
#include "list/ReorderRules.h"
#include "list/ZNListViewController.h"

namespace zun {
namespace {

// So many records are completed or copied at a time: small enough that other work gets in between, large enough that
// waiting for the disk is rare.
constexpr std::size_t portionSize = 100;
// Copying more than this would be felt.
constexpr std::size_t mostCopiedAtOnce = 200;

// Whoever completes a series moves it to its next date, which was not meant by what is chosen for the one shown.
bool isAtTheDateShown(const ZNReminderObject& record, const ZNReminderObject& shown) {
    return record.repeat_type() == RepeatType::none || record.onGetDueDate() == shown.onGetDueDate();
}

std::string textOf(const std::vector<ReminderPtr>& reminders, const ZNReminderHelper& helper) {
    std::string text;
    for (const auto& reminder : reminders)
        text.append(text.empty() ? "" : "\n\n").append(helper.reminderAsString(*reminder));
    return text;
}

}  // namespace

// ---- work on many records

void ZNListViewController::doWork(std::vector<std::function<void()>> portions, std::function<void()> withCompletion) {
    ++_worksUnderWay;
    ++*_blocksUnderWay;
    auto& dispatch = _with.cards.dispatch;
    const QPointer<ZNListViewController> self(this);
    struct Series {
        std::vector<std::function<void()>> portions;
        std::size_t next = 0;
        std::function<void()> step;
    };
    auto series = std::make_shared<Series>(Series{std::move(portions), 0, {}});
    // One block a portion, so that what is asked for meanwhile does not wait for all of them.
    series->step = [series, &manager = _with.manager, &dispatch, queue = std::weak_ptr(_workQueue),
                    work = _blocksUnderWay, self, done = std::move(withCompletion)] {
        if (series->next < series->portions.size()) {
            series->portions[series->next++]();
            manager.waitUntilSettled();
        }
        const auto next = queue.lock();
        if (next && series->next < series->portions.size()) return next->async(series->step);
        dispatch.main()->async([self, done] {
            if (!self) return;
            if (--self->_worksUnderWay == 0) self->_loader.admitAll();
            if (done) done();
            if (self->_fetchIsWanted) self->fetchData();
        });
        // It holds itself.
        const auto keepsItAlive = std::exchange(series->step, {});
        --*work;
        dispatch.notify();
    };
    _workQueue->async(series->step);
}

// Takes the selected rows out of the table, and what is left of their sections if that is only a title.
ReminderListLoader::Identifiers ZNListViewController::takeOutSelected() {
    auto& table = tableView();
    auto identifiers = std::make_shared<const std::vector<std::string>>(table.selectedIDs());
    if (identifiers->empty()) return identifiers;
    if (_isLoading) _discardsLoad = true;
    ListRows rows = table.rows();
    rows.removeRows(table.selection().rows());
    table.setRows(std::move(rows));
    showZeroStateIfNecessary();
    _loader.leaveOut(identifiers);
    return identifiers;
}

void ZNListViewController::onBulkDelete() {
    const auto identifiers = takeOutSelected();
    if (identifiers->empty()) return;
    const auto remove = [&manager = _with.manager, identifiers] {
        manager.bulkDeleteReminders(fetchRemindersByID(manager, *identifiers), ShouldSyncWithiCloud::Yes);
    };
    doWork({remove}, [this] {
        updateUIForSelectionCount(tableView().numberOfSelectedRows());
        post(ZNListViewUpdatedNotification);
        fetchData();
    });
}

void ZNListViewController::onBulkComplete() {
    const auto identifiers = takeOutSelected();
    if (identifiers->empty()) return;
    std::vector<std::function<void()>> portions;
    for (std::size_t from = 0; from < identifiers->size(); from += portionSize) {
        portions.emplace_back([&manager = _with.manager, identifiers, from] {
            const auto rest = std::span(*identifiers).subspan(from);
            for (const auto& reminder : fetchRemindersByID(manager, rest.first(std::min(portionSize, rest.size()))))
                if (isValidForCompletion(*reminder)) manager.completeReminder(reminder);
        });
    }
    doWork(std::move(portions), [this] {
        updateUIForSelectionCount(tableView().numberOfSelectedRows());
        fetchData();
        post(ZNListViewUpdatedNotification);
    });
}

// ---- one row

ReminderPtr ZNListViewController::takeOut(const ReminderPtr& reminder, Orphan orphan) {
    const std::string reminderID = reminder->reminderID().value_or("");
    auto& table = tableView();
    const std::size_t row = table.rows().indexOfObjectWithID(reminderID);
    if (row == ListRows::npos) return nullptr;
    if (_isLoading) _discardsLoad = true;

    ListRows rows = table.rows();
    const bool isLast = row + 1 == rows.size();
    const bool leavesOrphan = row > 0 && rows.isHeader(row - 1) && (isLast || rows.isHeader(row + 1));
    if (!leavesOrphan && rows.size() > 1) {
        table.removeRow(row);
    } else {
        rows.remove(row);
        if (leavesOrphan && orphan == Orphan::EmptiesTheList) {
            // What the table held comes back with the store's next notification.
            rows.removeAll();
        } else if (leavesOrphan) {
            rows.remove(row - 1);
        }
        table.setRows(std::move(rows));
    }
    showZeroStateIfNecessary();
    _loader.removeReminderById(reminderID);

    auto record = fetchReminderByID(_with.manager, reminderID);
    if (!record) {
        _discardsLoad = false;
        fetchData();
    }
    return record;
}

void ZNListViewController::shouldCompleteWithReminder(const ReminderPtr& reminder, QWidget*) {
    const auto record = takeOut(reminder, Orphan::GoesToo);
    if (!record) return;
    // Somebody else may have been quicker.
    if (!isValidForCompletion(*record) || !isAtTheDateShown(*record, *reminder)) return fetchData();
    _with.manager.completeReminder(record);
    post(ZNUserUpdatedReminderNotification, record);
}

void ZNListViewController::shouldUndoCompleteWithReminder(const ReminderPtr& reminder, QWidget*) {
    const auto record = takeOut(reminder, Orphan::EmptiesTheList);
    if (!record) return;
    if (!isValidForCompletionUndo(*record)) return fetchData();
    _with.manager.undoCompletionForReminder(record);
    post(ZNUserUpdatedReminderNotification, record);
}

void ZNListViewController::shouldDeleteWithReminder(const ReminderPtr& reminder, QWidget*) {
    const auto record = takeOut(reminder, Orphan::GoesToo);
    if (!record) return;
    _with.manager.deleteReminder(record, ShouldSyncWithiCloud::Yes);
    post(ZNUserDeletedReminderNotification, record);
}

void ZNListViewController::shouldUndoSnoozeWithReminder(const ReminderPtr& reminder, QWidget*) {
    const auto record = takeOut(reminder, Orphan::GoesToo);
    if (!record) return;
    if (isValidForSnoozeUndo(*record)) {
        _with.manager.undoSnoozeForReminder(record);
        post(ZNUserUpdatedReminderNotification, record);
    }
    fetchData();
}

void ZNListViewController::shouldShareWithReminder(const ReminderPtr& reminder, QWidget*) {
    const auto record = fetchReminderByID(_with.manager, reminder->reminderID().value_or(""));
    if (record) post(ZNShareControllerRequested, record);
}

void ZNListViewController::shouldCopyWithReminder(const ReminderPtr& reminder, QWidget*) {
    const auto record = fetchReminderByID(_with.manager, reminder->reminderID().value_or(""));
    if (record) QGuiApplication::clipboard()->setText(QString::fromStdString(_helper.reminderAsString(*record)));
}

// ---- the table's wishes

void ZNListViewController::tableDoubleClicked(ZNListTableView& table, std::size_t row) {
    if (row >= table.rows().size() || table.rows().isHeader(row)) return;
    // A record of its own: the editor may change it as it likes.
    if (const auto record = fetchReminderByID(_with.manager, std::string(table.rows().reminderID(row)))) {
        post(ZNEditControllerRequested, record);
    } else {
        fetchData();
    }
}

void ZNListViewController::didRequestOptionsForRow(ZNListTableView& table, std::size_t row, QPoint globalPosition) {
    if (row >= table.rows().size() || table.rows().isHeader(row)) return;
    const auto record = fetchReminderByID(_with.manager, std::string(table.rows().reminderID(row)));
    if (!record) return fetchData();
    auto* menu = new ZNOptionsMenu(record, &table, _with.strings, _with.canSupportCKSharing);
    menu->setParent(this, menu->windowFlags());
    menu->setDelegate(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    table.setRowWithOpenOptions(row);
    connect(menu, &QMenu::aboutToHide, &table, [&table] { table.setRowWithOpenOptions(std::nullopt); });
    // The menu does not hold the record; this does, for as long as the menu is there.
    connect(menu, &QObject::destroyed, this, [record] {});
    if (isRightToLeft()) globalPosition.rx() -= menu->sizeHint().width();
    menu->popup(globalPosition);
}

void ZNListViewController::shouldCopySelectedRows(ZNListTableView& table) {
    auto identifiers = table.selectedIDs();
    if (identifiers.empty()) return;
    const auto copy = [](const std::string& text) {
        QGuiApplication::clipboard()->setText(QString::fromStdString(text));
    };
    if (identifiers.size() <= mostCopiedAtOnce)
        return copy(textOf(fetchRemindersByID(_with.manager, identifiers), _helper));
    auto text = std::make_shared<std::string>();
    doWork({[&manager = _with.manager, &helper = _helper, identifiers = std::move(identifiers), text] {
               *text = textOf(fetchRemindersByID(manager, identifiers), helper);
           }},
           [text, copy] { copy(*text); });
}

void ZNListViewController::acceptDrop(ZNListTableView& table, std::size_t source, std::size_t droppedAbove) {
    if (_isLoading) _discardsLoad = _fetchIsWanted = true;
    table.moveRow(source, std::max<std::size_t>(droppedAbove, 1));
    // Of several moves in a row only the last order is written.
    const std::uint64_t number = ++*_latestOrder;
    doWork({[&manager = _with.manager, rows = table.rows(), number, latest = _latestOrder] {
               if (*latest == number)
                   manager.bulkSortAndUpdate(fetchRemindersByID(manager, orderAfterMove(rows)),
                                             ShouldSyncWithiCloud::Yes);
           }},
           [this] { post(ZNListViewUpdatedNotification); });
}

}  // namespace zun
