#pragma once

// A month as a grid of days with its name and arrows to its neighbours. One day is selected, in this month or another.
// The arrows leave the selection alone; a click selects, and steps to the neighbour whose day was clicked; the keys
// move the selection and the month with it. The tab key stops at one day of the grid.
//
// What the days have to show comes from the delegate. Owned by its parent widget. Main thread.

#include <array>

#include "calendar/CalendarContext.h"
#include "calendar/MonthGrid.h"
#include "calendar/ZNCalendarViewCell.h"
#include "dates/ZNDateFormatter.h"
#include "toolkit/ZNView.h"

namespace zun {

class ZNButton;

class ZNCalendarViewDelegate {
  public:
    virtual ~ZNCalendarViewDelegate() = default;
    virtual void didSelectDate(NSDate date) = 0;
    // How many reminders the day has.
    [[nodiscard]] virtual std::size_t eventsForDate(NSDate date) const = 0;
};

class ZNCalendarView final : public ZNView {
    Q_OBJECT
  public:
    // Shows and selects today.
    ZNCalendarView(const CalendarContext& context, ZNCalendarViewDelegate& delegate, QWidget* parent = nullptr);

    [[nodiscard]] NSDate date() const { return _date; }
    // Shows the month of this date.
    void setDate(NSDate date);
    [[nodiscard]] NSDate selectedDate() const { return _selectedDate; }
    void setSelectedDate(NSDate date);
    void stepMonth(int months);

    // Asks the delegate and the clock anew for every day.
    void reloadCalendar();
    // The zone, the region or the language is another now; the selected day stays the same day of the year.
    void surroundingsDidChange();

    [[nodiscard]] bool isRepresentedDateCurrentMonth(NSDate date) const;
    [[nodiscard]] ZNCalendarViewCell& cell(int row, int column) const {
        return *_dayCells[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)];
    }
    [[nodiscard]] const QString& calendarTitle() const { return _title; }
    [[nodiscard]] const QString& dayLabel(int column) const { return _dayLabels[static_cast<std::size_t>(column)]; }
    [[nodiscard]] ZNButton& prevButton() const { return *_prevButton; }
    [[nodiscard]] ZNButton& nextButton() const { return *_nextButton; }
    [[nodiscard]] const NSCalendar& calendar() const { return _calendar; }

    // Before its height is asked for in a window of another size.
    void updateFontsAndSizingForNewWindowSize();
    // What six rows of square cells under the headers take at this width.
    [[nodiscard]] int heightForWidth(int width) const override;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    void layoutCalendar();
    void updateDays();
    void updateArrows();
    void placeViews();
    void dayClicked(ZNCalendarViewCell& clicked);
    void selectByKeys(NSDate date);
    [[nodiscard]] ZNCalendarViewCell* focusedCell() const;
    [[nodiscard]] ZNCalendarViewCell* entryCell() const;
    [[nodiscard]] QString labelForCell(const ZNCalendarViewCell& cell, std::size_t events) const;
    [[nodiscard]] QString text(std::string_view key) const;
    template <typename Action>
    void forEachCell(Action action) const {
        for (const auto& row : _dayCells)
            for (auto* each : row)
                action(*each);
    }

    CalendarContext _context;
    ZNCalendarViewDelegate& _delegate;
    ZNDateFormatter _formatter;
    NSCalendar _calendar;
    NSDate _date;
    NSDate _selectedDate;
    QString _title;
    QFont _titleFont, _dayFont;
    std::array<QString, MonthGrid::columns> _dayLabels;
    std::array<std::array<ZNCalendarViewCell*, MonthGrid::columns>, MonthGrid::rows> _dayCells{};
    ZNButton* _prevButton;
    ZNButton* _nextButton;
    Observation _settingsObservation;
};

}  // namespace zun
