#include <QFocusEvent>
#include <QKeyEvent>
#include <algorithm>

#include "list/ListTableAccessible.h"
#include "list/ReorderRules.h"
#include "list/ZNListTableView.h"

namespace zun {

// The nearest row that is no heading, from this one on.
std::optional<std::size_t> ZNListTableView::selectableRow(std::size_t from, Way way) const {
    for (std::size_t row = from; row < _rows.size(); way == Way::Up ? --row : ++row)
        if (!_rows.isHeader(row)) return row;
    return std::nullopt;
}

std::size_t ZNListTableView::rowOnePageAway(Way way) const {
    const std::size_t current = _selection.current.value_or(1);
    int room = viewport()->height() - _bottomInset;
    std::size_t row = current;
    const auto next = [&] { return way == Way::Up ? row - 1 : row + 1; };
    while (next() < _rows.size()) {
        room -= rectOfRow(next()).isEmpty() ? estimateOfRow(next()) : rectOfRow(next()).height();
        if (room < 0 && row != current) break;
        row = next();
    }
    return row;
}

void ZNListTableView::goToRow(std::optional<std::size_t> row, Qt::KeyboardModifiers modifiers) {
    if (!row) return;
    if (modifiers & Qt::ShiftModifier) {
        const std::size_t from = _selection.anchor.value_or(_selection.current.value_or(*row));
        _selection.anchor = from;
        setCurrentRow(*row);
        selectRange(from, *row);
    } else if (modifiers & Qt::ControlModifier) {
        setCurrentRow(*row);
    } else {
        selectRow(*row);
    }
}

bool ZNListTableView::moveByKey(const QKeyEvent& event) {
    const auto current = _selection.current;
    const auto otherwise = [&](std::optional<std::size_t> row) { return row ? row : current; };
    std::optional<std::size_t> row;
    // With nothing selected the first step is to where the keyboard is already.
    const bool isFirstStep = current && _selection.count() == 0 && event.modifiers() == Qt::NoModifier;
    if (isFirstStep && (event.key() == Qt::Key_Up || event.key() == Qt::Key_Down)) {
        selectRow(*current);
        return true;
    }
    switch (event.key()) {
        case Qt::Key_Up:
            row = current ? otherwise(selectableRow(*current - 1, Way::Up)) : selectableRow(_rows.size() - 1, Way::Up);
            break;
        case Qt::Key_Down:
            row = current ? otherwise(selectableRow(*current + 1, Way::Down)) : selectableRow(0, Way::Down);
            break;
        case Qt::Key_Home:
            row = selectableRow(0, Way::Down);
            break;
        case Qt::Key_End:
            row = selectableRow(_rows.size() - 1, Way::Up);
            break;
        case Qt::Key_PageUp: {
            const std::size_t page = rowOnePageAway(Way::Up);
            row = selectableRow(page, Way::Up);
            if (!row) row = selectableRow(page, Way::Down);
            break;
        }
        case Qt::Key_PageDown: {
            const std::size_t page = rowOnePageAway(Way::Down);
            row = selectableRow(page, Way::Down);
            if (!row) row = selectableRow(page, Way::Up);
            break;
        }
        default:
            return false;
    }
    goToRow(row, event.modifiers());
    return true;
}

bool ZNListTableView::actByKey(const QKeyEvent& event) {
    const auto current = _selection.current;
    const bool opensMenu =
        event.key() == Qt::Key_Menu || (event.key() == Qt::Key_F10 && event.modifiers() == Qt::ShiftModifier);
    if (opensMenu) {
        if (current) requestOptions(*current);
        return true;
    }
    switch (event.key()) {
        case Qt::Key_Space:
            if (event.modifiers() & Qt::ControlModifier) {
                if (current) toggleRow(*current);
                return true;
            }
            [[fallthrough]];
        case Qt::Key_Return:
        case Qt::Key_Enter:
            if (current) _delegate.tableDoubleClicked(*this, *current);
            return true;
        case Qt::Key_Delete:
        case Qt::Key_Backspace:
            _delegate.shouldDeleteSelectedRows(*this);
            return true;
        case Qt::Key_Escape:
            if (!_drag) return false;
            cancelDrag();
            return true;
        default:
            return false;
    }
}

void ZNListTableView::keyPressEvent(QKeyEvent* event) {
    const bool showedRing = std::exchange(_showsRing, true);
    if (!showedRing) updateColumn();
    if (event->matches(QKeySequence::SelectAll)) {
        if (_rows.empty()) return;
        _selection.anchor = selectableRow(0, Way::Down);
        return selectRange(0, _rows.size() - 1);
    }
    if (event->matches(QKeySequence::Copy)) return _delegate.shouldCopySelectedRows(*this);
    const bool isMove =
        event->modifiers() == Qt::AltModifier && (event->key() == Qt::Key_Up || event->key() == Qt::Key_Down);
    if (isMove) {
        if (_selection.current) moveRowByOne(*_selection.current, event->key() == Qt::Key_Up ? Way::Up : Way::Down);
        return;
    }
    if (!moveByKey(*event) && !actByKey(*event)) event->ignore();
}

// A row that is to stand one place lower is dropped above the place that it is to have, by the same rule that lets a
// dragged one land lower than where it was dropped.
bool ZNListTableView::canMoveRow(std::size_t row, Way way) const {
    if (row >= _rows.size() || !_rows.canDrag(row) || (way == Way::Up && row == 0)) return false;
    const std::size_t dragged[] = {row};
    return rowToMove(_rows, dragged) == row && canDropAbove(_rows, way == Way::Up ? row - 1 : row + 1);
}

void ZNListTableView::moveRowByOne(std::size_t row, Way way) {
    if (!canMoveRow(row, way)) return;
    const std::size_t target = way == Way::Up ? row - 1 : row + 1;
    const bool isCurrent = _selection.current == row;
    _delegate.acceptDrop(*this, row, target);
    if (isCurrent && target < _rows.size()) setCurrentRow(target);
}

void ZNListTableView::focusInEvent(QFocusEvent* event) {
    const Qt::FocusReason reason = event->reason();
    if (reason != Qt::PopupFocusReason && reason != Qt::ActiveWindowFocusReason)
        _showsRing = reason != Qt::MouseFocusReason && reason != Qt::OtherFocusReason;
    QAbstractScrollArea::focusInEvent(event);
    if (!_selection.current) _selection.current = _rows.empty() ? std::nullopt : selectableRow(0, Way::Down);
    updateColumn();
    accessibleFocusDidMove(*this);
}

void ZNListTableView::focusOutEvent(QFocusEvent* event) {
    QAbstractScrollArea::focusOutEvent(event);
    updateColumn();
}

}  // namespace zun
