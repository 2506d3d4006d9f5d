#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "checklist/ZNChecklistTextView.h"
#include "checklist/ZNChecklistViewController.h"
#include "core/NotificationNames.h"
#include "editor/SuggestionChip.h"
#include "editor/ZNEditViewController.h"
#include "shell/AppWorld.h"
#include "shell/Screens.h"

namespace zun {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using TopScreen = ZNTabViewController::TopScreen;

// The application with its real screens, and what becomes of them when they are left, or the program is.
class InterruptedScreensTest : public testing::Test, public AppWorld {
  protected:
    InterruptedScreensTest() { screens = made.makers(); }
    ~InterruptedScreensTest() override { app.reset(); }

    void SetUp() override {
        store(dated("errand", "2026-01-14T07:00:00Z"));
        auto shop = dated("shop", "2026-01-14T08:00:00Z");
        shop.checklist = "[ ]milk\n[ ]bread";
        store(shop);
        launch();
        ASSERT_THAT(deck(), ElementsAre("shop", "errand"));
    }
    ZNEditViewController& openEditor(std::string_view command = ZNNewReminderMenuActionNotification) {
        notifications.postNotificationName(command);
        advance(1s);
        return dynamic_cast<ZNEditViewController&>(*app->root().topScreen(TopScreen::Editor));
    }
    void openChecklistAndTick() {
        notifications.postNotificationName(ZNChecklistRequestedNotification,
                                           app->root().cardController().topCardReminder());
        advance(1s);
        auto& screen = dynamic_cast<ZNChecklistViewController&>(*app->root().topScreen(TopScreen::Checklist));
        screen.checklist().toggleCheckButton(1);
    }
    [[nodiscard]] std::string storedChecklist() {
        settle();
        return stored("shop")->checklist().value_or("");
    }
    // As the next run of the program finds it.
    [[nodiscard]] std::string draftOnDisk() {
        EditorDrafts next(home.state, environment, dispatch);
        const auto draft = next.draftForNewReminder([](const std::string&) { return true; });
        return draft ? draft->edited.title : "none";
    }

    QuickEntryReader quickEntry{environment, settings, strings};
    Screens made{{manager, environment, dispatch, strings, labels, quickEntry, home.state}};
};

// The command hands the editor the card's own object, everything else a copy of it.
TEST_F(InterruptedScreensTest, ACancelledEditOfTheTopCardIsStoredByALaterSkip) {
    notifications.postNotificationName(ZNEditControllerRequested, app->root().cardController().topCardReminder());
    advance(1s);
    auto& ofCopy = dynamic_cast<ZNEditViewController&>(*app->root().topScreen(TopScreen::Editor));
    ofCopy.dateSection().onADateLabel().click();
    app->root().cancelOperation();
    advance(1s);
    EXPECT_TRUE(app->root().cardController().topCardReminder()->start_date());

    auto& editor = openEditor(ZNEditTopCardMenuActionNotification);
    QTest::keyClicks(&editor.reminderTitle(), "!");
    editor.dateSection().repeatSelector().activated(1);
    editor.dateSection().timePicker().setDateValue(at("2026-01-14T06:00:00Z"));
    emit editor.dateSection().timePicker().didChange();
    app->root().cancelOperation();
    advance(1s);
    EXPECT_EQ(stored("shop")->repeat_type(), RepeatType::none) << "cancelling stores nothing";
    EXPECT_EQ(stored("shop")->due_date(), OptionalDate(at("2026-01-14T08:00:00Z")));

    notifications.postNotificationName(ZNSkipTopCardMenuActionNotification);
    advance(1s);
    EXPECT_THAT(deck(), ElementsAre("errand", "shop"));
    const auto skipped = stored("shop");
    EXPECT_EQ(skipped->repeat_type(), RepeatType::daily);
    for (const auto& date : {skipped->start_date(), skipped->due_date(), skipped->fire_date()})
        EXPECT_EQ(date, OptionalDate(at("2026-01-14T06:00:00Z")));
    EXPECT_EQ(skipped->title(), "shop") << "the title stays with its field until it is saved";
    EXPECT_EQ(stored("errand")->due_date(), OptionalDate(at("2026-01-14T07:00:00Z")));
}

TEST_F(InterruptedScreensTest, NothingWrittenIsLostWhenTheProgramOrTheModeEnds) {
    QTest::keyClicks(&openEditor().reminderTitle(), "half a thought");
    EXPECT_EQ(draftOnDisk(), "none");
    app->sessionEnds();
    EXPECT_EQ(draftOnDisk(), "half a thought");
    setShowInMenubar(true);
    auto& offered = openEditor();
    EXPECT_EQ(offered.suggestionChip().suggestion(), "Continue draft: half a thought");
    QTest::keyClick(&offered.reminderTitle(), Qt::Key_Return, Qt::ControlModifier);
    QTest::keyClicks(&offered.reminderTitle(), ", whole");
    setShowInMenubar(false);
    EXPECT_EQ(draftOnDisk(), "half a thought, whole");
    app.reset();
    EXPECT_EQ(draftOnDisk(), "half a thought, whole");
}

TEST_F(InterruptedScreensTest, TicksAreStoredWhateverEndsFirst) {
    openChecklistAndTick();
    EXPECT_EQ(storedChecklist(), "[ ]milk\n[ ]bread") << "ten seconds after the last one";
    app->sessionEnds();
    EXPECT_EQ(storedChecklist(), "[ ]milk\n[x]bread");
    app->root().cancelOperation();
    advance(1s);
    openChecklistAndTick();
    setShowInMenubar(true);
    EXPECT_EQ(storedChecklist(), "[ ]milk\n[ ]bread");
    openChecklistAndTick();
    app.reset();
    EXPECT_EQ(storedChecklist(), "[ ]milk\n[x]bread");
}

TEST_F(InterruptedScreensTest, AScreenUnderAnotherOneGoesOnAndCanBeLeftAtTheSameTime) {
    openChecklistAndTick();
    auto* below = app->root().topScreen(TopScreen::Checklist);
    openEditor();
    app->root().cancelOperation();
    advance(1s);
    EXPECT_FALSE(app->root().topScreen(TopScreen::Editor));
    EXPECT_TRUE(below->isVisible());
    EXPECT_FALSE(app->menuBarController().completeItem().isEnabled()) << "of a card that nobody sees";

    openEditor();
    app->root().cancelOperation();
    advance(100ms);
    below->onRightButtonPress();
    advance(2s);
    EXPECT_FALSE(app->root().topScreen(TopScreen::Editor));
    EXPECT_FALSE(app->root().topScreen(TopScreen::Checklist));
    EXPECT_TRUE(app->menuBarController().completeItem().isEnabled());
    EXPECT_EQ(storedChecklist(), "[ ]milk\n[x]bread");
}

}  // namespace
}  // namespace zun
