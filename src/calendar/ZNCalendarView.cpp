#include "calendar/ZNCalendarView.h"

#include <QFontMetricsF>
#include <QKeyEvent>
#include <QLocale>
#include <QPainter>
#include <QPointer>
#include <QStyle>
#include <algorithm>
#include <cmath>

#include "toolkit/DayKeys.h"
#include "toolkit/Tokens.h"
#include "toolkit/ZNButton.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

constexpr double titleKerning = 3;
constexpr int headerPadding = 50;  // over, between and below title and weekdays
constexpr int arrowSide = tokens::minimumHitSize;
constexpr int arrowIconSide = 18;
constexpr int weekdayGap = 12;  // between the weekdays and the first row
constexpr double circleInset = 5;
constexpr double circleInsetInLargeWindow = 8;

}  // namespace

ZNCalendarView::ZNCalendarView(const CalendarContext& context, ZNCalendarViewDelegate& delegate, QWidget* parent)
    : ZNView(parent),
      _context(context),
      _delegate(delegate),
      _formatter(context.environment, context.strings),
      _calendar(NSCalendar::current(context.environment)),
      _date(MonthGrid::normalised(_calendar, context.environment.now())),
      _selectedDate(_date),
      _prevButton(new ZNButton(context.pictures, ZNButton::Shape::Round, this)),
      _nextButton(new ZNButton(context.pictures, ZNButton::Shape::Round, this)) {
    setAccessibilityRole(QAccessible::Grouping);
    _prevButton->setTexts(text("Calendar_Prev_Label"), text("Calendar_Prev_Label"));
    _nextButton->setTexts(text("Calendar_Next_Label"), text("Calendar_Next_Label"));
    connect(_prevButton, &ZNButton::clicked, this, [this] { stepMonth(-1); });
    connect(_nextButton, &ZNButton::clicked, this, [this] { stepMonth(1); });
    for (auto& row : _dayCells) {
        for (auto& each : row) {
            each = new ZNCalendarViewCell(this);
            connect(each, &QAbstractButton::clicked, this, [this, clicked = each] { dayClicked(*clicked); });
        }
    }
    const QPointer<ZNCalendarView> self(this);
    _settingsObservation =
        context.settings.observe({"windowLayoutMode"}, [self, &dispatch = context.dispatch](std::string_view) {
            onMainThread(dispatch, [self] {
                if (self) self->updateFontsAndSizingForNewWindowSize();
            });
        });
    updateArrows();
    surroundingsDidChange();
}

QString ZNCalendarView::text(std::string_view key) const {
    return QString::fromStdString(_context.strings.string(key));
}

// ---- what is shown

void ZNCalendarView::surroundingsDidChange() {
    const auto reread = [before = _calendar, after = NSCalendar::current(_context.environment)](NSDate date) {
        const auto parts = before.components(date);
        NSDateComponents day;
        day.year = parts.year;
        day.month = parts.month;
        day.day = parts.day;
        return MonthGrid::normalised(after, after.dateFromComponents(day));
    };
    const NSDate date = reread(_date);
    _selectedDate = reread(_selectedDate);
    _calendar = NSCalendar::current(_context.environment);
    const auto names = _formatter.standaloneWeekdaySymbols(UseShortStrings::Yes);
    const QLocale locale(QString::fromStdString(_context.environment.locale().formats));
    for (int weekday = 1; weekday <= MonthGrid::columns; ++weekday) {
        _dayLabels[static_cast<std::size_t>(columnForWeekday(weekday, _calendar))] =
            locale.toUpper(QString::fromStdString(names[static_cast<std::size_t>(weekday) - 1]));
    }
    setDate(date);
}

void ZNCalendarView::setDate(NSDate date) {
    _date = MonthGrid::normalised(_calendar, date);
    const QLocale locale(QString::fromStdString(_context.environment.locale().formats));
    _title = locale.toUpper(QString::fromStdString(_formatter.monthAndYearStringForDate(_date)));
    setAccessibilityLabel(QString::fromStdString(_formatter.monthAndYearStringForDate(_date)));
    layoutCalendar();
}

void ZNCalendarView::setSelectedDate(NSDate date) {
    _selectedDate = MonthGrid::normalised(_calendar, date);
    updateDays();
}

void ZNCalendarView::stepMonth(int months) {
    setDate(MonthGrid::stepMonth(_calendar, _date, months));
}

bool ZNCalendarView::isRepresentedDateCurrentMonth(NSDate date) const {
    return _calendar.isDate(date, _date, NSCalendarUnit::Month);
}

void ZNCalendarView::layoutCalendar() {
    const MonthGrid grid(_calendar, _date);
    for (int row = 0; row < MonthGrid::rows; ++row) {
        for (int column = 0; column < MonthGrid::columns; ++column) {
            const auto& day = grid.day(row, column);
            const auto month = day.month == MonthGrid::Month::Current ? ZNCalendarViewCell::Month::Shown
                                                                      : ZNCalendarViewCell::Month::Other;
            cell(row, column).setRepresentedDate(day.date, day.number, month);
        }
    }
    updateDays();
    updateFontsAndSizingForNewWindowSize();
}

void ZNCalendarView::reloadCalendar() {
    updateDays();
}

void ZNCalendarView::updateDays() {
    const auto today = MonthGrid::normalised(_calendar, _context.environment.now());
    forEachCell([&](ZNCalendarViewCell& each) {
        const auto date = *each.representedDate();
        const auto events = _delegate.eventsForDate(date);
        each.setSelected(date == _selectedDate);
        each.setHasEvents(events > 0);
        each.setToday(date == today);
        each.setAccessibleName(labelForCell(each, events));
        each.setToolTip(text("Calendar_Day_Label"));
        each.setFocusPolicy(Qt::NoFocus);
    });
    // The one day at which the tab key stops; a day that has the keys keeps them.
    if (auto* focused = focusedCell()) {
        focused->setFocusPolicy(Qt::StrongFocus);
    } else {
        entryCell()->setFocusPolicy(Qt::StrongFocus);
    }
}

QString ZNCalendarView::labelForCell(const ZNCalendarViewCell& cell, std::size_t events) const {
    auto label = _formatter.monthAndDayStringForDate(*cell.representedDate());
    if (cell.isToday())
        label = stringWithFormat(_context.strings.string("Calendar_Today_Accessibility_Label"), {label});
    if (events == 0) return QString::fromStdString(label);
    const auto* key = events == 1 ? "Calendar_Day_Accessibility_Label" : "Calendar_Day_Plural_Accessibility_Label";
    return QString::fromStdString(stringWithFormat(_context.strings.string(key), {label, std::to_string(events)}));
}

// ---- clicks and keys

void ZNCalendarView::dayClicked(ZNCalendarViewCell& clicked) {
    forEachCell([](ZNCalendarViewCell& each) { each.setSelected(false); });
    clicked.setSelected(true);
    _selectedDate = *clicked.representedDate();
    const int step = MonthGrid::stepForClick(_calendar, _selectedDate, _date);
    if (step != 0) {
        stepMonth(step);
    } else {
        updateDays();
    }
    // Whoever goes on with the keys goes on from here.
    if (auto* focused = focusedCell(); focused && focused != entryCell()) {
        entryCell()->setFocus(Qt::MouseFocusReason);
        updateDays();
    }
    _delegate.didSelectDate(_selectedDate);
}

ZNCalendarViewCell* ZNCalendarView::focusedCell() const {
    ZNCalendarViewCell* found = nullptr;
    forEachCell([&](ZNCalendarViewCell& each) {
        if (each.hasFocus()) found = &each;
    });
    return found;
}

ZNCalendarViewCell* ZNCalendarView::entryCell() const {
    ZNCalendarViewCell* first = nullptr;
    ZNCalendarViewCell* chosen = nullptr;
    forEachCell([&](ZNCalendarViewCell& each) {
        if (each.month() == ZNCalendarViewCell::Month::Shown && !first) first = &each;
        // A day may stand in two months' grids; the one of the month shown is meant.
        if (each.selected() && (!chosen || each.month() == ZNCalendarViewCell::Month::Shown)) chosen = &each;
    });
    return chosen ? chosen : first;
}

void ZNCalendarView::keyPressEvent(QKeyEvent* event) {
    auto* focused = focusedCell();
    if (!focused) return ZNView::keyPressEvent(event);
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) return focused->click();
    const auto date = dayAfterKey(*event, *focused->representedDate(), _calendar, layoutDirection());
    if (!date) return ZNView::keyPressEvent(event);
    selectByKeys(*date);
}

void ZNCalendarView::selectByKeys(NSDate date) {
    _selectedDate = MonthGrid::normalised(_calendar, date);
    setDate(_selectedDate);
    if (auto* chosen = entryCell()) {
        chosen->setFocusPolicy(Qt::StrongFocus);
        chosen->setFocus(Qt::TabFocusReason);
    }
    updateDays();
    _delegate.didSelectDate(_selectedDate);
}

void ZNCalendarView::changeEvent(QEvent* event) {
    ZNView::changeEvent(event);
    if (event->type() != QEvent::LayoutDirectionChange) return;
    updateArrows();
    placeViews();
    update();
}

// ---- measures and looks

void ZNCalendarView::updateArrows() {
    const bool isMirrored = layoutDirection() == Qt::RightToLeft;
    _prevButton->setIconNamed(isMirrored ? "rightArrow" : "leftArrow", arrowIconSide);
    _nextButton->setIconNamed(isMirrored ? "leftArrow" : "rightArrow", arrowIconSide);
}

void ZNCalendarView::updateFontsAndSizingForNewWindowSize() {
    const int preferred = preferredFontSizeForWindowSize(_context.windowSize().width());
    _titleFont = appFontWithSizeStyle(SizeStyle::Paragraph, preferred, QFont::DemiBold);
    _titleFont.setLetterSpacing(QFont::AbsoluteSpacing, titleKerning);
    _dayFont = appFontWithSizeStyle(SizeStyle::AllCaps, preferred, QFont::Medium);
    const bool isLarge = _context.settings.windowLayoutMode() == 3;
    forEachCell([&](ZNCalendarViewCell& each) {
        each.setFont(_dayFont);
        each.setCircleInset(isLarge ? circleInsetInLargeWindow : circleInset);
    });
    update();
}

int ZNCalendarView::heightForWidth(int width) const {
    const double headers = QFontMetricsF(_titleFont).height() + QFontMetricsF(_dayFont).height();
    return static_cast<int>(std::ceil(width / 7.0F * 6) + std::ceil(static_cast<float>(headers))) + headerPadding;
}

void ZNCalendarView::resizeEvent(QResizeEvent*) {
    placeViews();
}

void ZNCalendarView::placeViews() {
    const auto placed = [this](const QRectF& left) {
        return QStyle::visualRect(layoutDirection(), rect(), left.toRect());
    };
    // The arrows' icons, not their hit areas, stand on the columns' outer circles.
    constexpr int side = arrowSide + 2 * ZNButton::ringMargin;
    _prevButton->setGeometry(placed({0, 0, side, side}));
    _nextButton->setGeometry(placed({width() - static_cast<double>(side), 0, side, side}));
    const double cellSide = width() / 7.0;
    const double top = height() - cellSide * MonthGrid::rows;
    for (int row = 0; row < MonthGrid::rows; ++row) {
        for (int column = 0; column < MonthGrid::columns; ++column)
            cell(row, column).setGeometry(placed({column * cellSide, top + row * cellSide, cellSide, cellSide}));
    }
}

void ZNCalendarView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    constexpr int side = arrowSide + 2 * ZNButton::ringMargin;
    painter.setFont(_titleFont);
    painter.setPen(QColor::fromRgba(tokens::groundText));
    // The space behind the last letter is none of the text's.
    painter.drawText(QRectF(titleKerning / 2, 0, width(), side), Qt::AlignCenter, _title);
    painter.setFont(_dayFont);
    painter.setPen(QColor::fromRgba(tokens::groundTextSecondary));
    const double cellSide = width() / 7.0;
    const double labelHeight = QFontMetricsF(_dayFont).height();
    const double top = height() - cellSide * MonthGrid::rows - weekdayGap + circleInset - labelHeight;
    for (std::size_t column = 0; column < _dayLabels.size(); ++column) {
        const QRectF left(static_cast<double>(column) * cellSide, top, cellSide, labelHeight);
        painter.drawText(QStyle::visualRect(layoutDirection(), rect(), left.toRect()), Qt::AlignCenter,
                         _dayLabels[column]);
    }
}

}  // namespace zun
