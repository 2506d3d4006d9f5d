#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QWheelEvent>
#include <string>
#include <vector>

#include "cards/SwipeGatherer.h"
#include "cards/SwipeRecognizer.h"
#include "platform/foundation/SimulatedDispatch.h"

namespace zun {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto natural = DirectionInvertedFromDevice::Yes;
constexpr auto classic = DirectionInvertedFromDevice::No;

TEST(SwipeRecognizer, DecidesByTheLargerAxisBeyondItsLimit) {
    const struct {
        QPointF way;
        int items;
        SwipePower power;
        SwipeDecision expected;
    } cases[] = {
        {{140, 0}, 3, SwipePower::Full, SwipeDecision::Restore},
        {{140.5, 0}, 3, SwipePower::Full, SwipeDecision::Skip},
        {{-141, 100}, 3, SwipePower::Full, SwipeDecision::Skip},
        {{500, 0}, 1, SwipePower::Full, SwipeDecision::Restore},
        {{0, 120}, 3, SwipePower::Full, SwipeDecision::Restore},
        {{0, 121}, 1, SwipePower::Full, SwipeDecision::Snooze},
        {{0, -121}, 1, SwipePower::Full, SwipeDecision::Complete},
        {{100, -121}, 3, SwipePower::Full, SwipeDecision::Complete},
        {{300, 300}, 3, SwipePower::Full, SwipeDecision::Restore},
        {{0, 4000}, 3, SwipePower::SidewaysOnly, SwipeDecision::Restore},
        {{0, -4000}, 3, SwipePower::SidewaysOnly, SwipeDecision::Restore},
        {{160, 4000}, 3, SwipePower::SidewaysOnly, SwipeDecision::Skip},
    };
    for (const auto& c : cases) {
        SwipeRecognizer recognizer;
        recognizer.changed(c.way, natural, c.power);
        EXPECT_EQ(recognizer.ended(c.items, c.power), c.expected) << c.way.x() << ", " << c.way.y();
        EXPECT_EQ(recognizer.ended(c.items, c.power), SwipeDecision::Restore) << "a second end finds nothing";
        recognizer.changed(-c.way, classic, c.power);
        EXPECT_EQ(recognizer.ended(c.items, c.power), c.expected) << "against the device's direction";
    }
}

TEST(SwipeRecognizer, ShowsNothingBeforeTheTwentiethPoint) {
    SwipeRecognizer recognizer;
    EXPECT_FALSE(recognizer.changed({10.9, 3}, natural, SwipePower::Full));
    EXPECT_FALSE(recognizer.changed({0, -9.9}, natural, SwipePower::Full));
    EXPECT_EQ(recognizer.gestureDistance(), 19u) << "each sum is cut to whole points";
    const auto progress = recognizer.changed({1, 0}, natural, SwipePower::Full);
    ASSERT_TRUE(progress);
    EXPECT_EQ(progress->displacement, QPointF(1, 0)) << "what came before is never applied";
    EXPECT_EQ(progress->fade, 0.5);

    SwipeRecognizer slow;
    for (int i = 0; i < 1000; ++i)
        EXPECT_FALSE(slow.changed({0.9, 0}, natural, SwipePower::Full));
    EXPECT_EQ(slow.ended(3, SwipePower::Full), SwipeDecision::Restore);
}

TEST(SwipeRecognizer, ReportsProgressOfOneDirectionWithoutLimit) {
    SwipeRecognizer recognizer;
    const auto step = [&](double x, double y) { return recognizer.changed({x, y}, natural, SwipePower::Full).value(); };
    SwipeProgress at = step(280, 0);
    EXPECT_EQ(at.skip, 2) << "not limited to 1";
    EXPECT_EQ(at.fade, 1);
    at = step(0, 280);
    EXPECT_EQ(at.skip, 2) << "kept where both axes are equal";
    at = step(0, 20);
    EXPECT_EQ(at.skip, 0);
    EXPECT_EQ(at.snooze, 2.5);
    at = step(0, -600);
    EXPECT_EQ(at.snooze, 0);
    EXPECT_EQ(at.complete, 2.5);

    SwipeRecognizer weak;
    const auto pulled = weak.changed({0, -4000}, natural, SwipePower::SidewaysOnly).value();
    EXPECT_GE(pulled.displacement.y(), -SwipeRecognizer::resistedDistance);
    EXPECT_EQ(pulled.complete, 0) << "it must not promise what it will not do";
}

// Writes down what it is told.
class Diary final : public SwipeSink {
  public:
    void swipeChanged(QPointF delta, DirectionInvertedFromDevice inverted, SwipePower power) override {
        const QPointF way = inverted == natural ? delta : -delta;
        entries.push_back(std::to_string(qRound(way.x())) + "," + std::to_string(qRound(way.y())) +
                          (power == SwipePower::Full ? "" : " weak"));
    }
    void swipeEnded(SwipePower power) override { entries.emplace_back(power == SwipePower::Full ? "end" : "weak end"); }
    void swipeAbandoned() override { entries.emplace_back("click"); }
    std::vector<std::string> entries;
};

class Gatherer : public testing::Test {
  protected:
    void wheel(Qt::ScrollPhase phase, QPoint pixels, QPoint units = {}, bool inverted = true) {
        gatherer.wheel(QWheelEvent({5, 5}, {5, 5}, pixels, units, Qt::NoButton, Qt::NoModifier, phase, inverted));
    }
    void rest() { dispatch.advance(std::chrono::milliseconds(150)); }

    SimulatedDispatch dispatch{1};
    Diary diary;
    SwipeGatherer gatherer{diary, dispatch.main()};
};

TEST_F(Gatherer, BearsRepeatedPhasesAndIgnoresMomentum) {
    wheel(Qt::ScrollBegin, {0, 3});
    wheel(Qt::ScrollBegin, {0, 0});
    wheel(Qt::ScrollUpdate, {0, 12});
    wheel(Qt::ScrollBegin, {0, 0});
    wheel(Qt::ScrollUpdate, {4, 0}, {0, 120});
    wheel(Qt::ScrollUpdate, {0, 0}, {60, 0});
    wheel(Qt::ScrollEnd, {0, 0});
    wheel(Qt::ScrollEnd, {0, 0});
    wheel(Qt::ScrollMomentum, {0, 90});
    rest();
    EXPECT_THAT(diary.entries, ElementsAre("0,12", "4,0", "20,0", "end"));
}

TEST_F(Gatherer, GathersStepsUntilTheWheelRests) {
    wheel(Qt::NoScrollPhase, {}, {0, 120});
    dispatch.advance(std::chrono::milliseconds(149));
    wheel(Qt::NoScrollPhase, {7, 7}, {-240, 0});
    dispatch.advance(std::chrono::milliseconds(149));
    EXPECT_THAT(diary.entries, ElementsAre("0,40 weak", "-80,0 weak"));
    dispatch.advance(std::chrono::milliseconds(1));
    EXPECT_THAT(diary.entries, ElementsAre("0,40 weak", "-80,0 weak", "weak end"));
    rest();
    EXPECT_EQ(diary.entries.size(), 3u);

    // A trackpad that begins meanwhile ends the steps first, and steps do not disturb it.
    diary.entries.clear();
    wheel(Qt::NoScrollPhase, {}, {0, 120});
    wheel(Qt::ScrollBegin, {});
    wheel(Qt::NoScrollPhase, {}, {0, 120});
    wheel(Qt::ScrollUpdate, {1, 1});
    rest();
    EXPECT_THAT(diary.entries, ElementsAre("0,40 weak", "weak end", "1,1"));
}

TEST_F(Gatherer, FollowsTheFingersWhateverTheDesktopCallsIt) {
    const struct {
        NaturalScrolling setting;
        bool eventSaysInverted;
        const char* expected;
    } cases[] = {
        {NaturalScrolling::Unknown, false, "0,9"},
        {NaturalScrolling::On, false, "0,9"},
        {NaturalScrolling::Off, false, "0,-9"},
        {NaturalScrolling::Off, true, "0,9"},
    };
    for (const auto& c : cases) {
        diary.entries.clear();
        gatherer.setNaturalScrolling(c.setting);
        wheel(Qt::ScrollUpdate, {0, 9}, {}, c.eventSaysInverted);
        EXPECT_THAT(diary.entries, ElementsAre(c.expected));
        wheel(Qt::ScrollEnd, {});
    }
}

TEST_F(Gatherer, TellsAClickFromADrag) {
    gatherer.press({100, 100});
    EXPECT_FALSE(gatherer.drag({110, 100}));
    EXPECT_FALSE(gatherer.release({119, 100}));
    EXPECT_THAT(diary.entries, ElementsAre("10,0", "9,0", "click"));

    diary.entries.clear();
    gatherer.press({100, 100});
    EXPECT_FALSE(gatherer.drag({110, 100}));
    EXPECT_TRUE(gatherer.drag({100, 100})) << "it is the way that counts, not the distance";
    wheel(Qt::NoScrollPhase, {}, {0, 120});
    EXPECT_TRUE(gatherer.release({100, 100}));
    EXPECT_THAT(diary.entries, ElementsAre("10,0", "-10,0", "end"));
}

TEST_F(Gatherer, StaysSilentAfterACancelUntilTheGestureIsOver) {
    wheel(Qt::ScrollUpdate, {0, 9});
    gatherer.cancel();
    diary.entries.clear();
    wheel(Qt::ScrollUpdate, {0, 9});
    wheel(Qt::ScrollEnd, {});
    EXPECT_THAT(diary.entries, IsEmpty());
    wheel(Qt::NoScrollPhase, {}, {0, 120});
    gatherer.cancel();
    wheel(Qt::NoScrollPhase, {}, {0, 120});
    rest();
    EXPECT_THAT(diary.entries, ElementsAre("0,40 weak"));
    wheel(Qt::NoScrollPhase, {}, {0, 120});
    EXPECT_EQ(diary.entries.size(), 2u) << "the next gesture counts again";
}

}  // namespace
}  // namespace zun
