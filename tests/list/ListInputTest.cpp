#include <QAccessible>

#include "list/ListWorld.h"
#include "list/ReorderRules.h"

namespace zun {
namespace {

class ListInput : public ListWorld {
  protected:
    ListInput() {
        storeDue({"a", "b", "c", "d", "e"});
        store(dated("later", "2026-01-15T09:00:00Z"));
    }
    // Gives the reminders these places, whatever happened before.
    void order(const Strings& identifiers) {
        for (std::size_t i = 0; i < identifiers.size(); ++i) {
            auto reminder = stored(identifiers[i]);
            reminder->setRank(static_cast<std::int64_t>(identifiers.size() - i));
            manager.updateReminder(reminder, ShouldUpdateDateModified::No, ShouldSyncWithiCloud::No);
        }
        table().deselectAll();
        advance();
        posted.clear();
    }
    Strings dueRows() const {
        Strings due = shown();
        return {due.begin() + 1, due.begin() + 6};
    }
    // By rank, the highest first; what has none is left out.
    Strings ranked() const {
        std::map<std::int64_t, std::string, std::greater<>> byRank;
        for (const auto& reminder : manager.fetchAllReminders())
            if (reminder->rank() > 0) byRank[reminder->rank()] = *reminder->reminderID();
        Strings all;
        for (const auto& [rank, reminderID] : byRank)
            all.push_back(reminderID);
        return all;
    }
};

TEST_F(ListInput, RowsThatAreDueMoveByTheMouse) {
    open();
    struct Case {
        const char* what;
        Strings selection;
        const char* dragged;
        const char* above;
        Strings order;  // empty where nothing may happen
    };
    const std::vector<Case> cases = {
        {"up", {}, "d", "b", {"a", "d", "b", "c", "e"}},
        {"down lands below the row it was dropped above", {}, "a", "c", {"b", "c", "a", "d", "e"}},
        {"above the last is out of reach", {}, "c", "e", {}},
        {"below the last, too", {}, "c", "later", {}},
        {"a row that is not due stays", {}, "later", "b", {}},
        {"of several the last one moves", {"b", "d"}, "b", "a", {"d", "a", "b", "c", "e"}},
        {"of several with one that must stay none moves", {"b", "later"}, "b", "d", {}},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        order({"a", "b", "c", "d", "e"});
        for (const auto& one : each.selection)
            click(one, Qt::ControlModifier);
        dragTo(each.dragged, above(each.above));
        dropAt(above(each.above));
        EXPECT_FALSE(table().isDragging());
        EXPECT_EQ(posted, each.order.empty() ? Strings() : Strings{"ListViewUpdatedNotification"});
        const Strings expected = each.order.empty() ? Strings{"a", "b", "c", "d", "e"} : each.order;
        EXPECT_EQ(ranked(), expected);
        EXPECT_EQ(dueRows(), expected);
        list->fetchData();
        advance();
        EXPECT_EQ(dueRows(), expected);
    }
}

TEST_F(ListInput, ADragBearsThatItsRowGoesOrIsCancelled) {
    open();
    dragTo("d", above("b"));
    ASSERT_TRUE(table().isDragging());
    EXPECT_EQ(table().dropRow(), rowOf("b"));
    press(Qt::Key_Escape);
    dropAt(above("b"));
    EXPECT_THAT(ranked(), IsEmpty());

    dragTo("d", above("b"));
    manager.deleteReminder(stored("d"), ShouldSyncWithiCloud::No);
    advance();
    dropAt(above("b"));
    EXPECT_THAT(ranked(), IsEmpty());

    dragTo("c", above("b"));
    auto snoozed = stored("c");
    manager.snoozeReminder(snoozed, at("2026-01-15T10:00:00Z"));
    advance();
    dropAt(above("b"));
    EXPECT_THAT(ranked(), IsEmpty());

    // Rows that come while a row is dragged change nothing about which one it is.
    dragTo("e", above("a"));
    storeDue({"new"});
    advance();
    dropAt(above("a"));
    EXPECT_EQ(ranked().size(), 4U);
    EXPECT_EQ(rowOf("e") + 1, rowOf("a"));
    EXPECT_THAT(posted, ElementsAre("ListViewUpdatedNotification"));
}

TEST_F(ListInput, MovesByKeysUnderTheSameRules) {
    open();
    click("c");
    press(Qt::Key_Up, Qt::AltModifier);
    press(Qt::Key_Up, Qt::AltModifier);
    EXPECT_THAT(ranked(), ElementsAre("c", "a", "b", "d", "e"));
    press(Qt::Key_Up, Qt::AltModifier);  // it is the first
    for (int i = 0; i < 6; ++i)
        press(Qt::Key_Down, Qt::AltModifier);
    EXPECT_THAT(ranked(), ElementsAre("a", "b", "d", "c", "e"));
    EXPECT_THAT(selected(), ElementsAre("c"));
    click("later");
    press(Qt::Key_Up, Qt::AltModifier);
    EXPECT_EQ(shown().back(), "later");
}

TEST_F(ListInput, KeysGoAndSelectAcrossHeadings) {
    open();
    struct Step {
        int key;
        Qt::KeyboardModifiers modifiers;
        Strings selected;
        const char* current;
    };
    const Qt::KeyboardModifiers shift = Qt::ShiftModifier, control = Qt::ControlModifier;
    const std::vector<Step> steps = {
        {Qt::Key_Up, {}, {"a"}, "a"},  // the first one has the attention as soon as the table has the focus
        {Qt::Key_Down, shift, {"a", "b"}, "b"},
        {Qt::Key_End, {}, {"later"}, "later"},
        {Qt::Key_Up, shift, {"e", "later"}, "e"},
        {Qt::Key_Home, control, {"e", "later"}, "a"},
        {Qt::Key_Space, control, {"a", "e", "later"}, "a"},
        {Qt::Key_End, shift, {"a", "b", "c", "d", "e", "later"}, "later"},
        {Qt::Key_PageUp, {}, {"a"}, "a"},
        {Qt::Key_PageDown, {}, {"later"}, "later"},
    };
    table().setFocus(Qt::TabFocusReason);
    for (std::size_t i = 0; i < steps.size(); ++i) {
        SCOPED_TRACE(i);
        press(steps[i].key, steps[i].modifiers);
        EXPECT_EQ(selected(), steps[i].selected);
        EXPECT_EQ(table().rows().reminderID(*table().selection().current), steps[i].current);
    }
    press(Qt::Key_Return);
    EXPECT_THAT(posted, ElementsAre("EditControllerRequested later"));
    press(Qt::Key_Menu);
    EXPECT_NE(list->findChild<QMenu*>(), nullptr);
}

TEST_F(ListInput, IsReadAsAListOfItems) {
    auto asleep = dated("asleep", "2026-01-14T09:00:00Z");
    asleep.fire_date = at("2026-01-16T09:00:00Z");
    store(asleep);
    open();
    click("b");
    auto* spoken = QAccessible::queryAccessibleInterface(&table());
    ASSERT_NE(spoken, nullptr);
    EXPECT_EQ(spoken->role(), QAccessible::List);
    EXPECT_EQ(spoken->text(QAccessible::Name), "Upcoming");
    ASSERT_EQ(spoken->childCount(), static_cast<int>(shown().size()));
    EXPECT_EQ(spoken->child(0)->role(), QAccessible::Heading);
    EXPECT_EQ(spoken->child(0)->text(QAccessible::Name), "In your stack");

    auto* item = spoken->child(static_cast<int>(rowOf("b")));
    EXPECT_EQ(item->role(), QAccessible::ListItem);
    EXPECT_TRUE(item->text(QAccessible::Name).startsWith("b, Due "));
    EXPECT_TRUE(item->state().selected && item->state().focused && item->state().selectable);
    EXPECT_EQ(spoken->focusChild(), item);
    EXPECT_EQ(spoken->indexOfChild(item), static_cast<int>(rowOf("b")));
    const QPoint middle = item->rect().center();
    EXPECT_EQ(spoken->childAt(middle.x(), middle.y()), item);
    EXPECT_TRUE(spoken->child(static_cast<int>(rowOf("asleep")))->text(QAccessible::Name).endsWith(", SNOOZED"));

    // The item is the reminder's, wherever it stands.
    manager.deleteReminder(stored("a"), ShouldSyncWithiCloud::No);
    advance();
    EXPECT_EQ(spoken->child(static_cast<int>(rowOf("b"))), item);
    auto* actions = item->actionInterface();
    EXPECT_FALSE(actions->actionNames().contains("MoveUp"));  // it is the first now
    EXPECT_EQ(actions->localizedActionName("MoveDown"), "Move down");
    actions->doAction("MoveDown");
    advance();
    EXPECT_THAT(ranked(), ElementsAre("c", "b", "d", "e"));
    actions->doAction(QAccessibleActionInterface::toggleAction());
    EXPECT_FALSE(item->state().selected);
    actions->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(posted.back(), "EditControllerRequested b");
    actions->doAction(QAccessibleActionInterface::showMenuAction());
    EXPECT_NE(list->findChild<QMenu*>(), nullptr);

    manager.deleteReminder(stored("b"), ShouldSyncWithiCloud::No);
    advance();
    EXPECT_FALSE(item->isValid());
}

}  // namespace
}  // namespace zun
