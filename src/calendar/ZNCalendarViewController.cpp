#include "calendar/ZNCalendarViewController.h"

#include <QFocusEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QListView>
#include <QPainter>
#include <QPointer>
#include <QScrollBar>
#include <QStyle>
#include <algorithm>
#include <cmath>

#include "calendar/DayReminders.h"
#include "calendar/ZNCalendarTableViewCell.h"
#include "core/NotificationNames.h"
#include "toolkit/GroundScrollBar.h"
#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

constexpr double dividerGap = 15;
constexpr double dividerHeight = 2;
constexpr double widthShare = 0.96;
constexpr int tableGap = 17;      // below the grid
constexpr int zeroStateTop = 22;  // below the table's top
constexpr int rowsInABatch = 64;

}  // namespace

ZNCalendarViewController::ZNCalendarViewController(const CalendarContext& context, QWidget* parent)
    : ZNView(parent),
      _context(context),
      _labels(context.environment, context.strings),
      _fetchQueue(context.dispatch.makeSerialQueue("calendar", QualityOfService::UserInitiated)),
      _calendarView(new ZNCalendarView(context, *this, this)),
      _tableView(new QListView(this)),
      _remindersForCurrentDay(new DayReminders(context.manager, context.environment, context.strings, this)),
      _cell(new ZNCalendarTableViewCell(this)),
      _scrollBar(new GroundScrollBar(GroundScrollBar::On::Ground, this)),
      _zeroState(new QLabel(this)),
      _zone(context.environment.timeZone()),
      _locale(context.environment.locale()),
      _today(_calendarView->date()),
      _fetches(context.dispatch) {
    setAccessibilityRole(QAccessible::Grouping);
    _tableView->setModel(_remindersForCurrentDay);
    _tableView->setItemDelegate(_cell);
    _tableView->setFrameShape(QFrame::NoFrame);
    _tableView->setSelectionMode(QAbstractItemView::NoSelection);
    _tableView->setEditTriggers(QAbstractItemView::NoEditTriggers);
    _tableView->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    _tableView->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    _tableView->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    // Rows are measured some at a time: a day may have thousands.
    _tableView->setLayoutMode(QListView::Batched);
    _tableView->setBatchSize(rowsInABatch);
    _tableView->setTabKeyNavigation(false);
    _tableView->setMouseTracking(true);
    _tableView->setAutoFillBackground(false);
    _tableView->viewport()->setAutoFillBackground(false);
    _tableView->installEventFilter(this);
    connect(_tableView, &QListView::clicked, this, &ZNCalendarViewController::tableClicked);
    _scrollBar->standFor(*_tableView->verticalScrollBar());
    _zeroState->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    _zeroState->setWordWrap(true);
    _zeroState->setAttribute(Qt::WA_TransparentForMouseEvents);
    QPalette words = _zeroState->palette();
    words.setColor(QPalette::WindowText, QColor::fromRgba(tokens::calendarZeroState));
    _zeroState->setPalette(words);
    addObservers();
    showRemindersForSelectedDate();
}

void ZNCalendarViewController::addObservers() {
    const QPointer<ZNCalendarViewController> self(this);
    const auto refresh = [act = gatheredOnMainThread(_context.dispatch, [self] {
                              if (self) self->remindersWereUpdated();
                          })](const NSNotification&) { act(); };
    for (const auto name :
         {ZNiCloudSyncFinished, ZNUserUpdatedReminderNotification, ZNUserDeletedReminderNotification,
          ZNUserAddedReminderNotification, ZNDatabaseDeDupedNotification, ZNReminderObjectUpdatedNotification,
          ZNReminderObjectRemovedNotification, ZNReminderObjectAddedNotification, ZNListViewUpdatedNotification}) {
        _observations.push_back(_context.notifications.addObserver(name, refresh));
    }
}

// ---- fetching

// Off the main thread, once for a burst of changes, and not at all while nobody sees it.
void ZNCalendarViewController::remindersWereUpdated() {
    _isStale = true;
    if (_fetchRuns || !isVisible()) return;
    _isStale = false;
    _fetchRuns = true;
    const QPointer<ZNCalendarViewController> self(this);
    _fetches.async(*_fetchQueue, [self, &dispatch = _context.dispatch, &manager = _context.manager] {
        auto fetched = std::make_shared<const ListedReminders>(manager.listAllRemindersWithDates());
        dispatch.main()->async([self, reminders = std::move(fetched)]() mutable {
            if (!self) return;
            self->_fetchRuns = false;
            self->takeReminders(std::move(reminders));
            if (self->_isStale) self->remindersWereUpdated();
        });
    });
}

void ZNCalendarViewController::takeReminders(std::shared_ptr<const ListedReminders> reminders) {
    _reminders = std::move(reminders);
    _index = DayIndex(_reminders, _zone);
    showRemindersForSelectedDate();
    _calendarView->reloadCalendar();
}

void ZNCalendarViewController::showEvent(QShowEvent* event) {
    ZNView::showEvent(event);
    minutePassed();
    if (_isStale) remindersWereUpdated();
}

// ---- the day

std::size_t ZNCalendarViewController::eventsForDate(NSDate date) const {
    return _index.remindersOnDay(_index.dayOf(date)).size();
}

std::vector<std::string> ZNCalendarViewController::remindersForDate(NSDate date) const {
    std::vector<std::string> found;
    for (const auto number : _index.remindersOnDay(_index.dayOf(date)))
        found.emplace_back(_index.reminderID(number));
    return found;
}

void ZNCalendarViewController::didSelectDate(NSDate) {
    showRemindersForSelectedDate();
}

void ZNCalendarViewController::showRemindersForSelectedDate() {
    const auto date = _calendarView->selectedDate();
    const auto day = _labels.dateAsMonthAndDay(date);
    auto reminders = remindersForDate(date);
    _zeroState->setText(
        QString::fromStdString(stringWithFormat(_context.strings.string("Calendar_Zero_State"), {day})));
    _zeroState->setVisible(reminders.empty());
    _tableView->setVisible(!reminders.empty());
    if (reminders.empty()) {
        _scrollBar->hide();
    } else {
        _scrollBar->follow();
    }
    _tableView->setAccessibleName(QString::fromStdString(day));
    _remindersForCurrentDay->setReminderIDs(std::move(reminders));
}

void ZNCalendarViewController::tableClicked(const QModelIndex& row) {
    if (const auto reminder = _remindersForCurrentDay->reminderAt(row.row()))
        _context.notifications.postNotificationName(ZNEditControllerRequested, reminder);
}

// ---- time passes

void ZNCalendarViewController::minutePassed() {
    if (!isVisible()) return;
    auto zone = _context.environment.timeZone();
    auto locale = _context.environment.locale();
    const bool isElsewhere = zone != _zone || !(locale == _locale);
    if (isElsewhere) {
        _zone = std::move(zone);
        _locale = std::move(locale);
        if (_reminders) _index = DayIndex(_reminders, _zone);
        _calendarView->surroundingsDidChange();
        showRemindersForSelectedDate();
    } else {
        _remindersForCurrentDay->forgetTexts();
    }
    const auto today = MonthGrid::normalised(_calendarView->calendar(), _context.environment.now());
    if (std::exchange(_today, today) != today) lockDidChange();
}

void ZNCalendarViewController::lockDidChange() {
    _calendarView->reloadCalendar();
    // What was due meanwhile is none of the days' any more.
    remindersWereUpdated();
}

// ---- measures and looks

void ZNCalendarViewController::resizeEvent(QResizeEvent*) {
    _calendarView->updateFontsAndSizingForNewWindowSize();
    const int gridHeight = _calendarView->heightForWidth(width());
    _calendarView->setGeometry(0, 0, width(), gridHeight);
    const double barWidth = width() * widthShare;
    const double barLeft = (width() - barWidth) / 2;
    _divider = QRectF(barLeft, gridHeight + dividerGap, barWidth, dividerHeight);
    // A negative height becomes one point.
    const int tableHeight = std::max(1, height() - gridHeight - static_cast<int>(dividerGap));
    const int top = gridHeight + tableGap;
    _tableView->setGeometry(static_cast<int>(barLeft), top, static_cast<int>(barWidth), tableHeight - 2);
    const QRect beside(width() - GroundScrollBar::thickness + 1, top, GroundScrollBar::thickness, tableHeight - 2);
    _scrollBar->setGeometry(QStyle::visualRect(layoutDirection(), rect(), beside));
    _zeroState->setFont(
        appFontWithSizeStyle(SizeStyle::Paragraph, preferredFontSizeForWindowSize(_context.windowSize().width())));
    _zeroState->setGeometry(static_cast<int>(barLeft), top + zeroStateTop, static_cast<int>(barWidth),
                            std::max(1, std::min(60, height() - top - zeroStateTop)));
    adjustColumn();
}

void ZNCalendarViewController::adjustColumn() {
    _cell->setCalendarWidth(width());
    _cell->setPreferredSize(preferredFontSizeForWindowSize(_context.windowSize().width()));
    _tableView->doItemsLayout();
}

void ZNCalendarViewController::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(_divider, QColor::fromRgba(tokens::calendarDivider));
}

bool ZNCalendarViewController::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::FocusIn) {
        const auto reason = static_cast<QFocusEvent*>(event)->reason();
        _cell->setShowsFocus(reason != Qt::MouseFocusReason);
        if (!_tableView->currentIndex().isValid() && _remindersForCurrentDay->rowCount() > 0)
            _tableView->setCurrentIndex(_remindersForCurrentDay->index(0));
    } else if (event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Space) {
            tableClicked(_tableView->currentIndex());
            return true;
        }
    }
    return ZNView::eventFilter(watched, event);
}

}  // namespace zun
