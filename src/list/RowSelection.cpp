#include "list/RowSelection.h"

namespace zun {

void RowSelection::reset(std::size_t count) {
    _isSelected.assign(count, false);
    _count = 0;
    current.reset();
    anchor.reset();
}

void RowSelection::clear() {
    _isSelected.assign(_isSelected.size(), false);
    _count = 0;
}

void RowSelection::set(std::size_t row, bool isSelected) {
    if (_isSelected[row] == isSelected) return;
    _isSelected[row] = isSelected;
    isSelected ? ++_count : --_count;
}

void RowSelection::remove(std::size_t row) {
    set(row, false);
    _isSelected.erase(_isSelected.begin() + static_cast<std::ptrdiff_t>(row));
    for (auto* each : {&current, &anchor}) {
        if (!*each) continue;
        if (**each == row) {
            each->reset();
        } else if (**each > row) {
            --**each;
        }
    }
}

void RowSelection::move(std::size_t from, std::size_t to) {
    const bool isSelected = _isSelected[from];
    _isSelected.erase(_isSelected.begin() + static_cast<std::ptrdiff_t>(from));
    _isSelected.insert(_isSelected.begin() + static_cast<std::ptrdiff_t>(to), isSelected);
    for (auto* each : {&current, &anchor}) {
        if (!*each) continue;
        std::size_t& row = **each;
        if (row == from) {
            row = to;
        } else if (from < row && row <= to) {
            --row;
        } else if (to <= row && row < from) {
            ++row;
        }
    }
}

std::vector<std::size_t> RowSelection::rows() const {
    std::vector<std::size_t> all;
    all.reserve(_count);
    for (std::size_t row = 0; row < _isSelected.size(); ++row)
        if (_isSelected[row]) all.push_back(row);
    return all;
}

}  // namespace zun
