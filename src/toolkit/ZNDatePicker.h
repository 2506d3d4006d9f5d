#pragma once

// A date or a time of day as text with a stepper: the parts in the order of the user's region, 12 or 24 hours as the
// region has it. The arrow keys move through the parts and step them, digits are typed over them; the tab key leaves
// the picker at once. The wheel steps only a picker that has the focus.
//
// The value is an instant. What is shown is its wall time in the user's zone by our own calendar, never Qt's; a change
// by the user sets the parts that are shown and leaves the others, seconds included, as they were. A time that a
// change of clocks skips moves on. Owned by its parent widget. Main thread.

#include <QDateTimeEdit>

#include "platform/foundation/Environment.h"
#include "platform/foundation/NSDate.h"
#include "toolkit/PlainControls.h"

namespace zun {

// The hour, minute and second of the time on the date's day; a time that this day skips moves on by the gap's length.
[[nodiscard]] NSDate mergeDateWithTime(NSDate date, NSDate time, const Environment& environment);

class ZNDatePicker final : public QDateTimeEdit {
    Q_OBJECT
  public:
    enum class Elements { YearMonthDay, HourMinute };

    // Shows now. The environment must outlive the picker.
    ZNDatePicker(const Environment& environment, Elements elements, QWidget* parent = nullptr);

    [[nodiscard]] NSDate dateValue() const { return _value; }
    // Does not tell of a change. What is being typed stays if it says the same.
    void setDateValue(NSDate value);
    // Nothing earlier can be chosen; an earlier value becomes this one.
    void setMinDate(OptionalDate minDate);
    // The zone or the region is another now: the same instant is shown anew.
    void surroundingsDidChange();

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

  signals:
    // The user chose another value.
    void didChange();
    // The focus came or went inside the window; a window or menu that takes it for a while does not count.
    void didBecomeActive();
    void didResignActive();

  protected:
    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void changeEvent(QEvent* event) override;
    bool focusNextPrevChild(bool next) override { return QWidget::focusNextPrevChild(next); }

  private:
    void applyFormat();
    [[nodiscard]] bool meansOtherHalf(const QString& letter) const;
    void present(NSDate value);
    void takeChange(const QDateTime& wallTime);
    [[nodiscard]] QDateTime wallTime(NSDate date) const;

    const Environment& _environment;
    Elements _elements;
    NSDate _value;
    OptionalDate _minDate;
    FocusRing _ring;
    bool _isShowing = false;  // while we, not the user, change the text
    bool _isActive = false;
};

}  // namespace zun
