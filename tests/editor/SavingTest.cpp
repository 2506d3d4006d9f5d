#include "editor/EditorWorld.h"
#include "editor/SuggestionChip.h"

namespace zun {
namespace {

class SavingTest : public EditorWorld {
  protected:
    SavingTest() {
        for (const auto name : {ZNUserAddedReminderNotification, ZNUserUpdatedReminderNotification})
            observations.push_back(notifications.addObserver(
                name, [this](const NSNotification& each) { posted.emplace_back(each.name); }));
    }
    std::vector<std::string> posted;
    std::vector<Observation> observations;
};

TEST_F(SavingTest, ANewReminderIsStoredOnceWithWhatWasTyped) {
    open();
    type("Feed the cat");
    editor->onRightButtonPress();
    editor->onRightButtonPress();  // while it is leaving
    settle();
    ASSERT_TRUE(only());
    EXPECT_EQ(only()->title(), "Feed the cat");
    EXPECT_EQ(only()->created_date(), OptionalDate(environment.now()));
    EXPECT_EQ(posted, std::vector<std::string>{std::string(ZNUserAddedReminderNotification)});
    EXPECT_EQ(dismissals, 1);
}

TEST_F(SavingTest, WhatCannotBeSavedStaysOpen) {
    open();
    notifications.postNotificationName(ZNSaveCardMenuActionNotification);
    EXPECT_EQ(dismissals, 0);
    EXPECT_FALSE(editor->reminderTitle().accessibleDescription().isEmpty()) << "the shaking, for those who hear";
    EXPECT_TRUE(editor->reminderTitle().hasFocus());
    type(" ");
    EXPECT_TRUE(editor->reminderTitle().accessibleDescription().isEmpty());
    notifications.postNotificationName(ZNSaveCardMenuActionNotification);
    EXPECT_EQ(dismissals, 1);
    settle();
    EXPECT_TRUE(only());
}

TEST_F(SavingTest, WhatNoServiceWouldTakeIsRefusedAndKept) {
    open();
    type("Novel");
    editor->reminderNotes().setString(QString(1'000'001, u'w'));
    editor->onRightButtonPress();
    EXPECT_EQ(dismissals, 0);
    EXPECT_TRUE(editor->rightButton().toolTip().contains("shorten")) << editor->rightButton().toolTip().toStdString();
    editor->onLeftButtonPress();
    const auto draft = drafts.draftForNewReminder([](const std::string&) { return false; });
    ASSERT_TRUE(draft);
    EXPECT_EQ(draft->edited.notes.value_or("").size(), 1'000'001);
}

TEST_F(SavingTest, ReturnSavesOnlyWhereTheUserWantsThat) {
    open();
    type("one");
    press(Qt::Key_Return);
    EXPECT_EQ(editor->reminderTitle().string(), "one");
    editor->reminderNotes().setFocus();
    press(Qt::Key_Return);
    EXPECT_EQ(editor->reminderNotes().string(), "\n");
    settings.setShouldUseReturnKeyToSave(true);
    press(Qt::Key_Return);
    EXPECT_EQ(dismissals, 1);
    settle();
    ASSERT_TRUE(only());
    EXPECT_EQ(only()->notes(), "\n");
}

TEST_F(SavingTest, WhatOthersChangedMeanwhileIsNotLost) {
    auto record = dated("a", "2026-01-20T09:00:00Z");
    record.checklist = "[ ] Milk";
    open(store(record)->copy());
    type("!");
    const auto elsewhere = stored("a");
    elsewhere->setNotes("by zunctl");
    elsewhere->setCompleted_date(environment.now());
    manager.updateReminder(elsewhere, ShouldUpdateDateModified::Yes, ShouldSyncWithiCloud::No);
    settle();
    save();
    EXPECT_EQ(stored("a")->title(), "a!");
    EXPECT_EQ(stored("a")->notes(), "by zunctl");
    EXPECT_TRUE(stored("a")->completed_date());
    EXPECT_EQ(posted, std::vector<std::string>{std::string(ZNUserUpdatedReminderNotification)});
}

TEST_F(SavingTest, ARowThatHasGoneIsSavedAsANewOne) {
    const auto row = store(dated("a", "2026-01-20T09:00:00Z"));
    open(row->copy());
    manager.deleteReminder(row, ShouldSyncWithiCloud::No);
    settle();
    save();
    ASSERT_TRUE(only());
    EXPECT_NE(only()->reminderID(), "a");
    EXPECT_EQ(only()->title(), "a");
    EXPECT_EQ(posted, std::vector<std::string>{std::string(ZNUserAddedReminderNotification)});
}

TEST_F(SavingTest, ACancelledEditInMemoryIsSavedByTheNextOne) {
    const auto top = store(dated("a", "2026-01-20T09:00:00Z"));
    open(top);
    editor->dateSection().repeatSelector().activated(1);
    editor->onLeftButtonPress();
    EXPECT_EQ(stored("a")->repeat_type(), RepeatType::none);
    open(top);
    EXPECT_EQ(editor->model().rowForRepeatType(), 1);
    save();
    EXPECT_EQ(stored("a")->repeat_type(), RepeatType::daily);
}

TEST_F(SavingTest, TextOfAClosedEditorIsOfferedAgain) {
    open();
    type("half a thought");
    editor->onLeftButtonPress();
    open();
    ASSERT_FALSE(editor->suggestionChip().isHidden());
    EXPECT_EQ(editor->suggestionChip().suggestion(), "Continue draft: half a thought");
    EXPECT_EQ(editor->reminderTitle().string(), "");
    press(Qt::Key_Escape);
    EXPECT_TRUE(editor->suggestionChip().isHidden());
    EXPECT_EQ(dismissals, 0);

    editor.reset();  // quitting with nothing typed keeps the draft
    open();
    press(Qt::Key_Return, Qt::ControlModifier);
    EXPECT_EQ(editor->reminderTitle().string(), "half a thought");
    type(", whole now");
    editor.reset();  // quitting
    open();
    press(Qt::Key_Return, Qt::ControlModifier);
    EXPECT_EQ(editor->reminderTitle().string(), "half a thought, whole now");
    save();
    open();
    EXPECT_TRUE(editor->suggestionChip().isHidden());
}

TEST_F(SavingTest, AKilledProgramLosesNoMoreThanTwoSeconds) {
    const auto onDisk = [this] {
        EditorDrafts next(folder.path() / "state", environment, dispatch);
        const auto draft = next.draftForNewReminder([](const std::string&) { return true; });
        return draft ? draft->edited.title + "/" + draft->edited.checklist.value_or("") : "none";
    };
    open();
    advance(5000);
    EXPECT_EQ(onDisk(), "none");
    for (const char* letter : {"a", "b", "c", "d"}) {  // without a pause
        type(letter);
        advance(900);
    }
    EXPECT_EQ(onDisk(), "abc/");
    editor->checklist().replaceCharactersInRange({0, 0}, "milk");
    advance(2000);
    EXPECT_EQ(onDisk(), "abcd/[ ]milk");
    type("e");
    save();
    advance(5000);
    EXPECT_EQ(onDisk(), "none");
    EXPECT_EQ(only()->title(), "abcde");

    ReminderAttributes fromLink;
    fromLink.title = "from a link";
    open(std::make_shared<ZNReminderObject>(fromLink));
    advance(2000);
    EXPECT_EQ(onDisk(), "from a link/") << "which is stored nowhere else";
    save();
    EXPECT_EQ(onDisk(), "none");

    open();
    type("x");
    advance(2000);
    EXPECT_EQ(onDisk(), "x/");
    press(Qt::Key_Backspace);
    advance(2000);
    EXPECT_EQ(onDisk(), "none");
}

TEST_F(SavingTest, ADraftOfAReminderGoesOnFromWhatItIsNow) {
    open(store(dated("a", "2026-01-20T09:00:00Z"))->copy());
    type("!");
    editor->onLeftButtonPress();
    const auto elsewhere = stored("a");
    elsewhere->setNotes("newer");
    manager.updateReminder(elsewhere, ShouldUpdateDateModified::Yes, ShouldSyncWithiCloud::No);
    settle();
    open();
    EXPECT_TRUE(editor->suggestionChip().isHidden());  // it belongs to its reminder
    open(stored("a"));
    press(Qt::Key_Return, Qt::ControlModifier);
    EXPECT_EQ(editor->reminderTitle().string(), "a!");
    EXPECT_EQ(editor->reminderNotes().string(), "newer");
    save();
    EXPECT_EQ(stored("a")->title(), "a!");
    EXPECT_EQ(stored("a")->notes(), "newer");
    EXPECT_FALSE(drafts.draftForReminder("a"));
}

}  // namespace
}  // namespace zun
