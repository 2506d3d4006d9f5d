#include <QClipboard>
#include <QGuiApplication>
#include <QLabel>
#include <QLineEdit>

#include "core/NotificationNames.h"
#include "list/BulkActionsBar.h"
#include "list/ListWorld.h"
#include "list/ZNSegmentControl.h"

namespace zun {
namespace {

using testing::Contains;
using testing::SizeIs;

class ListStory : public ListWorld {
  protected:
    void storeFuture(const std::string& reminderID, std::string_view start) { store(dated(reminderID, start)); }
    void storeCompleted(const std::string& reminderID, std::string_view date) {
        auto attributes = dated(reminderID, "2025-12-01T09:00:00Z");
        attributes.completed_date = at(date);
        store(attributes);
    }
    std::string title() const { return list->controllerTitle().text().toStdString(); }
};

TEST_F(ListStory, ShowsSectionsAndSaysWhenThereIsNothing) {
    EXPECT_FALSE(list->showsZeroState());  // nothing is known yet
    open();
    EXPECT_TRUE(list->showsZeroState());
    storeDue({"tea"});
    storeFuture("swim", "2026-01-15T09:00:00Z");
    storeFuture("tax", "2026-03-10T09:00:00Z");
    storeCompleted("post", "2026-01-02T09:00:00Z");
    advance();
    EXPECT_THAT(shown(), ElementsAre("#In your stack", "tea", "#Tomorrow", "swim", "#March 2026", "tax"));
    EXPECT_FALSE(list->showsZeroState());

    list->segmentControl().onSetSelectedSegment(1);
    advance();
    EXPECT_FALSE(list->actionsBar().bulkCompleteButton().isVisibleTo(&list->actionsBar()));
    EXPECT_THAT(shown(), ElementsAre("#January 2026", "post"));
    EXPECT_TRUE(table().isVisible());
    EXPECT_EQ(table().x(), 0);
    EXPECT_EQ(list->findChildren<ZNListTableView*>().front()->isVisible(), false);
}

TEST_F(ListStory, KeepsPlaceAndSelectionWhileOthersChangeTheStore) {
    Strings many;
    for (int i = 0; i < 60; ++i)
        many.push_back(fmt::format("r{:02}", i));
    storeDue(many);
    open();
    click("r02");
    press(Qt::Key_PageDown, Qt::ControlModifier);
    press(Qt::Key_PageDown, Qt::ControlModifier);
    const std::string watched(table().rows().reminderID(*table().selection().current));
    const int top = table().rectOfRow(rowOf(watched)).top();
    ASSERT_GT(rowOf(watched), 6U);

    manager.deleteReminder(stored("r00"), ShouldSyncWithiCloud::No);
    manager.deleteReminder(stored("r01"), ShouldSyncWithiCloud::No);
    auto changed = stored(watched);
    changed->setTitle("another title");
    manager.updateReminder(changed, ShouldUpdateDateModified::Yes, ShouldSyncWithiCloud::No);
    advance();
    EXPECT_THAT(shown(), SizeIs(59));
    EXPECT_EQ(table().rectOfRow(rowOf(watched)).top(), top);
    EXPECT_THAT(selected(), ElementsAre("r02"));
    EXPECT_EQ(table().cell(rowOf(watched)).content().title, "another title");
}

TEST_F(ListStory, WhileHiddenFetchesNothingAndCatchesUp) {
    open();
    list->hide();
    storeDue({"tea"});
    advance();
    EXPECT_THAT(shown(), IsEmpty());
    list->show();
    advance();
    EXPECT_THAT(shown(), ElementsAre("#In your stack", "tea"));
}

// ---- selection and the bulk bar

TEST_F(ListStory, SelectsWithoutHeadingsAndShowsTheBarForTwo) {
    storeDue({"a", "b", "c"});
    storeFuture("d", "2026-01-15T09:00:00Z");
    open();
    click("b");
    EXPECT_THAT(selected(), ElementsAre("b"));
    EXPECT_FALSE(list->actionsBar().isShown());
    EXPECT_EQ(table().bottomInset(), 20);
    click("d", Qt::ShiftModifier);
    EXPECT_THAT(selected(), ElementsAre("b", "c", "d"));
    EXPECT_TRUE(list->actionsBar().isShown());
    EXPECT_EQ(list->actionsBar().geometry().bottom(), list->rect().bottom());
    EXPECT_EQ(table().bottomInset(), 70);
    EXPECT_EQ(title(), "3 selected");
    click("c", Qt::ControlModifier);
    EXPECT_THAT(selected(), ElementsAre("b", "d"));
    click("b");  // one of several selected: the others go with the release
    EXPECT_THAT(selected(), ElementsAre("b"));
    EXPECT_FALSE(list->actionsBar().isVisible());
    EXPECT_EQ(title(), "Reminders");

    press(Qt::Key_A, Qt::ControlModifier);
    EXPECT_THAT(selected(), ElementsAre("a", "b", "c", "d"));
    EXPECT_TRUE(list->handleCancelOperation());
    EXPECT_THAT(selected(), IsEmpty());
    EXPECT_FALSE(list->handleCancelOperation());
    const QPoint heading = table().viewport()->mapTo(&window, table().rectOfRow(0).center());
    click("b");
    QTest::mouseClick(window.windowHandle(), Qt::LeftButton, {}, heading);
    EXPECT_THAT(selected(), IsEmpty());
}

TEST_F(ListStory, DeletesTheSelectionAndTellsTheDeckOnceItIsDurable) {
    storeDue({"a", "b", "c"});
    storeFuture("d", "2026-01-15T09:00:00Z");
    open();
    Strings storedWhenTold;
    const auto observation = notifications.addObserver(ZNListViewUpdatedNotification,
                                                       [&](const NSNotification&) { storedWhenTold = storedIDs(); });
    click("b");
    click("d", Qt::ControlModifier);
    QTest::mouseClick(&list->actionsBar().bulkDeleteButton(), Qt::LeftButton);
    EXPECT_THAT(shown(), ElementsAre("#In your stack", "a", "c"));  // ahead of the store
    advance();
    EXPECT_THAT(storedIDs(), testing::UnorderedElementsAre("a", "c"));
    EXPECT_THAT(storedWhenTold, testing::UnorderedElementsAre("a", "c"));
    EXPECT_FALSE(list->actionsBar().isShown());

    click("a");
    press(Qt::Key_Delete);
    EXPECT_THAT(storedIDs(), ElementsAre("c"));
}

TEST_F(ListStory, CompletesManyInPortionsPassingOverWhatHasGone) {
    Strings many;
    for (int i = 0; i < 250; ++i)
        many.push_back(fmt::format("r{:03}", i));
    storeDue(many);
    auto weekly = dated("weekly", "2026-01-14T08:00:00Z");
    weekly.repeat_type = RepeatType::weekly;
    store(weekly);
    open();
    press(Qt::Key_A, Qt::ControlModifier);
    // Another program is quicker with two of them.
    database.removeReminder(stored("r007"));
    auto done = stored("r008");
    done->setCompleted_date(at("2026-01-01T00:00:00Z"));
    database.updateReminder(done, ShouldUpdateDateModified::No);
    database.waitForWrites();
    list->onBulkComplete();
    EXPECT_THAT(shown(), IsEmpty());
    advance();
    EXPECT_THAT(manager.fetchAllCompletedReminders(), SizeIs(250));  // with the copy of the weekly one
    EXPECT_EQ(stored("r008")->completed_date(), at("2026-01-01T00:00:00Z"));
    EXPECT_EQ(stored("weekly")->fire_date(), at("2026-01-21T08:00:00Z"));
    EXPECT_EQ(shown().back(), "weekly");
    EXPECT_THAT(posted, ElementsAre("ListViewUpdatedNotification"));
}

// ---- search

TEST_F(ListStory, SearchesTitlesWithoutRegardToCaseAndAccents) {
    storeDue({"Café au lait", "tea"});
    storeFuture("Visit the CAFE", "2026-01-15T09:00:00Z");
    open();
    notifications.postNotificationName(ZNListViewShouldSearchNotification);
    EXPECT_TRUE(list->searchBar().searchField().hasFocus());
    advance();
    EXPECT_FALSE(list->toolbar().isVisible());
    type("cafe");
    EXPECT_THAT(shown(), ElementsAre("#In your stack", "Café au lait", "#Tomorrow", "Visit the CAFE"));
    storeDue({"another cafe"});  // what comes from elsewhere is filtered, too
    advance();
    EXPECT_THAT(shown(), Contains("another cafe"));
    type(" x");
    EXPECT_TRUE(list->showsZeroState());
    list->searchBar().onClear();
    advance();
    EXPECT_THAT(shown(), SizeIs(6));
    EXPECT_TRUE(list->isSearchActive());

    type("tea");
    press(Qt::Key_Down);
    EXPECT_TRUE(table().hasFocus());
    EXPECT_TRUE(list->handleCancelOperation());
    EXPECT_TRUE(list->leftButton().hasFocus());
    advance();
    EXPECT_FALSE(list->searchBar().isVisible());
    EXPECT_TRUE(list->toolbar().isVisible());
    EXPECT_THAT(shown(), SizeIs(6));
}

// ---- single rows

TEST_F(ListStory, TheLastRowOfASectionTakesItsTitleWithIt) {
    storeDue({"a", "b"});
    storeFuture("c", "2026-01-15T09:00:00Z");
    open();
    EXPECT_THAT(choose("a", "Complete"), ElementsAre("Complete", "Share…", "Copy", "Delete"));
    EXPECT_THAT(shown(), ElementsAre("#In your stack", "b", "#Tomorrow", "c"));
    choose("b", "Complete");
    EXPECT_THAT(shown(), ElementsAre("#Tomorrow", "c"));
    choose("c", "Delete");
    EXPECT_THAT(shown(), IsEmpty());
    EXPECT_TRUE(list->showsZeroState());
    EXPECT_THAT(posted, ElementsAre("UserUpdatedReminderNotification a", "UserUpdatedReminderNotification b",
                                    "UserDeletedReminderNotification c"));
    EXPECT_TRUE(stored("a")->completed_date());
    EXPECT_FALSE(stored("c"));
}

TEST_F(ListStory, UndoingTheOnlyOneOfAMonthEmptiesTheListUntilTheStoreTells) {
    storeCompleted("dec", "2025-12-20T09:00:00Z");
    storeCompleted("jan1", "2026-01-03T09:00:00Z");
    storeCompleted("jan2", "2026-01-02T09:00:00Z");
    open();
    list->segmentControl().onSetSelectedSegment(1);
    advance();
    ASSERT_THAT(shown(), ElementsAre("#January 2026", "jan1", "jan2", "#December 2025", "dec"));
    list->shouldUndoCompleteWithReminder(stored("jan1"), nullptr);
    EXPECT_THAT(shown(), ElementsAre("#January 2026", "jan2", "#December 2025", "dec"));
    advance();
    list->shouldUndoCompleteWithReminder(stored("dec"), nullptr);
    EXPECT_THAT(shown(), IsEmpty());
    EXPECT_TRUE(list->showsZeroState());
    advance();
    EXPECT_THAT(shown(), ElementsAre("#January 2026", "jan2"));
    EXPECT_FALSE(stored("dec")->completed_date());
}

TEST_F(ListStory, WhatHasGoneWhileItsMenuWasOpenIsLeftAlone) {
    storeDue({"gone", "changed", "done", "stays"});
    auto weekly = dated("weekly", "2026-01-13T08:00:00Z");
    weekly.repeat_type = RepeatType::weekly;
    store(weekly);
    open();
    choose("gone", "Complete", [&] {
        database.removeReminder(stored("gone"));
        database.waitForWrites();
    });
    EXPECT_FALSE(stored("gone"));
    choose("changed", "Complete", [&] {
        auto fresh = stored("changed");
        fresh->setNotes("from elsewhere");
        database.updateReminder(fresh, ShouldUpdateDateModified::No);
        database.waitForWrites();
    });
    EXPECT_EQ(stored("changed")->notes(), "from elsewhere");
    EXPECT_TRUE(stored("changed")->completed_date());
    choose("done", "Complete", [&] {
        auto fresh = stored("done");
        fresh->setCompleted_date(at("2026-01-01T00:00:00Z"));
        database.updateReminder(fresh, ShouldUpdateDateModified::No);
        database.waitForWrites();
    });
    EXPECT_EQ(stored("done")->completed_date(), at("2026-01-01T00:00:00Z"));
    choose("weekly", "Complete", [&] {
        manager.completeReminder(stored("weekly"));
        database.waitForWrites();
    });
    EXPECT_EQ(stored("weekly")->fire_date(), at("2026-01-20T08:00:00Z")) << "only the date that was shown is done";
    EXPECT_THAT(shown(), ElementsAre("#In your stack", "stays", "#Tuesday", "weekly"));
    EXPECT_THAT(posted, ElementsAre("UserUpdatedReminderNotification changed"));
}

TEST_F(ListStory, OpensCopiesSharesAndWakes) {
    storeDue({"a", "b"});
    auto asleep = dated("asleep", "2026-01-14T09:00:00Z");
    asleep.fire_date = at("2026-01-15T09:00:00Z");
    store(asleep);
    open();
    EXPECT_EQ(table().cell(rowOf("asleep")).content().snoozeLabel, "SNOOZED");
    QTest::mouseDClick(window.windowHandle(), Qt::LeftButton, {}, pointIn("a"));
    choose("b", "Share…");
    EXPECT_THAT(posted, ElementsAre("EditControllerRequested a", "ShareControllerRequested b"));
    choose("b", "Copy");
    EXPECT_TRUE(QGuiApplication::clipboard()->text().startsWith("b\nDue "));
    click("a");
    click("b", Qt::ShiftModifier);
    press(Qt::Key_C, Qt::ControlModifier);
    EXPECT_TRUE(QGuiApplication::clipboard()->text().contains("\n\nb\nDue "));
    choose("asleep", "Cancel Snooze");
    EXPECT_FALSE(stored("asleep")->onGetIsSnoozed());
    EXPECT_THAT(shown(), SizeIs(4));
}

}  // namespace
}  // namespace zun
