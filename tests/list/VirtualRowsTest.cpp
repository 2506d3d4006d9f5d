#include <gtest/gtest.h>

#include <map>
#include <random>

#include "list/VirtualRows.h"

namespace zun {
namespace {

// Rows whose true heights nobody knows before they are measured.
class Rows final : public RowMeasurer {
  public:
    void prepareRows(std::size_t first, std::size_t last) override { prepared = {first, last}; }
    int heightOfRow(std::size_t row) override {
        EXPECT_TRUE(row >= prepared.first && row <= prepared.second) << row << " was not prepared";
        ++measured;
        return heights[row];
    }

    std::vector<int> heights;
    std::pair<std::size_t, std::size_t> prepared;
    int measured = 0;
};

class VirtualRowsTest : public testing::Test {
  protected:
    void fill(std::size_t count) {
        for (std::size_t i = 0; i < count; ++i)
            rows.heights.push_back(std::uniform_int_distribution<int>(50, 240)(random));
        places.reset(count, [](std::size_t) { return 95; });
        places.setViewport(600, 20);
    }
    std::map<std::size_t, int> tops() const {
        std::map<std::size_t, int> all;
        for (const auto& placed : places.visible())
            all[placed.row] = placed.top;
        return all;
    }
    // What is in view is without gaps, covers the view and keeps to the ends.
    void check() {
        const auto& visible = places.visible();
        ASSERT_FALSE(visible.empty());
        EXPECT_LE(visible.front().top, 0);
        for (std::size_t i = 0; i < visible.size(); ++i) {
            EXPECT_EQ(visible[i].height, rows.heights[visible[i].row]);
            if (i == 0) continue;
            EXPECT_EQ(visible[i].row, visible[i - 1].row + 1);
            EXPECT_EQ(visible[i].top, visible[i - 1].top + visible[i - 1].height);
        }
        const int end = visible.back().top + visible.back().height;
        EXPECT_TRUE(end >= 600 || visible.back().row + 1 == places.count());
        const bool isAtTheEnd = visible.back().row + 1 == places.count() && places.value() > 0;
        EXPECT_TRUE(!isAtTheEnd || end >= 600 - 20);
        EXPECT_LE(places.value(), places.maximum());
    }

    Rows rows;
    VirtualRows places{rows};
    std::mt19937 random{7};
};

TEST_F(VirtualRowsTest, NothingInViewJumpsWhenAnEstimateIsCorrected) {
    fill(3000);
    places.scrollTo(places.maximum() / 2);
    for (int step = 0; step < 4000; ++step) {
        const auto before = tops();
        const bool wasAtAnEnd = places.value() == 0 || places.value() == places.maximum();
        const int distance = std::uniform_int_distribution<int>(-700, 650)(random);
        places.scrollBy(distance);
        ASSERT_NO_FATAL_FAILURE(check());
        if (wasAtAnEnd || places.value() == 0 || places.value() == places.maximum()) continue;
        for (const auto& [row, top] : tops()) {
            if (!before.contains(row)) continue;
            ASSERT_EQ(top, before.at(row) - distance) << "row " << row;
        }
    }
}

TEST_F(VirtualRowsTest, OnlyWhatComesIntoViewIsMeasured) {
    fill(100'000);
    for (const auto value : {std::int64_t{0}, places.maximum(), places.maximum() / 3}) {
        places.scrollTo(value);
        check();
    }
    EXPECT_LT(rows.measured, 60);
    places.scrollTo(places.maximum());
    const auto& last = places.visible().back();
    EXPECT_EQ(last.row, 99'999U);
    EXPECT_EQ(last.top + last.height, 600 - 20);
    EXPECT_EQ(places.value(), places.maximum());
}

TEST_F(VirtualRowsTest, RemovesMovesAndRevealsLikeAPlainList) {
    fill(200);
    for (int step = 0; step < 600; ++step) {
        const auto any = [&] { return std::uniform_int_distribution<std::size_t>(0, places.count() - 1)(random); };
        const std::size_t row = any();
        switch (step % 4) {
            case 0:
                if (places.count() < 20) break;
                rows.heights.erase(rows.heights.begin() + static_cast<std::ptrdiff_t>(row));
                places.remove(row);
                break;
            case 1: {
                const std::size_t to = any();
                const int height = rows.heights[row];
                rows.heights.erase(rows.heights.begin() + static_cast<std::ptrdiff_t>(row));
                rows.heights.insert(rows.heights.begin() + static_cast<std::ptrdiff_t>(to), height);
                places.move(row, to);
                break;
            }
            case 2: {
                places.reveal(row);
                const auto shown = tops();
                ASSERT_TRUE(shown.contains(row));
                EXPECT_GE(shown.at(row), 0);
                EXPECT_LE(shown.at(row) + rows.heights[row], 600 - 20);
                break;
            }
            default:
                places.setViewport(600, step % 8 == 3 ? 70 : 20);
                places.setViewport(600, 20);
        }
        ASSERT_NO_FATAL_FAILURE(check());
    }
}

TEST_F(VirtualRowsTest, ShortListsStandAtTheTop) {
    fill(2);
    places.scrollBy(500);
    EXPECT_EQ(places.value(), 0);
    EXPECT_EQ(places.visible().front().top, 0);
    places.remove(0);
    places.remove(0);
    EXPECT_TRUE(places.visible().empty());
    EXPECT_EQ(places.maximum(), 0);
}

}  // namespace
}  // namespace zun
