#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cards/ZNCardView.h"
#include "core/NotificationNames.h"
#include "shell/ShellToolbar.h"
#include "shell/ShellWorld.h"

namespace zun {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::chrono_literals;
using TopScreen = ZNTabViewController::TopScreen;

// A screen with a card that can be cancelled, and takes notes of what is asked of it.
class SmallScreen final : public ZNBaseViewController {
  public:
    SmallScreen(const CardContext& cards, std::vector<std::string>& notes, QWidget* parent)
        : ZNBaseViewController(cards, parent), _notes(notes), _card(new ZNCardView(cards.animations, this)) {}
    void prepareViews() override { _notes.push_back("prepare"); }
    void setConstraints() override { _notes.push_back("constrain"); }
    void customizeViews() override { _notes.push_back("customize"); }
    void configureAccessibilityValues() override { _notes.push_back("accessibility"); }
    void onLeftButtonPress() override { dismiss(); }
    [[nodiscard]] bool hasCard() const override { return true; }
    [[nodiscard]] ZNCardView* card() const override { return _card; }

  private:
    std::vector<std::string>& _notes;
    ZNCardView* _card;
};

class SmallList final : public ListScreen {
  public:
    SmallList(const CardContext& cards, int& fetches, QWidget* parent) : ListScreen(cards, parent), _fetches(fetches) {}
    void fetchData() override { ++_fetches; }
    bool handleCancelOperation() override { return false; }
    void minutePassed() override {}

  private:
    int& _fetches;
};

class ScreensTest : public testing::Test, public ShellWorld {
  protected:
    ScreensTest() : ShellWorld(makers(this)) {
        for (const auto name :
             {ZNDisableCardControllerMenuActionsNotification, ZNEnableCardControllerMenuActionsNotification,
              ZNDisableEditControllerMenuActionsNotification, ZNEnableEditControllerMenuActionsNotification,
              ZNDisableNewReminderMenuActionsNotification, ZNEnableNewReminderMenuActionsNotification,
              ZNListViewShouldSearchNotification}) {
            observations.push_back(notifications.addObserver(name, [this, name](const NSNotification&) {
                posted.emplace_back(name.substr(std::string_view("com.zunlabs.ZN").size()));
            }));
        }
    }
    void SetUp() override {
        store(dated("errand", "2026-01-14T07:00:00Z"));
        store(dated("call", "2026-01-14T08:00:00Z"));
        open();
        posted.clear();
    }
    // As the commands stand: N new, S save, E edit, C complete, L list.
    [[nodiscard]] std::string enabled() {
        std::string all;
        for (const auto& [letter, item] : {std::pair{'N', &menu.addReminderMenuItem()},
                                           {'S', &menu.saveItem()},
                                           {'E', &menu.editItem()},
                                           {'C', &menu.completeItem()},
                                           {'L', &menu.showListItem()}}) {
            if (item->isEnabled()) all += letter;
        }
        return all;
    }
    static ScreenMakers makers(ScreensTest* test) {
        const auto make = [test](const CardContext& cards, const ReminderPtr& reminder, QWidget* parent) {
            test->shownReminder = reminder;
            return test->screen = new SmallScreen(cards, test->notes, parent);
        };
        return {make, make, make, {}, [test](const CardContext& cards, QWidget* parent) {
                    return new SmallList(cards, test->fetches, parent);
                }};
    }

    ReminderPtr shownReminder;
    QPointer<SmallScreen> screen;
    std::vector<std::string> notes, posted;
    int fetches = 0;
    std::vector<Observation> observations;
};

TEST_F(ScreensTest, AScreenComesAndGoesInOrder) {
    EXPECT_EQ(enabled(), "NECL");
    QTest::keyClick(window.windowHandle(), Qt::Key_N, Qt::ControlModifier);
    EXPECT_THAT(notes, ElementsAre("prepare", "constrain", "customize", "accessibility"));
    EXPECT_THAT(posted, ElementsAre("DisableCardControllerMenuActionsNotification",
                                    "EnableEditControllerMenuActionsNotification",
                                    "DisableNewReminderMenuActionsNotification"));
    EXPECT_EQ(enabled(), "S");
    EXPECT_TRUE(tabs->cardController().isVisible()) << "it fades first";
    EXPECT_GT(screen->card()->y(), tabs->height());
    advance(200ms);
    const auto centre = [&] { return screen->card()->geometry().center().y() - screen->rect().center().y(); };
    EXPECT_NEAR(centre(), 20, 1);
    advance(300ms);
    EXPECT_NEAR(centre(), 30, 1);
    EXPECT_FALSE(tabs->cardController().isVisible() || tabs->toolbar().isVisible());

    // What is under it takes no commands.
    for (const auto name : {ZNCompleteTopCardMenuActionNotification, ZNListViewMenuActionNotification,
                            ZNNewReminderMenuActionNotification})
        notifications.postNotificationName(name);
    tabs->toolbar().listViewButton().click();
    advance(1s);
    EXPECT_THAT(deck(), ElementsAre("call", "errand"));
    EXPECT_EQ(tabs->activeTab(), 0);

    posted.clear();
    QTest::keyClick(window.windowHandle(), Qt::Key_Escape);
    EXPECT_TRUE(tabs->cardController().isVisible() && tabs->toolbar().isVisible());
    EXPECT_TRUE(tabs->topScreen(TopScreen::Editor)) << "until it has gone";
    QTest::keyClick(window.windowHandle(), Qt::Key_Escape);
    advance(440ms);
    EXPECT_THAT(posted, IsEmpty());
    advance(20ms);
    EXPECT_THAT(posted,
                ElementsAre("EnableNewReminderMenuActionsNotification", "EnableCardControllerMenuActionsNotification",
                            "DisableEditControllerMenuActionsNotification"));
    EXPECT_FALSE(tabs->topScreen(TopScreen::Editor));
    EXPECT_EQ(enabled(), "NECL");
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(screen) << "and nothing of it is left";
}

TEST_F(ScreensTest, EachRequestOpensItsScreenOnItsReminder) {
    const auto call = stored("call");
    const struct {
        std::string_view notification;
        TopScreen screen;
        bool isCopied;
    } cases[] = {{ZNEditControllerRequested, TopScreen::Editor, true},
                 {ZNShareControllerRequested, TopScreen::Share, true},
                 {ZNChecklistRequestedNotification, TopScreen::Checklist, false}};
    for (const auto& c : cases) {
        notifications.postNotificationName(c.notification, call);
        advance(1s);
        ASSERT_TRUE(tabs->topScreen(c.screen)) << c.notification;
        EXPECT_EQ(shownReminder->reminderID(), "call");
        EXPECT_EQ(shownReminder != call, c.isCopied) << c.notification;
        EXPECT_EQ(enabled(), c.screen == TopScreen::Editor ? "S" : "NL");
        press(Qt::Key_Escape, Qt::NoModifier);
        EXPECT_FALSE(tabs->topScreen(c.screen));
    }
    press(Qt::Key_E);
    EXPECT_TRUE(tabs->topScreen(TopScreen::Editor));
    EXPECT_EQ(shownReminder, cards().topCardReminder());
}

TEST_F(ScreensTest, WhatIsAskedForWhileItsLikeLeavesComesAfterIt) {
    auto& add = tabs->toolbar().addButton();
    add.click();
    advance(1s);
    const QPointer<SmallScreen> first = screen;
    add.click();
    advance(1s);
    EXPECT_EQ(screen, first) << "one is enough";

    QTest::keyClick(window.windowHandle(), Qt::Key_Escape);
    advance(100ms);
    add.click();
    add.click();
    advance(1s);
    ASSERT_TRUE(tabs->topScreen(TopScreen::Editor));
    EXPECT_NE(screen, first);
    EXPECT_TRUE(screen->isVisible());
    EXPECT_EQ(enabled(), "S");
    press(Qt::Key_Escape, Qt::NoModifier);
    EXPECT_FALSE(tabs->topScreen(TopScreen::Editor)) << "and it comes once";
}

TEST_F(ScreensTest, TheListHasATabAndASearch) {
    press(Qt::Key_L);
    EXPECT_EQ(tabs->activeTab(), 1);
    EXPECT_EQ(fetches, 1);
    EXPECT_EQ(enabled(), "NL");
    posted.clear();
    QTest::keyClick(window.windowHandle(), Qt::Key_F, Qt::ControlModifier);
    EXPECT_THAT(posted, ElementsAre("ListViewShouldSearchNotification")) << "at once";
    press(Qt::Key_L);
    EXPECT_EQ(tabs->activeTab(), 0);
    posted.clear();
    QTest::keyClick(window.windowHandle(), Qt::Key_F, Qt::ControlModifier);
    EXPECT_EQ(tabs->activeTab(), 1);
    advance(200ms);
    EXPECT_THAT(posted, testing::Not(testing::Contains("ListViewShouldSearchNotification")));
    advance(60ms);
    EXPECT_THAT(posted, testing::Contains("ListViewShouldSearchNotification"));
}

TEST_F(ScreensTest, AllKeysOfACommandWork) {
    for (const auto& [key, modifiers] : {std::pair{Qt::Key_QuoteLeft, Qt::KeyboardModifiers(Qt::ControlModifier)},
                                         {Qt::Key_E, Qt::ControlModifier},
                                         {Qt::Key_F2, Qt::NoModifier}}) {
        press(key, modifiers);
        EXPECT_TRUE(tabs->topScreen(TopScreen::Editor)) << key;
        press(Qt::Key_Escape, Qt::NoModifier);
    }
}

TEST(ScreenCard, IsAsLargeAsTheWindowAllows) {
    const struct {
        QSizeF window, view;
        std::uint64_t mode;
        QSize card;
    } cases[] = {
        {{400, 450}, {1, 1}, 1, {360, 320}},   {{0, 0}, {400, 490}, 0, {360, 360}},
        {{600.5, 700}, {1, 1}, 2, {400, 520}}, {{470, 450}, {1, 1}, 2, {390, 330}},
        {{1400, 1000}, {1, 1}, 3, {576, 800}}, {{2000, 700}, {1, 1}, 3, {576, 570}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(screenCardSize(c.window, c.view, c.mode), c.card) << c.window.width() << " mode " << c.mode;
}

// Without editor and list their commands are there and cannot be chosen.
TEST(Menus, ShowWhatThereIsAndUndoByName) {
    ShellWorld world;
    world.store(world.dated("call", "2026-01-14T08:00:00Z"));
    auto* bar = world.menu.makeMenuBar(&world.window);
    world.window.setMenuBar(bar);
    world.open();
    for (const auto* item : {&world.menu.addReminderMenuItem(), &world.menu.saveItem(), &world.menu.editItem(),
                             &world.menu.showListItem(), &world.menu.searchItem()}) {
        EXPECT_TRUE(item->isVisible() && !item->isEnabled()) << item->text().toStdString();
    }
    EXPECT_EQ(bar->actions().size(), 6);
    EXPECT_FALSE(world.menu.undoItem().isEnabled());
    world.press(Qt::Key_Up);
    EXPECT_EQ(world.menu.undoItem().text(), "&Undo Complete");

    // In full screen the bar goes and its keys stay.
    EXPECT_EQ(world.tabs->height(), world.window.height() - bar->height());
    world.window.toggleFullScreen();
    QCoreApplication::processEvents();
    EXPECT_FALSE(bar->isVisible());
    EXPECT_EQ(world.tabs->size(), world.window.size());
    world.press(Qt::Key_Z);
    EXPECT_THAT(world.deck(), ElementsAre("call"));
    EXPECT_EQ(world.menu.undoItem().text(), "&Undo");
}

}  // namespace
}  // namespace zun
