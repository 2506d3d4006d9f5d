#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTest>
#include <thread>

#include "platform/foundation/SimulatedDispatch.h"
#include "toolkit/Pictures.h"
#include "toolkit/QtMainQueue.h"
#include "toolkit/Tokens.h"
#include "toolkit/ZNAnimationGroup.h"
#include "toolkit/ZNButton.h"
#include "toolkit/ZNFonts.h"
#include "toolkit/ZNGradientView.h"

namespace zun {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;

class Timeline : public testing::Test {
  protected:
    void move(AnimatedValue& value, double target, int duration, Block completion = {}) {
        timeline.runGroup(
            milliseconds(duration), Easing::Linear, [&](ZNAnimationGroup& group) { group.set(value, target); },
            std::move(completion));
    }
    Block note(const std::string& word) {
        return [this, word] { log.push_back(word); };
    }

    SimulatedDispatch dispatch{1};
    ZNAnimationTimeline timeline{dispatch};
    AnimatedValue x{AnimatedValue::Kind::Movement};
    std::vector<std::string> log;
};

TEST_F(Timeline, HandsAValueFromOneMovementToTheNext) {
    move(x, 100, 100, note("first"));
    dispatch.advance(milliseconds(50));
    EXPECT_NEAR(x.shown(), 50, 17);
    const double caught = x.shown();
    move(x, 0, 100, note("second"));
    EXPECT_EQ(x.shown(), caught) << "no jump where the second takes over";
    dispatch.advance(milliseconds(60));
    EXPECT_LT(x.shown(), caught);
    EXPECT_THAT(log, ElementsAre("first")) << "a group whose value was taken still ends";
    x.jump(7);
    dispatch.advance(milliseconds(100));
    EXPECT_EQ(x.shown(), 7) << "a jump ends all movement";
    EXPECT_THAT(log, ElementsAre("first", "second"));
}

TEST_F(Timeline, RunsBlocksAtTheirMomentsHoweverLateTheLoopIs) {
    // Two rows of blocks, each starting the next from inside; in one late wake-up they must interleave by moment.
    timeline.after(milliseconds(10), [this] {
        log.emplace_back("10");
        move(x, 100, 40, note("50"));
        timeline.after(milliseconds(20), note("30"));
    });
    timeline.after(milliseconds(20), note("20"));
    timeline.after(milliseconds(45), [this] { log.push_back("at 45 x is " + std::to_string(qRound(x.shown()))); });
    dispatch.advance(milliseconds(200));
    EXPECT_THAT(log, ElementsAre("10", "20", "30", "at 45 x is 88", "50"));
    EXPECT_FALSE(timeline.isMoving());
}

TEST_F(Timeline, EndsInTheSameOrderWithoutAnimations) {
    const auto play = [this] {
        log.clear();
        x.jump(0);
        timeline.together([this] {
            move(x, 100, 350, note("flown"));
            timeline.after(milliseconds(50), [this] {
                log.emplace_back("closing up");
                move(x, 50, 250, note("closed"));
            });
        });
        log.emplace_back("returned");
        dispatch.advance(milliseconds(1000));
        return log;
    };
    EXPECT_THAT(play(), ElementsAre("returned", "closing up", "closed", "flown"));
    timeline.setAnimations(Animations::Off);
    EXPECT_THAT(play(), ElementsAre("closing up", "closed", "flown", "returned"));
    EXPECT_EQ(x.shown(), 50);

    timeline.setAnimations(Animations::On);
    move(x, 90, 100, note("cut short"));
    timeline.setAnimations(Animations::Off);
    EXPECT_EQ(x.shown(), 90);
    EXPECT_EQ(log.back(), "cut short");
}

TEST_F(Timeline, BearsTheEndOfWhatItMoves) {
    auto gone = std::make_unique<AnimatedValue>(AnimatedValue::Kind::Fade);
    move(*gone, 1, 100, note("ended"));
    std::vector<Observation> observations;
    observations.push_back(timeline.observeFrames([&] { observations.clear(); }));
    observations.push_back(timeline.observeFrames(note("frame")));
    dispatch.advance(milliseconds(20));
    EXPECT_THAT(log, IsEmpty()) << "an observer that has gone during a frame is not called by it";
    gone.reset();
    dispatch.advance(milliseconds(100));
    EXPECT_THAT(log, ElementsAre("ended"));

    auto timelineOfItsOwn = std::make_unique<ZNAnimationTimeline>(dispatch);
    timelineOfItsOwn->after(milliseconds(10), note("never"));
    timelineOfItsOwn.reset();
    dispatch.advance(milliseconds(100));
    EXPECT_THAT(log, ElementsAre("ended"));
}

TEST(MainQueue, TakesBlocksFromManyThreadsInEachOnesOrder) {
    QtMainQueue queue;
    constexpr int threadCount = 4;
    constexpr int blockCount = 500;
    std::vector<int> next(threadCount, 0);
    int outOfOrder = 0;
    int elsewhere = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back([&, thread] {
            for (int i = 0; i < blockCount; ++i) {
                queue.async([&, thread, i] {
                    if (next[static_cast<std::size_t>(thread)]++ != i) ++outOfOrder;
                    if (!queue.isCurrent()) ++elsewhere;
                });
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(next, std::vector<int>(threadCount, 0)) << "blocks wait for the loop";
    QCoreApplication::processEvents();
    EXPECT_EQ(next, std::vector<int>(threadCount, blockCount));
    EXPECT_EQ(outOfOrder, 0);
    EXPECT_EQ(elsewhere, 0);
    bool seenFromThread = true;
    std::thread([&] { seenFromThread = queue.isCurrent(); }).join();
    EXPECT_FALSE(seenFromThread);
}

TEST(Fonts, FindsTheRunsThatAreEmoji) {
    const struct {
        const char* name;
        QString text;
        QList<TextRun> runs;
    } cases[] = {
        {"none", QStringLiteral("Call 3 people #1 \u00A9"), {}},
        {"one", QString::fromUtf8("a \U0001F389 b"), {{2, 2}}},
        {"family joined to one", QString::fromUtf8("\U0001F468\u200D\U0001F469\u200D\U0001F467x"), {{0, 8}}},
        {"a heart only where it is asked for", QString::fromUtf8("\u2764 \u2764\uFE0F"), {{2, 2}}},
        {"shown as text", QString::fromUtf8("\u231A\uFE0E"), {}},
        {"key cap", QString::fromUtf8("3\uFE0F\u20E3"), {{0, 3}}},
        {"flag", QString::fromUtf8("\U0001F1E9\U0001F1EA!"), {{0, 4}}},
        {"skin", QString::fromUtf8("\U0001F44D\U0001F3FD"), {{0, 4}}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(emojiRuns(c.text), c.runs) << c.name;
}

TEST(PictureStore, GivesEachPictureAtAnySizeWithinItsMemory) {
    Pictures pictures(1 << 20);
    for (const double scale : {1.0, 1.5, 2.0, 3.0}) {
        const QPixmap picture = pictures.pixmap(QStringLiteral("coffeeImage.jpg"), {240, 240}, scale);
        EXPECT_EQ(picture.deviceIndependentSize().toSize(), QSize(240, 240)) << scale;
        EXPECT_EQ(picture.width(), qRound(240 * scale));
    }
    for (int side = 16; side < 400; ++side)
        static_cast<void>(pictures.pixmap(QStringLiteral("coffeeImage"), QSizeF(side, side), 1));
    EXPECT_LE(pictures.keptBytes(), std::size_t{1} << 20);
    EXPECT_TRUE(pictures.pixmap(QStringLiteral("noSuchImage"), {24, 24}, 1).isNull());
    EXPECT_TRUE(pictures.pixmap(QString(), {24, 24}, 1).isNull());
}

class Button : public testing::Test {
  protected:
    Button() {
        window.resize(200, 100);
        button.setGeometry(20, 20, 60, 40);
        other.setGeometry(120, 20, 60, 40);
        QObject::connect(&button, &ZNButton::clicked, &button, [this] { log.emplace_back("click"); });
        QObject::connect(&button, &ZNButton::rightClicked, &button, [this] { log.emplace_back("menu"); });
        window.show();
        QCoreApplication::processEvents();
        QApplication::setActiveWindow(&window);
    }
    QImage seen() { return window.grab().toImage(); }

    Pictures pictures;
    ZNGradientView window;
    ZNButton button{pictures, ZNButton::Shape::Bare, &window};
    ZNButton other{pictures, ZNButton::Shape::Bare, &window};
    std::vector<std::string> log;
};

TEST_F(Button, IsPressedByKeysAndByBothMouseButtons) {
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space})
        QTest::keyClick(&button, key);
    EXPECT_THAT(std::exchange(log, {}), ElementsAre("click", "click", "click"));
    QTest::keyClick(&button, Qt::Key_Menu);
    QTest::keyClick(&button, Qt::Key_F10, Qt::ShiftModifier);
    QTest::mouseClick(&button, Qt::RightButton);
    EXPECT_THAT(std::exchange(log, {}), ElementsAre("menu", "menu", "menu"));
    QTest::mousePress(&button, Qt::RightButton);
    QTest::mouseRelease(&button, Qt::RightButton, {}, QPoint(200, 5));
    EXPECT_THAT(log, IsEmpty()) << "let go elsewhere";
}

TEST_F(Button, ShowsTheFocusThatAKeyBrought) {
    button.setFocus(Qt::MouseFocusReason);
    const QImage plain = seen();
    QTest::keyClick(&button, Qt::Key_Tab);
    ASSERT_TRUE(other.hasFocus());
    const QImage ringed = seen();
    EXPECT_EQ(ringed.pixelColor(122, 40), QColor::fromRgba(tokens::focusRing));
    EXPECT_NE(plain.pixelColor(122, 40), QColor::fromRgba(tokens::focusRing));
    other.clearFocus();
    button.setFocus(Qt::MouseFocusReason);
    EXPECT_EQ(seen(), plain) << "a click draws no ring";
}

}  // namespace
}  // namespace zun
