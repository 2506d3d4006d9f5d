#pragma once

// Which rows are selected, the one that has the keyboard's attention, and the one from which a range is drawn. A plain
// value: one bit a row.

#include <cstddef>
#include <optional>
#include <vector>

namespace zun {

class RowSelection {
  public:
    void reset(std::size_t count);
    void clear();
    void set(std::size_t row, bool isSelected);
    void remove(std::size_t row);
    void move(std::size_t from, std::size_t to);

    [[nodiscard]] bool contains(std::size_t row) const { return row < _isSelected.size() && _isSelected[row]; }
    [[nodiscard]] std::size_t count() const { return _count; }
    // Ascending.
    [[nodiscard]] std::vector<std::size_t> rows() const;

    std::optional<std::size_t> current;
    std::optional<std::size_t> anchor;

  private:
    std::vector<bool> _isSelected;
    std::size_t _count = 0;
};

}  // namespace zun
