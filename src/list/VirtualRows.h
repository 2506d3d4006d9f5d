#pragma once

// Where the rows of a long table stand of which only a few are ever measured. A row that was not in view yet counts
// with an estimate. The place is kept as a row and how far the view's upper edge lies below that row's top, so a
// corrected estimate moves nothing that is seen; only the numbers for the scroll bar follow.
//
//   value() = heights of all rows above the first one in view + its part that is out of view
//
// All measures are logical pixels. Free of widgets; one thread. A change of one height takes some 20 steps among
// 100,000 rows, the removal or move of a row a fifth of a millisecond.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace zun {

// Who knows how high rows are.
class RowMeasurer {
  public:
    virtual ~RowMeasurer() = default;
    // These rows, both included, are about to be measured.
    virtual void prepareRows(std::size_t first, std::size_t last) = 0;
    [[nodiscard]] virtual int heightOfRow(std::size_t row) = 0;
};

class VirtualRows {
  public:
    struct Placed {
        std::size_t row;
        int top;  // below the view's upper edge
        int height;
    };
    using Estimate = std::function<int(std::size_t row)>;

    // The measurer must outlive this.
    explicit VirtualRows(RowMeasurer& measurer) : _measurer(measurer) {}

    // Other rows, or the same ones in other sizes; none is measured. The view begins so far below this row's top.
    void reset(std::size_t count, const Estimate& estimate, std::size_t firstRow = 0, std::int64_t below = 0);
    // The inset stays empty below the last row.
    void setViewport(int height, int bottomInset);
    // A row's height may be another from now on.
    void forgetHeight(std::size_t row, int estimate);

    void scrollBy(std::int64_t distance);
    void scrollTo(std::int64_t value);
    void scrollToTop() { scrollTo(0); }
    void scrollToEnd();
    // Scrolls as little as brings the whole row into view.
    void reveal(std::size_t row);

    void remove(std::size_t row);
    void move(std::size_t from, std::size_t to);

    // What is in view, top down, measured.
    [[nodiscard]] const std::vector<Placed>& visible() const { return _visible; }
    [[nodiscard]] std::size_t count() const { return _heights.size(); }
    [[nodiscard]] std::int64_t value() const;
    [[nodiscard]] std::int64_t maximum() const;
    // The first row in view, and how far the view's edge is below its top.
    [[nodiscard]] std::size_t firstRow() const { return _row; }
    [[nodiscard]] std::int64_t below() const { return _below; }

  private:
    void measure(std::size_t row);
    void layOut();
    void climb();
    void descend();
    void rebuild();
    [[nodiscard]] std::int64_t topOf(std::size_t row) const;

    RowMeasurer& _measurer;
    std::vector<std::int32_t> _heights;
    std::vector<bool> _isMeasured;
    std::vector<std::int64_t> _sums;  // a binary indexed tree over the heights
    std::vector<Placed> _visible;
    std::size_t _row = 0;
    std::int64_t _below = 0;
    int _viewHeight = 0;
    int _bottomInset = 0;
};

}  // namespace zun
