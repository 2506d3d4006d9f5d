#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "cards/CardWorld.h"
#include "core/NotificationNames.h"

namespace zun {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Stack : public CardWorld {};
class WideStack : public CardWorld {
  protected:
    WideStack() : CardWorld({980, 720}) {}
};

TEST_F(Stack, ShowsUpToThreeCardsOfTheDeck) {
    const struct {
        std::initializer_list<const char*> deck;
        std::vector<std::string> shown;
    } cases[] = {
        {{}, {}},
        {{"A"}, {"A"}},
        {{"A", "B", "C"}, {"A", "B", "C"}},
        {{"A", "B", "C", "D", "E", "F"}, {"A", "B", "C"}},
        {{"A", "B"}, {"A", "B"}},
    };
    for (const auto& c : cases) {
        deal(c.deck);
        ASSERT_EQ(stack->stackViews().size(), 5u);
        EXPECT_EQ(shownTitles(), c.shown);
        for (std::size_t i = 0; i < 5; ++i) {
            const bool isTop = i == 0 && !c.shown.empty();
            EXPECT_EQ(item(i).isVisible(), isTop) << "only the top card has widgets";
            EXPECT_EQ(item(i).zPosition, 5 - static_cast<int>(i));
            EXPECT_NEAR(item(i).cardAlpha.value(), i < c.shown.size() ? 1 - 0.4 * static_cast<double>(i) : 0, 1e-9);
        }
    }
}

TEST_F(Stack, CompletesInTheStatedOrder) {
    deal({"A", "B", "C", "D"});
    ZNStackViewItem& thrown = item(0);
    shouldCompleteTopCard();
    EXPECT_FALSE(stack->shouldRespondToActions());
    EXPECT_EQ(&item(4), &thrown) << "the thrown card goes to the end at once";
    EXPECT_EQ(thrown.centerY.value(), -1000);
    advance(49);
    EXPECT_FALSE(thrown.cardHidden);
    EXPECT_LT(thrown.centerY.shown(), 13);
    advance(1);
    EXPECT_TRUE(thrown.cardHidden) << "hidden 0.05 s into its flight";
    EXPECT_TRUE(stack->animating());
    EXPECT_THAT(shownTitles(), ElementsAre("B", "C", "D"));
    advance(249);
    EXPECT_THAT(log, IsEmpty());
    advance(1);
    EXPECT_THAT(log, ElementsAre("completed A"));
    EXPECT_FALSE(stack->animating());
    EXPECT_FALSE(stack->shouldRespondToActions()) << "only the flight's own end gives the actions back";
    advance(50);
    EXPECT_TRUE(stack->shouldRespondToActions());
    EXPECT_EQ(item(0).centerY.shown(), 13);
    EXPECT_EQ(item(0).cardAlpha.shown(), 1);
}

TEST_F(WideStack, SkipsBehindTheOthersAndDriftsToTheCentreWhenSnoozed) {
    deal({"A", "B", "C", "D"});
    const double rest = -stack->geometryNow().cardXOffset();
    ZNStackViewItem& thrown = item(0);
    shouldSkipTopCard();
    EXPECT_EQ(thrown.centerX.value(), rest + 200);
    advance(50);
    EXPECT_FALSE(thrown.cardHidden);
    EXPECT_EQ(thrown.cardAlpha.value(), 0.8);
    EXPECT_EQ(thrown.centerX.value(), rest);
    EXPECT_EQ(thrown.centerY.value(), 13);
    EXPECT_EQ(thrown.zPosition, 1);
    EXPECT_THAT(shownTitles(), ElementsAre("B", "C", "D", "A"));
    advance(249);
    EXPECT_FALSE(thrown.cardHidden);
    advance(1);
    EXPECT_TRUE(thrown.cardHidden);
    EXPECT_EQ(thrown.cardAlpha.value(), 0);
    EXPECT_TRUE(stack->shouldRespondToActions());

    skipsLeft = true;
    ZNStackViewItem& second = item(0);
    shouldSkipTopCard();
    EXPECT_EQ(second.centerX.value(), rest - 200);
    advance(300);

    ZNStackViewItem& third = item(0);
    shouldSnoozeTopCard();
    EXPECT_EQ(third.centerX.value(), 0);
    EXPECT_EQ(third.centerY.value(), 1000);
    advance(350);
    EXPECT_THAT(log, ElementsAre("skip A", "skip B", "snoozed C"));
}

TEST_F(Stack, KeepsTheOrderWithoutAnimations) {
    deal({"A", "B", "C", "D"});
    animations.setAnimations(Animations::Off);
    bool respondedInCompletion = true;
    deck.erase(deck.begin());
    stack->completeTopCardWithCompletion([&] { respondedInCompletion = stack->shouldRespondToActions(); });
    EXPECT_FALSE(respondedInCompletion) << "the completion comes before the flight's end";
    EXPECT_TRUE(stack->shouldRespondToActions());
    EXPECT_THAT(shownTitles(), ElementsAre("B", "C", "D"));
    shouldSkipTopCard();
    EXPECT_THAT(shownTitles(), ElementsAre("C", "D", "B"));
    EXPECT_FALSE(animations.isMoving());

    deal({"A", "B", "C"});
    animations.setAnimations(Animations::Reduced);
    shouldCompleteTopCard();
    EXPECT_EQ(item(4).centerY.value(), 13) << "nothing moves";
    advance(20);
    EXPECT_EQ(item(0).centerY.shown(), 13) << "the next card is in its place and fades in";
    EXPECT_LT(item(0).cardAlpha.shown(), 1);
    log.clear();
    advance(92);
    EXPECT_THAT(log, ElementsAre("completed A"));
    EXPECT_TRUE(stack->shouldRespondToActions());
}

TEST_F(Stack, DropsRendersWhileItAnimates) {
    deal({"A", "B", "C", "D"});
    shouldCompleteTopCard();
    advance(60);
    deck.insert(deck.begin(), std::make_shared<ZNReminderObject>());
    deck.front()->setTitle("New");
    stack->renderStackWithAnimation(false);
    EXPECT_THAT(shownTitles(), ElementsAre("B", "C", "D")) << "a fetch during a flight does not touch the stack";
    shouldSnoozeTopCard();
    EXPECT_THAT(log, IsEmpty());
    advance(290);
    EXPECT_THAT(log, ElementsAre("completed A")) << "a second action during the flight is dropped with its block";
    stack->renderStackWithAnimation(false);
    EXPECT_THAT(shownTitles(), ElementsAre("B", "C", "D"));

    // A new size is made up for as soon as the render has ended.
    shouldCompleteTopCard();
    advance(60);
    stack->setGeometry(0, 0, 400, 600);
    EXPECT_EQ(item(0).height.value(), 360);
    advance(240);
    EXPECT_EQ(item(0).height.value(), 480);
}

TEST_F(Stack, ReusesFiveItemsForAnyNumberOfCards) {
    deal({"0", "1", "2", "3", "4", "5", "6", "7", "8"});
    const std::set<ZNStackViewItem*> items(stack->stackViews().begin(), stack->stackViews().end());
    for (int card = 0; card < 9; ++card) {
        EXPECT_EQ(titleOf(0), std::to_string(card));
        EXPECT_EQ(item(0).accessibleName(), QString("card %1").arg(card));
        if (card % 2 == 0) {
            shouldCompleteTopCard();
        } else {
            shouldSnoozeTopCard();
        }
        advance(400);
        EXPECT_EQ(std::set<ZNStackViewItem*>(stack->stackViews().begin(), stack->stackViews().end()), items);
    }
    EXPECT_THAT(shownTitles(), IsEmpty());
}

TEST_F(Stack, SwipesByTheLargerAxis) {
    const struct {
        QPoint way;
        std::size_t cards;
        std::vector<std::string> expected;
    } cases[] = {
        {{141, 0}, 3, {"skip A"}},
        {{140, 0}, 3, {}},
        {{300, 0}, 1, {}},
        {{0, -121}, 1, {"completed A"}},
        {{0, 121}, 3, {"snoozed A"}},
        {{0, -120}, 3, {}},
        {{150, 150}, 3, {}},
        {{19, 0}, 3, {}},
        {{-170, 160}, 2, {"skip A"}},
        {{130, -135}, 2, {"completed A"}},
    };
    for (const auto& c : cases) {
        deal({"A", "B", "C"});
        deck.resize(c.cards);
        stack->renderStackWithAnimation(false);
        log.clear();
        swipe(c.way);
        advance(400);
        EXPECT_EQ(log, c.expected) << c.way.x() << ", " << c.way.y() << " with " << c.cards;
        EXPECT_TRUE(stack->shouldRespondToActions());
        EXPECT_EQ(item(0).centerX.shown(), 0);
        EXPECT_EQ(item(0).centerY.shown(), 13);
    }
}

TEST_F(Stack, ShowsASwipeAndSpringsBack) {
    deal({"A", "B", "C"});
    wheel(Qt::ScrollBegin, {});
    wheel(Qt::ScrollUpdate, {0, 15});
    EXPECT_EQ(item(0).centerY.shown(), 13) << "a small touch moves nothing";
    wheel(Qt::ScrollUpdate, {0, 15});
    EXPECT_EQ(item(0).centerY.shown(), 28);
    EXPECT_NEAR(item(1).cardAlpha.shown(), 0.6 + 0.4 * 30 / 40, 1e-9);
    EXPECT_NEAR(item(2).cardAlpha.shown(), 0.2 + 0.4 * 30 / 40, 1e-9);
    EXPECT_NEAR(item(0).snoozeStatus(), 15 / 120.0, 1e-9);
    wheel(Qt::ScrollUpdate, {100, 0});
    EXPECT_EQ(item(0).snoozeStatus(), 0);
    EXPECT_NEAR(item(0).skipStatus(), 100 / 140.0, 1e-9);
    EXPECT_NEAR(item(0).tilt(), 1.5, 1e-9);
    wheel(Qt::ScrollEnd, {});
    EXPECT_EQ(item(0).skipStatus(), 0);
    advance(100);
    const double onTheWay = item(0).centerX.shown();
    EXPECT_GT(onTheWay, 0);
    EXPECT_LT(onTheWay, 100);

    // A finger that catches the card takes it up where it is.
    wheel(Qt::ScrollUpdate, {-30, 0});
    EXPECT_NEAR(item(0).centerX.shown(), onTheWay - 30, 1e-9);
    wheel(Qt::ScrollEnd, {});
    advance(350);
    EXPECT_EQ(item(0).centerX.shown(), 0);
    EXPECT_EQ(item(0).tilt(), 0);
    EXPECT_NEAR(item(1).cardAlpha.shown(), 0.6, 1e-9);
}

TEST_F(Stack, KeepsACardUnderTheFingerWhileTheDeckIsFetched) {
    deal({"A", "B", "C"});
    wheel(Qt::ScrollBegin, {});
    wheel(Qt::ScrollUpdate, {0, -100});
    std::swap(deck[1], deck[2]);
    stack->renderStackWithAnimation(false);
    EXPECT_EQ(item(0).centerY.shown(), 13 - 100);
    EXPECT_NEAR(item(0).completeStatus(), 100 / 120.0, 1e-9);
    EXPECT_EQ(item(1).cardAlpha.shown(), 1);
    wheel(Qt::ScrollUpdate, {0, -30});
    wheel(Qt::ScrollEnd, {});
    advance(400);
    EXPECT_THAT(log, ElementsAre("completed A"));

    // Another card that comes up meanwhile is not thrown in its place.
    wheel(Qt::ScrollBegin, {});
    wheel(Qt::ScrollUpdate, {0, -130});
    deck.insert(deck.begin(), std::make_shared<ZNReminderObject>());
    stack->renderStackWithAnimation(false);
    EXPECT_EQ(item(0).centerY.shown(), 13);
    wheel(Qt::ScrollUpdate, {0, -130});
    wheel(Qt::ScrollEnd, {});
    advance(400);
    EXPECT_THAT(log, ElementsAre("completed A"));
    EXPECT_EQ(item(0).centerY.shown(), 13);
    swipe({0, -130});
    EXPECT_EQ(deck.size(), 2u) << "the next gesture counts";
}

TEST_F(Stack, RefusesSwipesAndActionsWhileTheyAreOff) {
    deal({"A", "B"});
    respondsToGestures = false;
    swipe({0, -300});
    EXPECT_THAT(log, IsEmpty());
    shouldCompleteTopCard();
    advance(400);
    EXPECT_THAT(log, ElementsAre("completed A")) << "the buttons still act";

    deal({"A", "B"});
    respondsToGestures = true;
    center.postNotificationName(ZNDisableCardControllerMenuActionsNotification);
    swipe({0, -300});
    stack->skipTopCard();
    advance(400);
    EXPECT_THAT(shownTitles(), ElementsAre("A", "B"));
    center.postNotificationName(ZNEnableCardControllerMenuActionsNotification);
    swipe({0, -300});
    advance(400);
    EXPECT_THAT(shownTitles(), ElementsAre("B"));
}

TEST_F(Stack, StaysAliveWhenACardIsThrownWhileAnotherSpringsBack) {
    deal({"A", "B", "C", "D", "E"});
    swipe({30, 0});
    advance(200);
    shouldCompleteTopCard();
    advance(160);
    EXPECT_FALSE(stack->shouldRespondToActions()) << "the end of the spring must not open the guard of the flight";
    shouldSkipTopCard();
    advance(1000);
    EXPECT_TRUE(stack->shouldRespondToActions());
    EXPECT_EQ(log.front(), "skip B");
    shouldSnoozeTopCard();
    advance(400);
    EXPECT_EQ(log.back().substr(0, 7), "snoozed");
}

TEST_F(Stack, RepaintsACardThatWasEditedOnAnotherThread) {
    deal({"A", "B"});
    QString shownThere;
    const DispatchQueuePtr store = dispatch.makeSerialQueue("store", QualityOfService::Utility);
    store->async([&, reminder = deck.front()] {
        reminder->setTitle("Edited");
        shownThere = item(0).face().content().title;
    });
    dispatch.runUntilIdle();
    EXPECT_EQ(shownThere, "A") << "not on the thread that saves";
    EXPECT_EQ(item(0).face().content().title, "Edited");
    EXPECT_EQ(item(0).accessibleName(), "card Edited");
}

TEST_F(Stack, OutlivesItsBlocksAndItsDelegate) {
    deal({"A", "B", "C"});
    shouldCompleteTopCard();
    stack->onSetDelegate(nullptr);
    delete stack;
    stack = nullptr;
    advance(1000);
    EXPECT_THAT(log, IsEmpty());
}

// A card is put together from the panel's sides and the picture of its content; they must meet without a step.
TEST_F(WideStack, PaintsEachRowOfACardInOnePiece) {
    for (const QSize size : {QSize(980, 720), QSize(900, 600), QSize(1400, 901), QSize(2560, 1440)}) {
        window.resize(size);
        stack->setGeometry(window.rect());
        settings.setWindowLayoutMode(size.width() > 980 ? 3 : 2);
        deal({"A"});
        const QImage image = paintedAnew();
        const QRect card = item(0).geometry();
        for (int y = card.top() + 20; y < card.bottom() - 20; ++y) {
            const int step = qGray(image.pixel(card.left() + 3, y)) - qGray(image.pixel(card.left() + 16, y));
            ASSERT_LE(std::abs(step), 1) << "row " << y - card.top() << " of " << card.height() << " at "
                                         << size.width();
        }
    }
}

// Each frame paints only what moved; whatever it forgets stays on the screen as a smear.
TEST_F(Stack, PaintsEachFrameAsIfFromNothing) {
    deal({"A", "B", "C", "D"});
    const auto expectSame = [&](const char* when) {
        const QImage seen = screen();
        ASSERT_FALSE(seen.isNull());
        EXPECT_EQ(seen, paintedAnew()) << when;
    };
    expectSame("at rest");
    EXPECT_EQ(screen().pixelColor(200, 70), QColor(Qt::white)) << "the card is there";
    for (const QPoint step : {QPoint(30, 0), QPoint(70, 10), QPoint(-220, 0), QPoint(0, -90)}) {
        wheel(Qt::ScrollUpdate, step);
        expectSame("while swiped");
    }
    wheel(Qt::ScrollEnd, {});
    for (int frame = 0; frame < 24; ++frame) {
        advance(17);
        expectSame("while it springs back");
    }
    shouldSkipTopCard();
    for (int frame = 0; frame < 24; ++frame) {
        advance(17);
        expectSame("while it is skipped");
    }
    shouldCompleteTopCard();
    for (int frame = 0; frame < 24; ++frame) {
        advance(17);
        expectSame("while it is completed");
    }
}

}  // namespace
}  // namespace zun
