#include <QApplication>
#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QMouseEvent>
#include <QScrollBar>
#include <QToolTip>
#include <algorithm>

#include "list/ReorderRules.h"
#include "list/ZNListTableView.h"
#include "toolkit/Tokens.h"

namespace zun {
namespace {

using Part = ZNTableViewCell::Part;

constexpr int unitsOfNotch = 120;
constexpr int pointsOfNotch = 96;
constexpr std::chrono::milliseconds glideDuration{120};
// A drag that comes so near to an edge scrolls, the faster the nearer.
constexpr int edge = 48;
constexpr int fastestEdgeStep = 18;

}  // namespace

// ---- under the pointer

ZNTableViewCell::Part ZNListTableView::partAt(QPoint inViewport) {
    const auto row = rowAt(inViewport);
    if (!row || _rows.isHeader(*row)) return Part::None;
    return cell(*row).partAt(QPointF(inViewport - rectOfCell(*row).topLeft()));
}

void ZNListTableView::hover(QPoint inViewport) {
    const Part part = viewport()->rect().contains(inViewport) ? partAt(inViewport) : Part::None;
    const auto row = part == Part::None ? std::nullopt : rowAt(inViewport);
    if (row == _hovered && part == _hoveredPart) return;
    const auto before = std::exchange(_hovered, row);
    _hoveredPart = part;
    if (before && before != row) updateRow(*before);
    if (row) updateRow(*row);
    const bool isHandle = part == Part::DragButton && row && _rows.canDrag(*row);
    viewport()->setCursor(isHandle ? Qt::OpenHandCursor : Qt::ArrowCursor);
}

void ZNListTableView::hoverNothing() {
    if (_hovered) viewport()->update();
    _hovered.reset();
    _hoveredPart = Part::None;
}

bool ZNListTableView::viewportEvent(QEvent* event) {
    if (event->type() == QEvent::Leave) hoverNothing();
    if (event->type() == QEvent::ToolTip) {
        const auto* help = static_cast<QHelpEvent*>(event);
        if (partAt(help->pos()) == Part::OptionButton) {
            QToolTip::showText(help->globalPos(), text("Options_Button_Tooltip"), viewport());
        } else {
            QToolTip::hideText();
        }
        return true;
    }
    return QAbstractScrollArea::viewportEvent(event);
}

// ---- pressing

void ZNListTableView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || _drag) return;
    _showsRing = false;
    const QPoint position = event->position().toPoint();
    const Part part = partAt(position);
    if (part == Part::None) return deselectAll();
    pressRow(*rowAt(position), part, *event);
}

void ZNListTableView::pressRow(std::size_t row, Part part, const QMouseEvent& event) {
    _press = Press{row, event.position().toPoint(), part, false};
    if (part == Part::OptionButton) return updateRow(row);
    if (event.modifiers() & Qt::ControlModifier) {
        toggleRow(row);
    } else if (event.modifiers() & Qt::ShiftModifier) {
        const std::size_t from = _selection.anchor.value_or(row);
        _selection.anchor = from;
        setCurrentRow(row);
        selectRange(from, row);
    } else if (_selection.contains(row)) {
        // It may be the beginning of a drag of all of them.
        _press->selectsOnRelease = true;
    } else {
        selectRow(row);
    }
    // Whoever heard of the selection may have shown other rows.
    if (_press && _press->row >= _rows.size()) _press.reset();
}

void ZNListTableView::mouseMoveEvent(QMouseEvent* event) {
    const QPoint position = event->position().toPoint();
    if (_drag) {
        _drag->position = position;
        return viewport()->update();
    }
    const bool isDragged = _press && (event->buttons() & Qt::LeftButton) && _press->part != Part::OptionButton &&
                           (position - _press->position).manhattanLength() >= QApplication::startDragDistance();
    if (!isDragged) return hover(position);
    beginDrag(*std::exchange(_press, std::nullopt));
    if (_drag) _drag->position = position;
}

void ZNListTableView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return;
    const QPoint position = event->position().toPoint();
    if (_drag) {
        _drag->position = position;
        const auto target = dropRow();
        const std::size_t source = _rows.indexOfObjectWithID(_drag->reminderID);
        const bool mayMove = source != ListRows::npos && _rows.canDrag(source);
        if (target && mayMove) _delegate.acceptDrop(*this, source, *target);
        return cancelDrag();
    }
    const auto press = std::exchange(_press, std::nullopt);
    if (!press) return;
    if (press->part == Part::OptionButton) {
        updateRow(press->row);
        if (rowAt(position) == press->row && partAt(position) == Part::OptionButton) requestOptions(press->row);
    } else if (press->selectsOnRelease) {
        selectRow(press->row);
    }
}

void ZNListTableView::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return;
    const QPoint position = event->position().toPoint();
    const Part part = partAt(position);
    if (part == Part::OptionButton) return mousePressEvent(event);
    if (part != Part::None) _delegate.tableDoubleClicked(*this, *rowAt(position));
}

void ZNListTableView::contextMenuEvent(QContextMenuEvent* event) {
    // The key is a key of the table.
    if (event->reason() != QContextMenuEvent::Mouse || _drag) return;
    const auto row = rowAt(viewport()->mapFromGlobal(event->globalPos()));
    if (!row || _rows.isHeader(*row)) return;
    if (!_selection.contains(*row)) selectRow(*row);
    _delegate.didRequestOptionsForRow(*this, *row, event->globalPos());
}

void ZNListTableView::requestOptions(std::size_t row) {
    _places.reveal(row);
    followPlaces();
    const QRect button = rectOfOptionButton(row);
    const QPoint corner = isRightToLeft() ? button.bottomRight() : button.bottomLeft();
    _delegate.didRequestOptionsForRow(*this, row, viewport()->mapToGlobal(corner + QPoint(0, 2)));
}

void ZNListTableView::setRowWithOpenOptions(std::optional<std::size_t> row) {
    _idWithOpenOptions = row ? std::string(_rows.reminderID(*row)) : std::string();
    updateColumn();
}

void ZNListTableView::wheelEvent(QWheelEvent* event) {
    event->accept();
    if (!event->pixelDelta().isNull()) {
        scrollBy(-event->pixelDelta().y());
    } else {
        // A wheel turns in notches; the rows follow it smoothly.
        const double rest =
            _glide.shown() - event->angleDelta().y() * pointsOfNotch / static_cast<double>(unitsOfNotch);
        _glide.jump(rest);
        _glideBefore = rest;
        _with.cards.animations.runGroup(
            glideDuration, Easing::Out, [this](ZNAnimationGroup& group) { group.set(_glide, 0); },
            [self = QPointer(this)] {
                if (self) self->frameDidPass();
            });
    }
    hover(event->position().toPoint());
}

// ---- dragging

void ZNListTableView::beginDrag(const Press& press) {
    std::vector<std::size_t> dragged{press.row};
    if (_selection.contains(press.row)) dragged = _selection.rows();
    const auto source = rowToMove(_rows, dragged);
    if (!source || !_rows.canDrag(*source)) return;
    const double scale = viewport()->devicePixelRatioF();
    const QRect pressed = rectOfCell(press.row);
    auto& cellOfSource = cell(*source);
    const QPoint grip(press.position.x() - pressed.left(),
                      std::clamp(press.position.y() - pressed.top(), 0, cellOfSource.size().height()));
    _drag = Drag{std::string(_rows.reminderID(*source)), cellOfSource.picture(_with.cards.pictures, scale), grip,
                 press.position};
    viewport()->setCursor(Qt::ClosedHandCursor);
    _edgeTimer = NSTimer(_with.cards.dispatch.main(), tokens::frame, true, [this] { scrollAtEdges(); });
    viewport()->update();
}

void ZNListTableView::cancelDrag() {
    _press.reset();
    _edgeTimer.invalidate();
    if (!_drag) return;
    _drag.reset();
    viewport()->setCursor(Qt::ArrowCursor);
    viewport()->update();
}

void ZNListTableView::scrollAtEdges() {
    if (!_drag) return;
    const int above = edge - _drag->position.y();
    const int below = _drag->position.y() - (viewport()->height() - _bottomInset - edge);
    const int depth = above > 0 ? -above : std::max(below, 0);
    if (depth == 0) return;
    scrollBy(std::clamp(depth * fastestEdgeStep / edge, -fastestEdgeStep, fastestEdgeStep));
    viewport()->update();
}

std::optional<std::size_t> ZNListTableView::dropRow() const {
    if (!_drag || !viewport()->rect().adjusted(-edge, -edge, edge, edge).contains(_drag->position)) return std::nullopt;
    for (const auto& placed : _places.visible()) {
        if (_drag->position.y() >= placed.top + placed.height / 2) continue;
        return canDropAbove(_rows, placed.row) ? std::optional(placed.row) : std::nullopt;
    }
    return std::nullopt;
}

void ZNListTableView::hideEvent(QHideEvent* event) {
    cancelDrag();
    QAbstractScrollArea::hideEvent(event);
}

}  // namespace zun
