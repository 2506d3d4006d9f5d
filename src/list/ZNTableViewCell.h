#pragma once

// One row of the list: the white card with title, date line and topic picture, and what appears on it under the
// pointer. Not a widget: it is laid out once for a reminder and a width, kept as a picture while it is in view, and
// painted wherever the table has it. Main thread.

#include <QPixmap>
#include <QString>

#include "ZunDataModel/ZNReminderObject.h"
#include "cards/TextBlock.h"
#include "list/ListMeasures.h"
#include "toolkit/Pictures.h"

namespace zun {

// What a row says.
struct CellContent {
    std::string reminderID;
    QString title;
    QString subtitle;
    QString snoozeLabel;  // empty where none is shown
    QString pictureName;
    bool isShared = false;
    bool operator==(const CellContent&) const = default;
};

class ZNTableViewCell {
  public:
    enum class Part { None, Body, DragButton, OptionButton };
    // What is seen over the cell at rest.
    struct State {
        bool isHovered = false;
        bool isSelected = false;
        bool canDrag = false;
        bool optionsArePressed = false;
        bool showsOptions = false;  // also without the pointer, e.g. while the menu is open
    };

    ZNTableViewCell(CellContent content, const ListMeasures& measures);

    // The height of the row that holds it.
    [[nodiscard]] int rowHeight() const { return _rowHeight; }
    // The same for texts that are not laid out yet, if each takes one line.
    [[nodiscard]] static int heightOfPlainRow(const ListMeasures& measures);
    [[nodiscard]] QSize size() const { return {_measures.cellWidth, _rowHeight - ListMeasures::spaceAroundCell}; }
    [[nodiscard]] const CellContent& content() const { return _content; }

    // Paints the cell with its upper left corner here. The picture of the cell at rest is made by the first call for a
    // scale and kept until forgetPicture().
    void paint(QPainter& painter, QPointF corner, Pictures& pictures, double scale, const State& state);
    void forgetPicture() { _picture = {}; }
    [[nodiscard]] const QPixmap& picture(Pictures& pictures, double scale);

    // Rectangles within the cell.
    [[nodiscard]] QRectF optionButtonRect() const;
    [[nodiscard]] QRectF dragButtonRect() const;
    [[nodiscard]] QRectF cardImageRect() const;
    [[nodiscard]] Part partAt(QPointF position) const;
    [[nodiscard]] static bool showsDragButton(const State& state);
    [[nodiscard]] bool showsSharedIndicator(const State& state) const;

    // The words as assistive technology reads them.
    [[nodiscard]] QString spokenText() const;

  private:
    void paintFace(QPainter& painter, Pictures& pictures, double scale) const;
    void paintIcon(QPainter& painter, Pictures& pictures, const char* name, QRectF rect, double scale) const;

    CellContent _content;
    ListMeasures _measures;
    TextBlock _title;
    TextBlock _subtitle;
    TextBlock _snoozeLabel;
    double _titleTop;
    int _rowHeight;
    QPixmap _picture;
};

}  // namespace zun
