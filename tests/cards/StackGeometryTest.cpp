#include "cards/StackGeometry.h"

#include <gtest/gtest.h>

#include <cmath>

namespace zun {
namespace {

StackGeometry geometry(double windowWidth, double width, double height, std::uint64_t mode) {
    return StackGeometry({windowWidth, QSizeF(width, height), width, mode});
}

TEST(StackGeometry, SizesCardsByWindowHeightAndMode) {
    const struct {
        double windowWidth, height;
        std::uint64_t mode;
        QSizeF expected;
    } cases[] = {
        {0, 0, 0, {301, 360}},        // no window yet
        {400, 450, 1, {301, 360}},    // 320 x 0.94 rounded up
        {300, 300, 0, {260, 340}},    // never smaller than this
        {980, 720, 2, {400, 520}},    // the ordinary limits
        {900, 600.5, 2, {400, 481}},  // 480.4 rounded up
        {1600, 900, 3, {533, 720}},   // large: 0.74 of the height
        {2560, 1440, 3, {576, 800}},  // large limits
        {1000, 10000, 3, {576, 800}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(geometry(c.windowWidth, c.windowWidth, c.height, c.mode).cardSize(), c.expected)
            << c.windowWidth << " x " << c.height << " mode " << c.mode;
    }
}

TEST(StackGeometry, MakesRoomForTheCalendarFromAWidthOn) {
    const struct {
        double windowWidth, width;
        std::uint64_t mode;
        double expected;
    } cases[] = {
        {819, 819, 2, 0},     {820, 820, 2, 164},  // (20 + 287) / 2 rounded up, + 10
        {980, 980, 2, 194},                        // (24 + 343) / 2
        {1300, 1300, 3, 208},                      // (32 + 364) / 2, the narrower ratio
        {1300, 1300, 2, 226},                      // only in the large mode; (32 + 400) / 2
        {1400, 1400, 3, 182},                      // (35 + 308) / 2 rounded up
        {4000, 4000, 3, 240},                      // both limits: (60 + 400) / 2
    };
    for (const auto& c : cases) {
        EXPECT_EQ(geometry(c.windowWidth, c.width, 700, c.mode).cardXOffset(), c.expected)
            << c.windowWidth << " mode " << c.mode;
    }
    EXPECT_EQ(StackGeometry({900, QSizeF(900, 700), 819, 2}).horizontalOffset(), 0) << "the superview decides whether";
    EXPECT_EQ(StackGeometry({900, QSizeF(900, 700), 820, 2}).horizontalOffset(), -179);
}

TEST(StackGeometry, StepsBackByDepth) {
    const StackGeometry ordinary = geometry(400, 400, 450, 1);
    const StackGeometry large = geometry(1600, 1600, 899, 3);
    for (const int depth : {0, 1, 2}) {
        EXPECT_EQ(ordinary.verticalOffset(depth), 13 + 10 * depth);
        EXPECT_EQ(ordinary.width(depth), 301 - 12 * depth);
        EXPECT_EQ(large.verticalOffset(depth), 13 + 8 * depth);
        EXPECT_EQ(large.width(depth), large.cardSize().width() - 24 * depth);
        EXPECT_NEAR(StackGeometry::alpha(depth), 1 - 0.4 * depth, 1e-12);
    }
    EXPECT_NEAR(StackGeometry::alphaMovingUp(1, 0.5), 0.8, 1e-12);
    EXPECT_NEAR(StackGeometry::alphaMovingUp(2, 1), 0.6, 1e-12);
}

TEST(StackGeometry, SkipsWhereTheCardWasPulled) {
    const StackGeometry wide = geometry(980, 980, 720, 2);
    const double rest = -wide.cardXOffset();
    EXPECT_EQ(wide.skipTarget(SkipLeft::No, rest), rest + 200) << "not pulled at all";
    EXPECT_EQ(wide.skipTarget(SkipLeft::No, rest - 1), rest - 200);
    EXPECT_EQ(wide.skipTarget(SkipLeft::Yes, rest + 100), rest - 200);
}

TEST(CardMeasures, FollowModeAndWindow) {
    const struct {
        std::uint64_t mode;
        double windowWidth;
        CardMeasures expected;
    } cases[] = {
        {0, 350, {26, 120, 25, 50}},  {1, 400, {36, 130, 30, 50}},  {2, 980, {42, 160, 35, 60}},
        {3, 1199, {42, 180, 40, 64}}, {3, 1200, {46, 200, 40, 70}}, {3, 1399, {46, 200, 40, 70}},
        {3, 1400, {51, 240, 45, 76}}, {9, 400, {36, 120, 30, 50}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(cardMeasures(c.mode, c.windowWidth), c.expected) << c.mode << " at " << c.windowWidth;
}

TEST(StackGeometry, MovesTheZeroStateAsideWithTheCards) {
    const struct {
        double windowWidth;
        std::uint64_t mode;
        double offset;
    } cases[] = {
        {899, 2, 0},                                  // 819 are not enough
        {900, 2, 10 - std::ceil((34 + 287) / 2.0)},   // 0.35 of 820
        {1200, 3, 10 - std::ceil((34 + 314) / 2.0)},  // 0.28 of 1120
        {1399, 3, 10 - std::ceil((34 + 370) / 2.0)},
        {1400, 3, 10 - std::ceil((34 + 291) / 2.0)},  // 0.22 of 1320
        {2560, 3, 10 - std::ceil((60 + 400) / 2.0)},
    };
    for (const auto& c : cases)
        EXPECT_EQ(zeroStateXOffset(c.windowWidth, c.mode), c.offset) << c.windowWidth;
}

TEST(StackGeometry, PlacesTheCalendarBesideTheCards) {
    const struct {
        QSizeF window;
        std::uint64_t mode;
        CalendarPlace place;
    } cases[] = {
        {{899, 700}, 2, {true, 287, 568, 0}},
        {{900, 720}, 2, {false, 287, 578, 217}},   // 0.35 of 820; (34 + 400) / 2
        {{1280, 800}, 3, {false, 336, 678, 254}},  // 0.28 of 1200; the card has 0.74 of 640
        {{1600, 900}, 3, {false, 335, 768, 286}},  // 0.22 of 1520, rounded up
        {{2560, 1440}, 3, {false, 400, 1078, 318}},
        {{900, 20}, 2, {false, 287, 1, 217}},  // no negative height
    };
    for (const auto& c : cases) {
        const auto place = calendarPlace(c.window, c.mode);
        EXPECT_EQ(place, c.place) << c.window.width() << ": " << place.width << " " << place.height << " "
                                  << place.xOffset;
    }
    const StackMetrics wide{1280, QSizeF(1200, 760), 1280, 3, false};
    StackMetrics mirrored = wide;
    mirrored.isMirrored = true;
    EXPECT_EQ(StackGeometry(mirrored).horizontalOffset(), -StackGeometry(wide).horizontalOffset());
    EXPECT_EQ(StackGeometry(mirrored).skipTarget(SkipLeft::Yes, 0), StackGeometry(mirrored).horizontalOffset() - 200);
}

TEST(CardMeasures, LimitTitleAndJudgeWhetherTextFits) {
    EXPECT_EQ(titleLineLimit(459.9, HasNotes::Yes), 3);
    EXPECT_EQ(titleLineLimit(459.9, HasNotes::No), 4);
    EXPECT_EQ(titleLineLimit(460, HasNotes::Yes), 4);
    EXPECT_EQ(titleLineLimit(460, HasNotes::No), 5);
    EXPECT_EQ(titleHeight(0, 87), 1);
    EXPECT_EQ(titleHeight(200, 87), 87);

    // 360 high with a footer of 50: 360 - 56 - 29 - 13 - 50 = 212 for notes.
    EXPECT_TRUE(notesFit({13, 29, 0}, 10, 50)) << "no notes always fit";
    EXPECT_TRUE(notesFit({13, 29, 212}, 360, 50));
    EXPECT_FALSE(notesFit({13, 29, 213}, 360, 50));
    // Texts may reach 0.3 of the picture: 360 - 50 - 91 = 219.
    EXPECT_EQ(bannerAlpha({13, 29, 121}, 360, 50, 130), 1);
    EXPECT_EQ(bannerAlpha({13, 29, 122}, 360, 50, 130), 0.1);
}

}  // namespace
}  // namespace zun
