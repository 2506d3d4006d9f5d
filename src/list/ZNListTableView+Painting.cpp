#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>
#include <cmath>

#include "list/ReorderRules.h"
#include "list/ZNListTableView.h"
#include "list/ZNTableHeaderCell.h"
#include "list/ZNTableRowView.h"
#include "toolkit/Tokens.h"

namespace zun {
namespace {

constexpr double dropLineWidth = 2;
constexpr double dropDotRadius = 3.5;
// A row that closes a gap from further away than this appears where it belongs.
constexpr int longestSlide = 400;

}  // namespace

int ZNListTableView::columnLeft() const {
    // Centred in the whole of the table, beside the scroll bar or not, so that it stands under the title.
    return viewport()->mapFrom(this, QPoint((width() - _cells.measures().containerWidth) / 2, 0)).x();
}

void ZNListTableView::updateColumn() {
    viewport()->update(columnLeft(), 0, _cells.measures().containerWidth, viewport()->height());
}

void ZNListTableView::updateRow(std::size_t row) {
    viewport()->update(rectOfRow(row));
}

double ZNListTableView::topShown(const VirtualRows::Placed& placed) const {
    if (_slides.empty() || _slide.shown() == 0) return placed.top;
    const auto slide = _slides.find(keyOfRow(placed.row));
    return slide == _slides.end() ? placed.top : placed.top + std::round(slide->second * _slide.shown());
}

QPointF ZNListTableView::cellCorner(double rowTop) const {
    return {static_cast<double>(columnLeft() + _cells.measures().cellLeft), rowTop + ListMeasures::cellTop};
}

void ZNListTableView::paintRow(QPainter& painter, const VirtualRows::Placed& placed) {
    const auto& measures = _cells.measures();
    const double top = topShown(placed);
    if (_rows.isHeader(placed.row)) {
        ZNTableHeaderCell header(measures);
        header.setHeading(QString::fromStdString(_rows.heading(placed.row)));
        return header.paint(painter, QRectF(columnLeft(), top, measures.containerWidth, placed.height));
    }
    ZNTableViewCell& cell = _cells.cell(_rows, placed.row);
    const QPointF corner = cellCorner(top);
    const bool isCurrent = _selection.current == placed.row;
    const ZNTableRowView ground{_selection.contains(placed.row), isCurrent && hasFocus() && _showsRing};
    ground.paint(painter, QRectF(corner, QSizeF(cell.size())));
    const bool isHovered = _hovered == placed.row && !_drag;
    const bool isDragged = _drag && _drag->reminderID == _rows.reminderID(placed.row);
    const bool isPressed = isHovered && _press && _press->part == ZNTableViewCell::Part::OptionButton;
    const bool hasOpenOptions = !_idWithOpenOptions.empty() && _idWithOpenOptions == _rows.reminderID(placed.row);
    if (isDragged) painter.setOpacity(_alpha * tokens::disabledAlpha);
    cell.paint(painter, corner, _with.cards.pictures, viewport()->devicePixelRatioF(),
               {.isHovered = isHovered,
                .isSelected = ground.isSelected,
                .canDrag = _rows.canDrag(placed.row),
                .optionsArePressed = isPressed || hasOpenOptions,
                .showsOptions = hasOpenOptions || ground.hasRing});
    painter.setOpacity(_alpha);
}

void ZNListTableView::paintEvent(QPaintEvent* event) {
    QPainter painter(viewport());
    painter.setOpacity(_alpha);
    for (const auto& leaving : _leaving) {
        const double share = _slide.shown();
        painter.setOpacity(_alpha * share);
        painter.drawPixmap(leaving.corner - QPointF(0, (1 - share) * leaving.picture.deviceIndependentSize().height()),
                           leaving.picture);
    }
    painter.setOpacity(_alpha);
    const QRect dirty = event->rect();
    for (const auto& placed : _places.visible()) {
        // Asking for the cell keeps its picture.
        if (!_rows.isHeader(placed.row)) (void)_cells.cell(_rows, placed.row);
        const double top = topShown(placed);
        if (top <= dirty.bottom() && top + placed.height >= dirty.top()) paintRow(painter, placed);
    }
    paintDropLine(painter);
    paintDragged(painter);
    _cells.endFrame();
}

void ZNListTableView::paintDropLine(QPainter& painter) const {
    const auto row = dropRow();
    if (!row) return;
    const QRect above = rectOfRow(*row);
    const auto& measures = _cells.measures();
    const double left = columnLeft() + measures.cellLeft;
    const double y = above.top() - ListMeasures::cellTop + 1;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(QColor::fromRgba(tokens::listDropLine), dropLineWidth, Qt::SolidLine, Qt::RoundCap));
    painter.setBrush(Qt::NoBrush);
    const QRectF line = measures.placed(QRectF(measures.cellLeft, y, measures.cellWidth, 0), measures.containerWidth)
                            .translated(columnLeft(), 0);
    const double dot = measures.isMirrored ? line.right() - dropDotRadius : left + dropDotRadius;
    painter.drawEllipse(QPointF(dot, y), dropDotRadius, dropDotRadius);
    const double begin = measures.isMirrored ? line.left() : dot + dropDotRadius;
    const double end = measures.isMirrored ? dot - dropDotRadius : line.right();
    painter.drawLine(QPointF(begin, y), QPointF(end, y));
}

void ZNListTableView::paintDragged(QPainter& painter) const {
    if (!_drag) return;
    painter.setOpacity(_alpha * tokens::listDraggedAlpha);
    const QPointF corner(cellCorner(0).x(), _drag->position.y() - _drag->grip.y());
    const QRectF rect(corner, _drag->picture.deviceIndependentSize());
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    for (int step = 1; step <= 4; ++step) {
        painter.setBrush(QColor(0, 0, 0, 14));
        painter.drawRoundedRect(rect.adjusted(-step, 2 - step, step, 2 + step), tokens::cardRadius + step,
                                tokens::cardRadius + step);
    }
    painter.drawPixmap(corner, _drag->picture);
    painter.setOpacity(_alpha);
}

// ---- rows that slide to their places

std::string ZNListTableView::keyOfRow(std::size_t row) const {
    // No identifier begins like this.
    return _rows.isHeader(row) ? "\n" + _rows.heading(row) : std::string(_rows.reminderID(row));
}

void ZNListTableView::rememberTops() {
    _topsBefore.clear();
    _leaving.clear();
    for (const auto& placed : _places.visible())
        _topsBefore[keyOfRow(placed.row)] = static_cast<int>(topShown(placed));
}

void ZNListTableView::slideFromRememberedTops(int otherwise) {
    _slides.clear();
    for (const auto& placed : _places.visible()) {
        const std::string key = keyOfRow(placed.row);
        const auto before = _topsBefore.find(key);
        const int way = before == _topsBefore.end() ? otherwise : before->second - placed.top;
        if (way != 0 && std::abs(way) <= longestSlide) _slides.emplace(key, way);
    }
    _slide.jump(1);
    _with.cards.animations.runGroup(
        tokens::listSlide, Easing::Out, [this](ZNAnimationGroup& group) { group.set(_slide, 0); },
        [self = QPointer(this)] {
            if (self) self->frameDidPass();
        });
    viewport()->update();
}

void ZNListTableView::frameDidPass() {
    if (_glideBefore != 0) {
        const auto way = static_cast<std::int64_t>(std::round(_glideBefore) - std::round(_glide.shown()));
        _glideBefore = _glide.shown();
        if (way != 0) scrollBy(way);
    }
    if (_slides.empty() && _leaving.empty()) return;
    if (_slide.shown() == 0) {
        _slides.clear();
        _leaving.clear();
    }
    updateColumn();
}

}  // namespace zun
