#pragma once

// The calendar beside the cards: the month above, the selected day's reminders below.
//
// It holds an index by day of the dated reminders to come, fetched off the main thread; changes that come while a fetch
// runs cost one more fetch. While it is hidden nothing is fetched: it catches up when it is shown. The selected day
// stays over refreshes. Owned by its parent widget. Main thread.

#include <memory>
#include <vector>

#include "calendar/CalendarContext.h"
#include "calendar/ZNCalendarView.h"
#include "core/DayIndex.h"
#include "platform/foundation/BlocksUnderWay.h"
#include "toolkit/ZNView.h"

class QLabel;
class QListView;

namespace zun {

class DayReminders;
class GroundScrollBar;
class ZNCalendarTableViewCell;

class ZNCalendarViewController final : public ZNView, private ZNCalendarViewDelegate {
    Q_OBJECT
  public:
    ZNCalendarViewController(const CalendarContext& context, QWidget* parent = nullptr);
    ~ZNCalendarViewController() override { _fetches.wait(); }

    // A minute later: relative words, the day, the zone and the region may be others.
    void minutePassed();
    // Another day has begun, or somebody comes back to the screen.
    void lockDidChange();

    [[nodiscard]] ZNCalendarView& calendarView() const { return *_calendarView; }
    [[nodiscard]] QListView& tableView() const { return *_tableView; }
    [[nodiscard]] QLabel& zeroState() const { return *_zeroState; }
    [[nodiscard]] bool isUpToDate() const { return !_fetchRuns && !_isStale; }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void didSelectDate(NSDate date) override;
    [[nodiscard]] std::size_t eventsForDate(NSDate date) const override;

    void addObservers();
    void remindersWereUpdated();
    void takeReminders(std::shared_ptr<const ListedReminders> reminders);
    void showRemindersForSelectedDate();
    void tableClicked(const QModelIndex& row);
    void adjustColumn();
    [[nodiscard]] std::vector<std::string> remindersForDate(NSDate date) const;

    CalendarContext _context;
    DateLabels _labels;
    DispatchQueuePtr _fetchQueue;
    std::shared_ptr<const ListedReminders> _reminders;
    DayIndex _index;
    ZNCalendarView* _calendarView;
    QListView* _tableView;
    DayReminders* _remindersForCurrentDay;
    ZNCalendarTableViewCell* _cell;
    GroundScrollBar* _scrollBar;  // beside the rows, whose width it leaves alone
    QLabel* _zeroState;
    QRectF _divider;
    // What the words and the days on the screen were made with.
    std::shared_ptr<const NSTimeZone> _zone;
    NSLocale _locale;
    NSDate _today;
    bool _fetchRuns = false;
    bool _isStale = true;  // a change came that no fetch has seen
    std::vector<Observation> _observations;
    BlocksUnderWay _fetches;
};

}  // namespace zun
