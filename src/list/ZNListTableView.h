#pragma once

// The table of the list: any number of rows of which only those in view are fetched, measured and kept as pictures. It
// selects, scrolls, drags and speaks to assistive technology; what its rows mean and what is done with them is for its
// delegate.
//
//   rows         given whole by setRows(), which keeps selection and place by the reminders' identifiers; single rows
//                leave or move with an animation, and what follows slides to its place
//   a drag       is inside the table: a press that moves far enough, on a row that may move. It carries the dragged
//                reminder's identifier, so rows that are replaced meanwhile do no harm
//   keys         arrows, Home, End and Page move (with Shift they extend, with Ctrl they only look), Space and Return
//                open, Delete deletes, Menu and Shift+F10 open the options, Alt with arrows moves the row
//
// Owned by its parent widget. Main thread; a row that comes into view costs a query.

#include <QAbstractScrollArea>
#include <QPointer>
#include <optional>
#include <unordered_map>

#include "cards/CardContext.h"
#include "core/ListRows.h"
#include "list/ListCells.h"
#include "list/RowSelection.h"
#include "list/VirtualRows.h"
#include "toolkit/ZNAnimationGroup.h"

namespace zun {

class ZNListTableView;

class ZNListTableViewDelegate {
  public:
    virtual ~ZNListTableViewDelegate() = default;
    virtual void tableViewSelectionDidChange(ZNListTableView& table) = 0;
    // Also by Space or Return.
    virtual void tableDoubleClicked(ZNListTableView& table, std::size_t row) = 0;
    virtual void didRequestOptionsForRow(ZNListTableView& table, std::size_t row, QPoint globalPosition) = 0;
    virtual void shouldDeleteSelectedRows(ZNListTableView& table) = 0;
    virtual void shouldCopySelectedRows(ZNListTableView& table) = 0;
    // The row was dropped above another, by the rules of reordering.
    virtual void acceptDrop(ZNListTableView& table, std::size_t source, std::size_t droppedAbove) = 0;
};

class ZNListTableView final : public QAbstractScrollArea, private RowMeasurer {
    Q_OBJECT
  public:
    struct Collaborators {
        CardContext cards;
        const ZNReminderManager& manager;
        const ZNReminderHelper& helper;
    };

    ZNListTableView(const Collaborators& collaborators, ZNListTableViewDelegate& delegate, QWidget* parent);
    ~ZNListTableView() override;

    // What it shows from now on.
    void setRows(ListRows rows);
    [[nodiscard]] const ListRows& rows() const { return _rows; }
    // Slides what is below the row up into its place.
    void removeRow(std::size_t row);
    // Takes the row out and puts it in at `to` of what is left.
    void moveRow(std::size_t from, std::size_t to);
    // The words of the rows may be others: a minute has passed, or the language has changed.
    void refreshWords();

    void setMeasures(const ListMeasures& measures);
    void setBottomInset(int inset);
    [[nodiscard]] int bottomInset() const { return _bottomInset; }
    void setAlpha(double alpha);
    void scrollToTop();

    // ---- selection; headings are never part of it
    void deselectAll();
    void selectRow(std::size_t row);
    [[nodiscard]] const RowSelection& selection() const { return _selection; }
    [[nodiscard]] std::size_t numberOfSelectedRows() const { return _selection.count(); }
    [[nodiscard]] std::vector<std::string> selectedIDs() const;
    void toggleRow(std::size_t row);
    // Gives the row the keyboard's attention and brings it into view.
    void setCurrentRow(std::size_t row);

    // ---- single rows
    [[nodiscard]] std::optional<std::size_t> rowAt(QPoint inViewport) const;
    // Where a row is in the viewport; nothing for one out of view.
    [[nodiscard]] QRect rectOfRow(std::size_t row) const;
    [[nodiscard]] QRect rectOfCell(std::size_t row) const;
    [[nodiscard]] QRect rectOfOptionButton(std::size_t row);
    [[nodiscard]] ZNTableViewCell& cell(std::size_t row) { return _cells.cell(_rows, row); }
    void requestOptions(std::size_t row);
    // The row whose menu is open shows its button; none without an argument.
    void setRowWithOpenOptions(std::optional<std::size_t> row);
    // Whether the row could be moved by one place, and doing so.
    enum class Way { Up, Down };
    [[nodiscard]] bool canMoveRow(std::size_t row, Way way) const;
    void moveRowByOne(std::size_t row, Way way);

    [[nodiscard]] bool isDragging() const { return _drag.has_value(); }
    void cancelDrag();
    // The row above which what is dragged would be dropped now.
    [[nodiscard]] std::optional<std::size_t> dropRow() const;
    [[nodiscard]] ZNListTableViewDelegate& delegate() const { return _delegate; }
    [[nodiscard]] QString text(std::string_view key) const {
        return QString::fromStdString(_with.cards.texts.text(key));
    }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    bool viewportEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void hideEvent(QHideEvent* event) override;

  private:
    struct Press {
        std::size_t row;
        QPoint position;
        ZNTableViewCell::Part part;
        bool selectsOnRelease;
    };
    struct Drag {
        std::string reminderID;
        QPixmap picture;
        QPoint grip;  // within the picture
        QPoint position;
    };
    // A row that has gone and is still seen on its way out.
    struct Leaving {
        QPixmap picture;
        QPointF corner;
    };

    void prepareRows(std::size_t first, std::size_t last) override { _cells.prepare(_rows, first, last); }
    [[nodiscard]] int heightOfRow(std::size_t row) override;
    [[nodiscard]] int estimateOfRow(std::size_t row) const;
    void resetPlaces(std::size_t firstRow, std::int64_t below);
    void restoreSelection(const ListRows& before);
    void restorePlace(const ListRows& before);
    void followPlaces();
    void scrollBy(std::int64_t distance);
    void updateColumn();
    void updateRow(std::size_t row);
    void selectionDidChange();

    [[nodiscard]] int columnLeft() const;
    [[nodiscard]] double topShown(const VirtualRows::Placed& placed) const;
    [[nodiscard]] QPointF cellCorner(double rowTop) const;
    void paintRow(QPainter& painter, const VirtualRows::Placed& placed);
    void paintDropLine(QPainter& painter) const;
    void paintDragged(QPainter& painter) const;

    [[nodiscard]] std::string keyOfRow(std::size_t row) const;
    void rememberTops();
    void slideFromRememberedTops(int otherwise);
    void frameDidPass();

    void selectRange(std::size_t from, std::size_t to);
    [[nodiscard]] std::optional<std::size_t> selectableRow(std::size_t from, Way way) const;
    [[nodiscard]] std::size_t rowOnePageAway(Way way) const;
    bool moveByKey(const QKeyEvent& event);
    bool actByKey(const QKeyEvent& event);
    void goToRow(std::optional<std::size_t> row, Qt::KeyboardModifiers modifiers);
    void pressRow(std::size_t row, ZNTableViewCell::Part part, const QMouseEvent& event);
    [[nodiscard]] ZNTableViewCell::Part partAt(QPoint inViewport);
    void hover(QPoint inViewport);
    void hoverNothing();

    void beginDrag(const Press& press);
    void scrollAtEdges();

    Collaborators _with;
    ZNListTableViewDelegate& _delegate;
    ListRows _rows;
    ListCells _cells;
    VirtualRows _places;
    RowSelection _selection;
    int _bottomInset = ListMeasures::restingInset;
    double _alpha = 1;
    std::int64_t _measuredTotal = 0;  // of the rows of reminders, for the estimate of the others
    std::int64_t _measuredCount = 0;
    bool _followsPlaces = false;
    bool _showsRing = false;

    std::optional<std::size_t> _hovered;
    ZNTableViewCell::Part _hoveredPart = ZNTableViewCell::Part::None;
    std::string _idWithOpenOptions;
    std::optional<Press> _press;
    std::optional<Drag> _drag;
    NSTimer _edgeTimer;

    AnimatedValue _glide{AnimatedValue::Kind::Movement};  // what a wheel's turn still has to go
    double _glideBefore = 0;
    AnimatedValue _slide{AnimatedValue::Kind::Movement};  // 1 to 0 while rows slide to their places
    std::unordered_map<std::string, int> _topsBefore;
    std::unordered_map<std::string, int> _slides;  // how far above or below its place each row begins
    std::vector<Leaving> _leaving;
    Observation _frames;
};

}  // namespace zun
