#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QKeyEvent>

#include "cards/ScreenBar.h"
#include "checklist/ChecklistCardParts.h"
#include "checklist/ChecklistWorld.h"
#include "checklist/ZNChecklistTextView.h"
#include "checklist/ZNChecklistViewController.h"

namespace zun {
namespace {

using namespace std::chrono_literals;
using testing::UnorderedElementsAre;

class ChecklistCardTest : public testing::Test, public ChecklistWorld, public ZNBaseViewControllerDelegate {
  protected:
    void open(const std::string& checklist, std::uint64_t repeatType = RepeatType::none) {
        window.resize(400, 450);
        auto attributes = dated("shop", "2026-01-14T09:00:00Z");
        attributes.checklist = checklist;
        attributes.repeat_type = repeatType;
        attributes.customRepeatInterval = 1;
        card = new ZNChecklistViewController(context, manager, store(attributes), &window);
        card->setDelegate(this);
        card->resize(window.size());
        card->loadView();
        window.show();
        advance(0ms);
    }
    ~ChecklistCardTest() override { delete card; }
    void didDismissController(ZNBaseViewController& dismissed) override {
        EXPECT_EQ(&dismissed, card);
        ++dismissals;
    }
    void change(const char* attribute, const std::string& text) {
        auto other = stored("shop");
        attribute == std::string_view("title") ? other->setTitle(text) : other->setChecklist(text);
        manager.updateReminder(other, ShouldUpdateDateModified::Yes, ShouldSyncWithiCloud::No);
        settle();
    }
    void choose(const QString& item) {
        card->onLeftButtonPress();
        for (QAction* action : card->optionsMenu()->actions())
            if (action->text() == item) action->trigger();
        card->optionsMenu()->close();
    }
    void answer(void (CreateCardsQuestion::*choice)()) {
        choose("Make Cards from Open Items");
        ASSERT_NE(card->createCardsQuestion(), nullptr);
        (qobject_cast<CreateCardsQuestion*>(&card->createCardsQuestion()->content())->*choice)();
        settle();
    }
    [[nodiscard]] std::string saved() const {
        return stored("shop") ? stored("shop")->checklist().value_or("") : "gone";
    }
    [[nodiscard]] std::vector<std::string> titles() const {
        std::vector<std::string> all;
        for (const auto& each : manager.fetchAllReminders())
            all.push_back(each->title());
        return all;
    }

    ZNChecklistViewController* card = nullptr;
    int dismissals = 0;
};

TEST_F(ChecklistCardTest, SavesTenSecondsAfterTheLastChange) {
    open("[ ]milk\n[ ]bread");
    advance(30s);
    EXPECT_EQ(stored("shop")->modified_date(), std::nullopt) << "showing is not changing";
    card->checklist().toggleCheckButton(0);
    advance(9s);
    card->checklist().toggleCheckButton(1);
    advance(9s);
    EXPECT_EQ(saved(), "[ ]milk\n[ ]bread");
    advance(1s);
    EXPECT_EQ(saved(), "[x]milk\n[x]bread");
}

TEST_F(ChecklistCardTest, LeavingSavesAtOnceAndTellsTheDelegateOnce) {
    open("[ ]milk");
    card->checklist().toggleCheckButton(0);
    QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QCoreApplication::sendEvent(&card->checklist(), &escape);
    card->onRightButtonPress();
    settle();
    EXPECT_EQ(saved(), "[x]milk");
    EXPECT_EQ(dismissals, 1);
    change("checklist", "[ ]eggs");
    advance(1min);
    EXPECT_EQ(saved(), "[ ]eggs") << "a screen that was left writes nothing";
}

TEST_F(ChecklistCardTest, ClosingFlushesWhatTheTimerWouldSave) {
    open("[ ]milk");
    card->checklist().toggleCheckButton(0);
    delete std::exchange(card, nullptr);
    settle();
    EXPECT_EQ(saved(), "[x]milk");
}

TEST_F(ChecklistCardTest, RemoteChangesAreShownUntilTheUserHasChangedSomething) {
    open("[ ]milk");
    change("checklist", "[x]milk\n[ ]eggs");
    EXPECT_EQ(card->checklist().formattedChecklist(), "[x]milk\n[ ]eggs");
    card->checklist().toggleCheckButton(1);
    change("checklist", "[ ]cheese");
    change("title", "Big shop");
    EXPECT_EQ(card->checklist().formattedChecklist(), "[x]milk\n[x]eggs");
    advance(10s);
    EXPECT_EQ(saved(), "[x]milk\n[x]eggs");
    EXPECT_EQ(stored("shop")->title(), "Big shop") << "what the user did not touch comes from the row";
}

TEST_F(ChecklistCardTest, ARowThatHasGoneIsAddedAnewIfThereIsSomethingToSave) {
    open("[ ]milk");
    manager.deleteReminder(stored("shop"), ShouldSyncWithiCloud::No);
    settle();
    card->checklist().toggleCheckButton(0);
    card->flush();
    settle();
    const auto all = manager.fetchAllReminders();
    ASSERT_EQ(all.size(), 1u);
    EXPECT_EQ(all[0]->title(), "shop");
    EXPECT_EQ(all[0]->checklist(), "[x]milk");
    EXPECT_EQ(all[0]->due_date(), at("2026-01-14T09:00:00Z"));
    card->onRightButtonPress();
    settle();
    EXPECT_EQ(manager.fetchAllReminders().size(), 1u);
}

TEST_F(ChecklistCardTest, CompleteComesWithTheLastCheckAndTakesTheChecksAlong) {
    open("[ ]milk\n[x]bread", RepeatType::daily);
    EXPECT_FALSE(card->completeButton().isEnabled());
    EXPECT_FALSE(card->completeButton().isVisible());
    card->checklist().toggleCheckButton(0);
    advance(100ms);
    EXPECT_GT(card->completeButton().alpha(), 0);
    EXPECT_LT(card->completeButton().alpha(), 1);
    advance(100ms);
    EXPECT_EQ(card->completeButton().alpha(), 1);
    card->completeButton().click();
    settle();
    EXPECT_EQ(dismissals, 1);
    const auto completed = manager.fetchAllCompletedReminders();
    ASSERT_EQ(completed.size(), 1u);
    EXPECT_EQ(completed[0]->checklist(), "[x]milk\n[x]bread");
    advance(1min);
    EXPECT_EQ(saved(), "[ ]milk\n[ ]bread") << "the series starts anew";
}

TEST_F(ChecklistCardTest, TheMenuOffersWhatIsPossible) {
    const struct {
        const char* checklist;
        std::vector<QString> items;
    } cases[] = {
        {"[ ]a", {"Make Cards from Open Items"}},
        {"[ ]a\n[x]b", {"Make Cards from Open Items", "Move Open Items to the Top", "Remove Checked Items"}},
        {"[x]a", {"Remove Checked Items"}},
    };
    open("");
    for (const auto& each : cases) {
        card->checklist().setChecklist(each.checklist);
        card->onLeftButtonPress();
        std::vector<QString> items;
        for (const QAction* action : card->optionsMenu()->actions())
            items.push_back(action->text());
        EXPECT_EQ(items, each.items) << each.checklist;
        card->optionsMenu()->close();
    }
    card->checklist().setChecklist("[x]a\n[ ]b\n[x]c");
    choose("Move Open Items to the Top");
    settle();
    EXPECT_EQ(saved(), "[ ]b\n[x]a\n[x]c") << "saved without the timer";
    choose("Remove Checked Items");
    settle();
    EXPECT_EQ(saved(), "[ ]b");
}

TEST_F(ChecklistCardTest, OpenItemsBecomeCards) {
    open("[ ]milk\n[x]bread\n[ ]eggs\n[x]salt\n[ ]tea");
    answer(&CreateCardsQuestion::cancelChosen);
    EXPECT_THAT(titles(), UnorderedElementsAre("shop"));
    answer(&CreateCardsQuestion::completeChosen);
    EXPECT_THAT(titles(), UnorderedElementsAre("shop", "milk", "eggs", "tea"));
    EXPECT_TRUE(stored("shop")->completed_date());
    EXPECT_EQ(dismissals, 1);
}

TEST_F(ChecklistCardTest, OpenItemsBecomeCardsInPlaceOfTheReminder) {
    open("[ ]milk\n[ ]eggs");
    card->checklist().toggleCheckButton(1);
    answer(&CreateCardsQuestion::removeChosen);
    delete std::exchange(card, nullptr);
    settle();
    EXPECT_THAT(titles(), UnorderedElementsAre("milk"));
    EXPECT_EQ(dismissals, 1);
}

}  // namespace
}  // namespace zun
