#include "list/ReorderRules.h"

namespace zun {

std::optional<std::size_t> rowToMove(const ListRows& rows, std::span<const std::size_t> dragged) {
    if (dragged.empty() || dragged.front() == 0 || dragged.back() > rows.lastValidIndex()) return std::nullopt;
    return dragged.back();
}

bool canDropAbove(const ListRows& rows, std::size_t row) {
    return row > 0 && row < rows.lastValidIndex();
}

std::vector<std::string> orderAfterMove(const ListRows& rows) {
    return rows.reminderIDs(0, rows.lastValidIndex());
}

}  // namespace zun
