#include "list/ZNListTableView.h"

#include <QScrollBar>
#include <algorithm>

#include "list/ListTableAccessible.h"
#include "toolkit/GroundScrollBar.h"
#include "toolkit/Tokens.h"

namespace zun {
namespace {

constexpr int wheelStep = 40;

}  // namespace

ZNListTableView::ZNListTableView(const Collaborators& collaborators, ZNListTableViewDelegate& delegate, QWidget* parent)
    : QAbstractScrollArea(parent),
      _with(collaborators),
      _delegate(delegate),
      _cells(collaborators.manager, collaborators.cards.texts, collaborators.helper),
      _places(*this) {
    installListTableAccessibility();
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::StrongFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBar(new GroundScrollBar(GroundScrollBar::On::Ground, this));
    verticalScrollBar()->setSingleStep(wheelStep);
    viewport()->setAutoFillBackground(false);
    viewport()->setMouseTracking(true);
    setAutoFillBackground(false);
    connect(verticalScrollBar(), &QScrollBar::sliderReleased, this, [this] { followPlaces(); });
    _frames = _with.cards.animations.observeFrames([this] { frameDidPass(); });
}

ZNListTableView::~ZNListTableView() = default;

// ---- rows

int ZNListTableView::heightOfRow(std::size_t row) {
    if (_rows.isHeader(row)) return estimateOfRow(row);
    const int height = _cells.cell(_rows, row).rowHeight();
    _measuredTotal += height;
    ++_measuredCount;
    return height;
}

int ZNListTableView::estimateOfRow(std::size_t row) const {
    if (_rows.isHeader(row)) return row == 0 ? ListMeasures::firstHeaderHeight : ListMeasures::headerHeight;
    if (_measuredCount == 0) return ZNTableViewCell::heightOfPlainRow(_cells.measures());
    return static_cast<int>((_measuredTotal + _measuredCount / 2) / _measuredCount);
}

void ZNListTableView::resetPlaces(std::size_t firstRow, std::int64_t below) {
    const int ordinary = _measuredCount == 0 ? ZNTableViewCell::heightOfPlainRow(_cells.measures())
                                             : static_cast<int>((_measuredTotal + _measuredCount / 2) / _measuredCount);
    _places.reset(
        _rows.size(), [&](std::size_t row) { return _rows.isHeader(row) ? estimateOfRow(row) : ordinary; }, firstRow,
        below);
    followPlaces();
}

void ZNListTableView::setRows(ListRows rows) {
    const ListRows before = std::exchange(_rows, std::move(rows));
    _cells.forgetRecords();
    _slides.clear();
    _leaving.clear();
    hoverNothing();
    _press.reset();
    restoreSelection(before);
    restorePlace(before);
    if (hasFocus() && !_selection.current && _rows.size() > 1) _selection.current = 1;
    accessibleRowsDidChange(*this);
    if (_hovered || underMouse()) hover(viewport()->mapFromGlobal(QCursor::pos()));
    viewport()->update();
}

void ZNListTableView::restoreSelection(const ListRows& before) {
    const RowSelection old = std::exchange(_selection, {});
    _selection.reset(_rows.size());
    const auto placeNow = [&](std::optional<std::size_t> row) -> std::optional<std::size_t> {
        if (!row || before.isHeader(*row)) return std::nullopt;
        const std::size_t now = _rows.indexOfObjectWithID(before.reminderID(*row));
        return now == ListRows::npos ? std::nullopt : std::optional(now);
    };
    _selection.current = placeNow(old.current);
    _selection.anchor = placeNow(old.anchor);
    if (old.count() != 0) {
        const auto isSelected = _rows.rowsMarkedIn(before, old.rows());
        for (std::size_t row = 0; row < isSelected.size(); ++row)
            if (isSelected[row]) _selection.set(row, true);
    }
    if (old.count() != 0 || _selection.count() != 0) _delegate.tableViewSelectionDidChange(*this);
}

// The first row in view that is still there stays where it is. At the top, what is new comes into view instead.
void ZNListTableView::restorePlace(const ListRows& before) {
    if (_places.count() == 0 || _places.value() == 0) return resetPlaces(0, 0);
    for (const auto& placed : std::vector(_places.visible())) {
        if (placed.row >= before.size() || before.isHeader(placed.row)) continue;
        const std::size_t now = _rows.indexOfObjectWithID(before.reminderID(placed.row));
        if (now != ListRows::npos) return resetPlaces(now, -placed.top);
    }
    const std::int64_t value = _places.value();
    resetPlaces(0, 0);
    _places.scrollTo(value);
    followPlaces();
}

void ZNListTableView::removeRow(std::size_t row) {
    rememberTops();
    const QRect cellRect = rectOfCell(row);
    if (!cellRect.isEmpty()) {
        const double scale = viewport()->devicePixelRatioF();
        _leaving = {{cell(row).picture(_with.cards.pictures, scale), QPointF(cellRect.topLeft())}};
    }
    const int height = rectOfRow(row).height();
    const bool wasAbove = row < _places.firstRow();
    const bool wasSelected = _selection.contains(row);
    hoverNothing();
    _press.reset();
    _rows.remove(row);
    _selection.remove(row);
    _places.remove(row);
    accessibleRowsDidChange(*this);
    followPlaces();
    slideFromRememberedTops(wasAbove ? 0 : height);
    if (wasSelected) _delegate.tableViewSelectionDidChange(*this);
}

void ZNListTableView::moveRow(std::size_t from, std::size_t to) {
    rememberTops();
    if (_drag) _topsBefore[keyOfRow(from)] = _drag->position.y() - _drag->grip.y() - ListMeasures::cellTop;
    hoverNothing();
    _rows.move(from, to);
    _selection.move(from, to);
    _places.move(from, to);
    accessibleRowsDidChange(*this);
    followPlaces();
    slideFromRememberedTops(0);
}

void ZNListTableView::refreshWords() {
    _cells.forgetRecords();
    resetPlaces(_places.firstRow(), _places.below());
    viewport()->update();
}

void ZNListTableView::setMeasures(const ListMeasures& measures) {
    if (measures == _cells.measures()) return;
    _cells.setMeasures(measures);
    _measuredTotal = _measuredCount = 0;
    resetPlaces(_places.firstRow(), 0);
    viewport()->update();
}

void ZNListTableView::setBottomInset(int inset) {
    if (inset == _bottomInset) return;
    _bottomInset = inset;
    _places.setViewport(viewport()->height(), _bottomInset);
    followPlaces();
}

void ZNListTableView::setAlpha(double alpha) {
    if (alpha == _alpha) return;
    _alpha = alpha;
    viewport()->update();
}

// ---- places

void ZNListTableView::resizeEvent(QResizeEvent* event) {
    QAbstractScrollArea::resizeEvent(event);
    _places.setViewport(viewport()->height(), _bottomInset);
    followPlaces();
}

// The scroll bar tells where the rows are, and does not decide it. While its thumb is held, it keeps its range: it
// would slip from under the pointer.
void ZNListTableView::followPlaces() {
    auto* bar = verticalScrollBar();
    if (!bar->isSliderDown()) {
        _followsPlaces = true;
        bar->setPageStep(std::max(1, viewport()->height()));
        bar->setRange(0, static_cast<int>(std::min<std::int64_t>(_places.maximum(), INT_MAX)));
        bar->setValue(static_cast<int>(std::min<std::int64_t>(_places.value(), INT_MAX)));
        _followsPlaces = false;
    }
    updateColumn();
}

void ZNListTableView::scrollContentsBy(int, int) {
    if (_followsPlaces) return;
    const auto* bar = verticalScrollBar();
    if (bar->isSliderDown()) {
        _places.scrollTo(bar->value());
    } else {
        _places.scrollBy(bar->value() - _places.value());
    }
    followPlaces();
    hover(viewport()->mapFromGlobal(QCursor::pos()));
}

void ZNListTableView::scrollBy(std::int64_t distance) {
    _places.scrollBy(distance);
    followPlaces();
}

void ZNListTableView::scrollToTop() {
    _places.scrollToTop();
    followPlaces();
}

std::optional<std::size_t> ZNListTableView::rowAt(QPoint inViewport) const {
    for (const auto& placed : _places.visible())
        if (inViewport.y() >= placed.top && inViewport.y() < placed.top + placed.height) return placed.row;
    return std::nullopt;
}

QRect ZNListTableView::rectOfRow(std::size_t row) const {
    for (const auto& placed : _places.visible())
        if (placed.row == row) return {columnLeft(), placed.top, _cells.measures().containerWidth, placed.height};
    return {};
}

QRect ZNListTableView::rectOfCell(std::size_t row) const {
    const QRect rect = rectOfRow(row);
    if (rect.isEmpty()) return {};
    const auto& measures = _cells.measures();
    return {rect.left() + measures.cellLeft, rect.top() + ListMeasures::cellTop, measures.cellWidth,
            rect.height() - ListMeasures::spaceAroundCell};
}

QRect ZNListTableView::rectOfOptionButton(std::size_t row) {
    const QRect rect = rectOfCell(row);
    if (rect.isEmpty() || _rows.isHeader(row)) return {};
    return cell(row).optionButtonRect().translated(rect.topLeft()).toAlignedRect();
}

// ---- selection

void ZNListTableView::selectionDidChange() {
    updateColumn();
    _delegate.tableViewSelectionDidChange(*this);
}

void ZNListTableView::deselectAll() {
    if (_selection.count() == 0) return;
    _selection.clear();
    selectionDidChange();
}

void ZNListTableView::selectRow(std::size_t row) {
    _selection.clear();
    if (!_rows.isHeader(row)) {
        _selection.set(row, true);
        _selection.anchor = row;
        setCurrentRow(row);
    }
    selectionDidChange();
}

void ZNListTableView::toggleRow(std::size_t row) {
    if (_rows.isHeader(row)) return;
    _selection.set(row, !_selection.contains(row));
    _selection.anchor = row;
    setCurrentRow(row);
    selectionDidChange();
}

void ZNListTableView::selectRange(std::size_t from, std::size_t to) {
    _selection.clear();
    const auto [first, last] = std::minmax(from, to);
    for (std::size_t row = first; row <= last && row < _rows.size(); ++row)
        if (!_rows.isHeader(row)) _selection.set(row, true);
    selectionDidChange();
}

void ZNListTableView::setCurrentRow(std::size_t row) {
    _selection.current = row;
    _places.reveal(row);
    followPlaces();
    if (hasFocus()) accessibleFocusDidMove(*this);
}

std::vector<std::string> ZNListTableView::selectedIDs() const {
    std::vector<std::string> identifiers;
    identifiers.reserve(_selection.count());
    for (const std::size_t row : _selection.rows())
        identifiers.emplace_back(_rows.reminderID(row));
    return identifiers;
}

}  // namespace zun
