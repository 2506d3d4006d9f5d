#pragma once

// One row of the list under the calendar: the reminder's title over the line that says when, on a rounded ground, with
// a dot for how late it is. Measures and paints rows for a list; holds none. Main thread.

#include <QStyledItemDelegate>

namespace zun {

class ZNCalendarTableViewCell final : public QStyledItemDelegate {
    Q_OBJECT
  public:
    explicit ZNCalendarTableViewCell(QObject* parent) : QStyledItemDelegate(parent) {}

    // Of the calendar; what the rows are measured for.
    void setCalendarWidth(int width) { _calendarWidth = width; }
    // By the preferred size of fonts.
    void setPreferredSize(int preferred) { _preferredSize = preferred; }
    void setShowsFocus(bool shows) { _showsFocus = shows; }

    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;

  private:
    [[nodiscard]] double widthForCell() const;

    int _calendarWidth = 0;
    int _preferredSize = 4;
    bool _showsFocus = false;
};

}  // namespace zun
