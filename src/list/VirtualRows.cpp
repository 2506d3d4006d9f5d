#include "list/VirtualRows.h"

#include <algorithm>
#include <bit>

namespace zun {
namespace {

// No row is lower; how many rows a view may need follows from it.
constexpr int lowestRow = 40;

}  // namespace

void VirtualRows::rebuild() {
    _sums.assign(_heights.size() + 1, 0);
    for (std::size_t i = 1; i < _sums.size(); ++i) {
        _sums[i] += _heights[i - 1];
        const std::size_t parent = i + (i & (~i + 1));
        if (parent < _sums.size()) _sums[parent] += _sums[i];
    }
}

std::int64_t VirtualRows::topOf(std::size_t row) const {
    std::int64_t sum = 0;
    for (std::size_t i = row; i > 0; i &= i - 1)
        sum += _sums[i];
    return sum;
}

void VirtualRows::reset(std::size_t count, const Estimate& estimate, std::size_t firstRow, std::int64_t below) {
    _heights.resize(count);
    for (std::size_t row = 0; row < count; ++row)
        _heights[row] = estimate(row);
    _isMeasured.assign(count, false);
    rebuild();
    _row = count == 0 ? 0 : std::min(firstRow, count - 1);
    _below = count == 0 ? 0 : below;
    layOut();
}

void VirtualRows::setViewport(int height, int bottomInset) {
    _viewHeight = height;
    _bottomInset = bottomInset;
    layOut();
}

void VirtualRows::forgetHeight(std::size_t row, int estimate) {
    const std::int64_t change = estimate - _heights[row];
    _heights[row] = estimate;
    for (std::size_t i = row + 1; i < _sums.size(); i += i & (~i + 1))
        _sums[i] += change;
    _isMeasured[row] = false;
    layOut();
}

void VirtualRows::measure(std::size_t row) {
    if (_isMeasured[row]) return;
    const int height = _measurer.heightOfRow(row);
    const std::int64_t change = height - _heights[row];
    _heights[row] = height;
    _isMeasured[row] = true;
    for (std::size_t i = row + 1; change != 0 && i < _sums.size(); i += i & (~i + 1))
        _sums[i] += change;
}

// Brings the place into its normal form upwards: the view's edge is not above the row it is told by.
void VirtualRows::climb() {
    if (_below >= 0 || _row == 0) {
        if (_row == 0) _below = std::max<std::int64_t>(_below, 0);
        return;
    }
    const auto rows = static_cast<std::size_t>(-_below / lowestRow) + 1;
    _measurer.prepareRows(_row > rows ? _row - rows : 0, _row);
    while (_below < 0 && _row > 0) {
        measure(--_row);
        _below += _heights[_row];
    }
    _below = std::max<std::int64_t>(_below, 0);
}

// And downwards: it is above the row's lower edge.
void VirtualRows::descend() {
    if (_below < _heights[_row]) return;
    const auto rows = static_cast<std::size_t>(_below / lowestRow) + 1;
    _measurer.prepareRows(_row, std::min(_row + rows, _heights.size() - 1));
    for (measure(_row); _below >= _heights[_row] && _row + 1 < _heights.size(); measure(_row))
        _below -= _heights[_row++];
}

void VirtualRows::layOut() {
    _visible.clear();
    if (_heights.empty() || _viewHeight <= 0) return;
    climb();
    descend();
    // The second time, if the first finds the end of the rows above the view's lower edge.
    for (int attempt = 0; attempt < 2; ++attempt) {
        _visible.clear();
        const auto rows = static_cast<std::size_t>((_viewHeight + _below) / lowestRow) + 1;
        _measurer.prepareRows(_row, std::min(_row + rows, _heights.size() - 1));
        std::int64_t top = -_below;
        std::size_t row = _row;
        for (; row < _heights.size() && top < _viewHeight; ++row) {
            measure(row);
            _visible.push_back({row, static_cast<int>(top), _heights[row]});
            top += _heights[row];
        }
        const std::int64_t gap = _viewHeight - _bottomInset - top;
        if (row < _heights.size() || gap <= 0 || (_row == 0 && _below == 0)) return;
        _below -= gap;
        climb();
    }
}

void VirtualRows::scrollBy(std::int64_t distance) {
    if (_heights.empty()) return;
    // A long way is not worth measuring every row on it.
    if (std::abs(distance) > std::int64_t{4} * _viewHeight) return scrollTo(value() + distance);
    _below += distance;
    layOut();
}

void VirtualRows::scrollTo(std::int64_t value) {
    if (_heights.empty()) return;
    if (value > 0 && value >= maximum()) return scrollToEnd();
    std::int64_t rest = std::max<std::int64_t>(value, 0);
    std::size_t row = 0;
    for (std::size_t step = std::bit_floor(_heights.size()); step > 0; step /= 2) {
        if (row + step >= _sums.size() || _sums[row + step] > rest) continue;
        row += step;
        rest -= _sums[row];
    }
    _row = std::min(row, _heights.size() - 1);
    _below = rest;
    layOut();
}

void VirtualRows::scrollToEnd() {
    if (_heights.empty()) return;
    _row = _heights.size() - 1;
    _measurer.prepareRows(_row, _row);
    measure(_row);
    _below = _heights[_row] + _bottomInset - _viewHeight;
    layOut();
}

void VirtualRows::reveal(std::size_t row) {
    if (row >= _heights.size()) return;
    // Nothing but a heading is above it, which then belongs to the view.
    if (row <= 1) return scrollToTop();
    _measurer.prepareRows(row, row);
    measure(row);
    const std::int64_t room = _viewHeight - _bottomInset;
    const std::int64_t top = topOf(row) - value();
    if (top >= 0 && top + _heights[row] <= room) return;
    _row = row;
    _below = top < 0 || _heights[row] > room ? 0 : _heights[row] - room;
    layOut();
}

void VirtualRows::remove(std::size_t row) {
    _heights.erase(_heights.begin() + static_cast<std::ptrdiff_t>(row));
    _isMeasured.erase(_isMeasured.begin() + static_cast<std::ptrdiff_t>(row));
    rebuild();
    if (_heights.empty()) {
        _row = 0;
        _below = 0;
    } else if (row < _row) {
        --_row;
    } else if (row == _row) {
        _row = std::min(_row, _heights.size() - 1);
        _below = 0;
    }
    layOut();
}

void VirtualRows::move(std::size_t from, std::size_t to) {
    const auto height = _heights[from];
    const bool isMeasured = _isMeasured[from];
    _heights.erase(_heights.begin() + static_cast<std::ptrdiff_t>(from));
    _heights.insert(_heights.begin() + static_cast<std::ptrdiff_t>(to), height);
    _isMeasured.erase(_isMeasured.begin() + static_cast<std::ptrdiff_t>(from));
    _isMeasured.insert(_isMeasured.begin() + static_cast<std::ptrdiff_t>(to), isMeasured);
    const std::int64_t place = value();
    rebuild();
    scrollTo(place);
}

std::int64_t VirtualRows::value() const {
    return topOf(_row) + _below;
}

std::int64_t VirtualRows::maximum() const {
    return std::max<std::int64_t>(topOf(_heights.size()) + _bottomInset - _viewHeight, 0);
}

}  // namespace zun
