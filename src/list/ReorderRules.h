#pragma once

// Which rows may be moved by hand, and to where: those that are due, among each other, and none to the last place. The
// same rules hold for the mouse and for keys. Plain functions over the rows as they are shown.

#include <optional>
#include <span>

#include "core/ListRows.h"

namespace zun {

// Of several rows that are dragged at once only the last moves. Absent if these rows, ascending, must stay.
[[nodiscard]] std::optional<std::size_t> rowToMove(const ListRows& rows, std::span<const std::size_t> dragged);
// Whether a row may be dropped above this one.
[[nodiscard]] bool canDropAbove(const ListRows& rows, std::size_t row);
// Of all rows that have a place in the order by hand, in that order.
[[nodiscard]] std::vector<std::string> orderAfterMove(const ListRows& rows);

}  // namespace zun
