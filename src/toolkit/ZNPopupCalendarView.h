#pragma once

// A small panel with a month in it that comes up beside a field of the same window while that field has the focus. It
// never takes the focus itself, lies inside the window and moves with its field. Hidden at first. Owned by its parent
// widget. Main thread.

#include <QPointer>

#include "toolkit/ZNCalendarPicker.h"

namespace zun {

class ZNPopupCalendarView final : public ZNView {
    Q_OBJECT
  public:
    ZNPopupCalendarView(const Environment& environment, const LocalizedStrings& strings, QWidget* parent = nullptr);

    [[nodiscard]] ZNCalendarPicker& calendarPicker() const { return *_calendarPicker; }
    // The size of the month; the panel is larger by its margins.
    [[nodiscard]] QSize pickerSize() const { return _pickerSize; }
    void onSetPickerSize(QSize size);

    // Below the field, or above it where there is no room, over everything else of the field's window.
    void showBeside(QWidget& anchor);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

  private:
    void place();
    void forgetAnchor();

    ZNCalendarPicker* _calendarPicker;
    QSize _pickerSize = ZNCalendarPicker::naturalSize;
    QPointer<QWidget> _anchor;
};

}  // namespace zun
