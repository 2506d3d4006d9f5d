#pragma once

// A day chosen from a month: title, arrows to the neighbouring months, the days in weeks that start where the region's
// do. The arrows and the wheel only leaf through the months; a click or the keys choose. Dark on white, in any size.
//
// The value is an instant: choosing a day keeps its time of day. With the focus policy Qt::NoFocus nothing inside takes
// the focus either. Owned by its parent widget. Main thread.

#include <array>

#include "dates/ZNDateFormatter.h"
#include "platform/foundation/NSCalendar.h"
#include "toolkit/ZNView.h"

class QAbstractButton;

namespace zun {

class PickerDay;

class ZNCalendarPicker final : public ZNView {
    Q_OBJECT
  public:
    static constexpr QSize naturalSize{210, 172};

    // Shows now. Both must outlive the picker.
    ZNCalendarPicker(const Environment& environment, const LocalizedStrings& strings, QWidget* parent = nullptr);

    [[nodiscard]] NSDate dateValue() const { return _value; }
    // Leafs to its month; does not tell of a change.
    void setDateValue(NSDate value);
    // Days before this one's cannot be chosen.
    void setMinDate(OptionalDate minDate);
    // The zone, the region or the day is another now.
    void surroundingsDidChange();
    void stepMonth(int months);

    [[nodiscard]] QSize sizeHint() const override { return naturalSize; }

  signals:
    // The user chose another day.
    void didChange();

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void changeEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;

  private:
    static constexpr std::size_t dayCount = 42;

    void choose(NSDate day);
    void reload();
    void layOut();
    void giveFocusTo(PickerDay& day);
    [[nodiscard]] QRect titleRect() const;

    const Environment& _environment;
    ZNDateFormatter _formatter;
    NSDate _value;
    NSDate _month;  // the start of the first day of the month shown
    OptionalDate _minDate;
    QString _title;
    std::array<QString, 7> _weekdays;
    std::array<PickerDay*, dayCount> _days{};
    QAbstractButton* _prevButton;
    QAbstractButton* _nextButton;
    int _wheel = 0;  // turned so far towards the next step
    bool _isStale = true;
};

}  // namespace zun
