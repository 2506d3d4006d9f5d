#pragma once

// One day of the month: its number in a circle that says whether it is today, selected, or has reminders. A button that
// counts as checked while it is selected. Without a date it is empty. Owned by its calendar. Main thread.

#include <QAbstractButton>

#include "platform/foundation/NSDate.h"
#include "toolkit/PlainControls.h"

namespace zun {

class ZNCalendarViewCell final : public QAbstractButton {
    Q_OBJECT
  public:
    enum class Month { Shown, Other };

    explicit ZNCalendarViewCell(QWidget* parent);

    void setRepresentedDate(OptionalDate date, int number, Month month);
    [[nodiscard]] OptionalDate representedDate() const { return _representedDate; }
    [[nodiscard]] Month month() const { return _month; }
    void setSelected(bool selected);
    [[nodiscard]] bool selected() const { return isChecked(); }
    void setHasEvents(bool hasEvents);
    [[nodiscard]] bool hasEvents() const { return _hasEvents; }
    void setToday(bool isToday);
    [[nodiscard]] bool isToday() const { return _isToday; }
    // How far the circle stands from the cell's edges.
    void setCircleInset(double inset);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    // Selection comes from the calendar alone.
    void nextCheckState() override {}

  private:
    OptionalDate _representedDate;
    Month _month = Month::Shown;
    bool _hasEvents = false;
    bool _isToday = false;
    double _circleInset = 5;
    FocusRing _ring;
};

}  // namespace zun
