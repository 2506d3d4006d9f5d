#include "toolkit/ZNCalendarPicker.h"

#include <QAbstractButton>
#include <QKeyEvent>
#include <QPainter>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

#include "toolkit/DayKeys.h"
#include "toolkit/PlainControls.h"
#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

constexpr double headShare = 0.155;  // of the height: the title's line
constexpr double weekdayShare = 0.105;
constexpr int wheelStep = 120;

QColor color(QRgb value, double alpha = 1) {
    QColor result = QColor::fromRgba(value);
    result.setAlphaF(static_cast<float>(result.alphaF() * alpha));
    return result;
}

// A button whose ring shows for keys alone.
class PickerButton : public QAbstractButton {
  public:
    explicit PickerButton(QWidget* parent) : QAbstractButton(parent) { setAttribute(Qt::WA_Hover); }

  protected:
    void focusInEvent(QFocusEvent* event) override {
        _ring.focusIn(*event);
        QAbstractButton::focusInEvent(event);
    }
    void paintRing(QPainter& painter, const QRectF& shape, double radius) {
        _ring.paint(painter, *this, shape, radius);
    }
    [[nodiscard]] QRgb ground(QRgb atRest) const {
        if (isDown()) return color(tokens::settingsButtonGround).darker(108).rgba();
        return underMouse() && isEnabled() ? color(tokens::settingsButtonGround, 0.6).rgba() : atRest;
    }

  private:
    FocusRing _ring;
};

class ArrowButton final : public PickerButton {
  public:
    ArrowButton(int months, QWidget* parent) : PickerButton(parent), _months(months) {}

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        QRectF face(0, 0, std::min(width(), height()) - 6, std::min(width(), height()) - 6);
        face.moveCenter(QRectF(rect()).center());
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor::fromRgba(ground(0)));
        painter.drawEllipse(face);
        const double side = (layoutDirection() == Qt::RightToLeft) == (_months > 0) ? -1 : 1;
        const QPointF middle = face.center() + QPointF(side * 0.5, 0);
        painter.setPen(QPen(color(tokens::selection, isEnabled() ? 1 : tokens::disabledAlpha), 1.75, Qt::SolidLine,
                            Qt::RoundCap, Qt::RoundJoin));
        const std::array points = {middle + QPointF(-side * 1.75, -3.5), middle + QPointF(side * 1.75, 0),
                                   middle + QPointF(-side * 1.75, 3.5)};
        painter.drawPolyline(points.data(), static_cast<int>(points.size()));
        paintRing(painter, face, face.width() / 2);
    }

  private:
    int _months;
};

}  // namespace

// One day of the grid; checked while it is the chosen one.
class PickerDay final : public PickerButton {
  public:
    explicit PickerDay(QWidget* parent) : PickerButton(parent) {
        setCheckable(true);
        setFocusPolicy(Qt::NoFocus);
    }
    NSDate date;
    bool isToday = false;
    bool isInMonth = true;

  protected:
    // Being chosen comes from the picker alone.
    void nextCheckState() override {}
    // The arrow keys are the picker's: a button alone would send the focus to its neighbour on the screen.
    void keyPressEvent(QKeyEvent* event) override {
        if (event->key() != Qt::Key_Space && event->key() != Qt::Key_Select) return event->ignore();
        PickerButton::keyPressEvent(event);
    }
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        QRectF pill(0, 0, std::min(width(), height() + 8) - 4, height() - 2);
        pill.moveCenter(QRectF(rect()).center());
        const double radius = pill.height() / 2;
        const QRgb fill = isChecked() ? color(tokens::selection).rgba() : ground(0);
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor::fromRgba(fill));
        painter.drawRoundedRect(pill, radius, radius);
        if (isToday && !isChecked()) {
            painter.setBrush(Qt::NoBrush);
            painter.setPen(QPen(color(tokens::selection), 1.25));
            painter.drawRoundedRect(pill.adjusted(0.625, 0.625, -0.625, -0.625), radius, radius);
        }
        paintRing(painter, pill, radius);
        QFont words = font();
        if (isToday || isChecked()) words.setWeight(QFont::DemiBold);
        painter.setFont(words);
        const double alpha = !isEnabled() ? tokens::disabledAlpha : 1;
        painter.setPen(isChecked() ? color(tokens::groundText)
                       : isInMonth ? color(tokens::settingsText, alpha)
                                   : color(tokens::pickerOtherMonth, alpha));
        painter.drawText(rect(), Qt::AlignCenter, text());
    }
};

ZNCalendarPicker::ZNCalendarPicker(const Environment& environment, const LocalizedStrings& strings, QWidget* parent)
    : ZNView(parent),
      _environment(environment),
      _formatter(environment, strings),
      _value(environment.now()),
      _prevButton(new ArrowButton(-1, this)),
      _nextButton(new ArrowButton(1, this)) {
    setAccessibilityRole(QAccessible::Grouping);
    setFocusPolicy(Qt::StrongFocus);
    const auto prepare = [&](QAbstractButton* button, const char* key, int months) {
        const auto name = QString::fromStdString(strings.string(key));
        button->setAccessibleName(name);
        button->setToolTip(name);
        connect(button, &QAbstractButton::clicked, this, [this, months] { stepMonth(months); });
    };
    prepare(_prevButton, "Calendar_Prev_Label", -1);
    prepare(_nextButton, "Calendar_Next_Label", 1);
    for (auto& day : _days) {
        day = new PickerDay(this);
        day->setFont(appFont(11));
        connect(day, &QAbstractButton::clicked, this, [this, day] { choose(day->date); });
    }
    setDateValue(_value);
}

void ZNCalendarPicker::setDateValue(NSDate value) {
    _value = value;
    const auto calendar = NSCalendar::current(_environment);
    const auto parts = calendar.components(value);
    NSDateComponents first;
    first.year = parts.year;
    first.month = parts.month;
    first.day = 1;
    _month = calendar.dateFromComponents(first);
    reload();
}

void ZNCalendarPicker::setMinDate(OptionalDate minDate) {
    if (minDate) minDate = NSCalendar::current(_environment).startOfDayForDate(*minDate);
    if (minDate == _minDate) return;
    _minDate = minDate;
    reload();
}

void ZNCalendarPicker::surroundingsDidChange() {
    setDateValue(_value);
}

void ZNCalendarPicker::stepMonth(int months) {
    const auto calendar = NSCalendar::current(_environment);
    const bool hadFocus = std::any_of(_days.begin(), _days.end(), [](const auto* day) { return day->hasFocus(); });
    _month = calendar.dateByAddingUnit(NSCalendarUnit::Month, months, _month);
    reload();
    if (hadFocus) setFocus(Qt::OtherFocusReason);
}

// Whoever cannot see the picker does not wait for it.
void ZNCalendarPicker::reload() {
    _isStale = !isVisible();
    if (_isStale) return;
    const auto calendar = NSCalendar::current(_environment);
    _title = QString::fromStdString(_formatter.monthAndYearStringForDate(_month));
    setAccessibilityLabel(_title);
    const auto names = _formatter.standaloneWeekdaySymbols(UseShortStrings::Yes);
    for (int weekday = 1; weekday <= 7; ++weekday) {
        _weekdays[static_cast<std::size_t>(columnForWeekday(weekday, calendar))] =
            QString::fromStdString(names[static_cast<std::size_t>(weekday) - 1]);
    }
    const auto month = calendar.components(_month).month;
    const auto now = _environment.now();
    const int first = columnForWeekday(calendar.weekday(_month), calendar);
    PickerDay* entry = nullptr;  // where the tab key comes in
    for (int i = 0; i < static_cast<int>(dayCount); ++i) {
        auto& day = *_days[static_cast<std::size_t>(i)];
        day.date = calendar.startOfDayForDate(calendar.dateByAddingUnit(NSCalendarUnit::Day, i - first, _month));
        const auto parts = calendar.components(day.date);
        day.setText(QString::number(*parts.day));
        day.setAccessibleName(QString::fromStdString(
            _formatter.dateAsShortStringWithWeekdayDayMonthYear(ShowTime::No, ShowYear::Yes, day.date)));
        day.isInMonth = parts.month == month;
        day.isToday = calendar.isDateInSameDay(day.date, now);
        day.setChecked(calendar.isDateInSameDay(day.date, _value));
        day.setEnabled(!_minDate || day.date >= *_minDate);
        day.setFocusPolicy(Qt::NoFocus);
        day.update();
        if (day.isEnabled() && (day.isChecked() || (!entry && day.isInMonth))) entry = &day;
    }
    const bool takesFocus = focusPolicy() != Qt::NoFocus;
    for (auto* button : {_prevButton, _nextButton})
        button->setFocusPolicy(takesFocus ? Qt::TabFocus : Qt::NoFocus);
    if (entry && takesFocus) giveFocusTo(*entry);
    update();
}

void ZNCalendarPicker::giveFocusTo(PickerDay& day) {
    const bool hadFocus = std::any_of(_days.begin(), _days.end(), [](const auto* each) { return each->hasFocus(); });
    day.setFocusPolicy(Qt::StrongFocus);
    setFocusProxy(&day);
    if (hadFocus) day.setFocus(Qt::TabFocusReason);
}

void ZNCalendarPicker::choose(NSDate day) {
    const auto calendar = NSCalendar::current(_environment);
    const auto time = calendar.components(_value);
    const auto before = _value;
    setDateValue(calendar.dateBySettingHour(*time.hour, *time.minute, *time.second, day));
    if (!calendar.isDateInSameDay(before, _value)) emit didChange();
}

void ZNCalendarPicker::keyPressEvent(QKeyEvent* event) {
    const auto calendar = NSCalendar::current(_environment);
    auto day = dayAfterKey(*event, _value, calendar, layoutDirection());
    if (!day) return ZNView::keyPressEvent(event);
    if (_minDate) day = std::max(*day, *_minDate);
    choose(*day);
}

void ZNCalendarPicker::wheelEvent(QWheelEvent* event) {
    _wheel += event->angleDelta().y();
    const int steps = _wheel / wheelStep;
    _wheel -= steps * wheelStep;
    if (steps != 0) stepMonth(-steps);
    event->accept();
}

void ZNCalendarPicker::changeEvent(QEvent* event) {
    ZNView::changeEvent(event);
    if (event->type() == QEvent::LayoutDirectionChange) layOut();
    if (event->type() == QEvent::EnabledChange) update();
}

void ZNCalendarPicker::showEvent(QShowEvent* event) {
    ZNView::showEvent(event);
    if (_isStale) reload();
}

void ZNCalendarPicker::resizeEvent(QResizeEvent*) {
    layOut();
}

QRect ZNCalendarPicker::titleRect() const {
    const int head = static_cast<int>(std::lround(height() * headShare));
    const QRect left(6, 0, width() - 2 * head - 6, head);
    return QStyle::visualRect(layoutDirection(), rect(), left);
}

void ZNCalendarPicker::layOut() {
    const auto placed = [this](const QRectF& left) {
        return QStyle::visualRect(layoutDirection(), rect(), left.toRect());
    };
    const double head = std::round(height() * headShare);
    const double top = std::round(head + height() * weekdayShare);
    const double columnWidth = width() / 7.0;
    const double rowHeight = (height() - top) / 6;
    _prevButton->setGeometry(placed({width() - 2 * head, 0, head, head}));
    _nextButton->setGeometry(placed({width() - head, 0, head, head}));
    for (int i = 0; i < static_cast<int>(dayCount); ++i) {
        const int row = i / 7;
        const int column = i % 7;
        _days[static_cast<std::size_t>(i)]->setGeometry(
            placed({column * columnWidth, top + row * rowHeight, columnWidth, rowHeight}));
    }
}

void ZNCalendarPicker::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setFont(appFont(13, QFont::DemiBold));
    painter.setPen(color(tokens::settingsText, isEnabled() ? 1 : tokens::disabledAlpha));
    painter.drawText(titleRect(), static_cast<int>(Qt::AlignVCenter | Qt::AlignLeading), _title);
    painter.setFont(appFont(9, QFont::Medium));
    painter.setPen(color(tokens::settingsTextSecondary, isEnabled() ? 1 : tokens::disabledAlpha));
    const double top = std::round(height() * headShare);
    const double columnWidth = width() / 7.0;
    for (std::size_t column = 0; column < _weekdays.size(); ++column) {
        const QRectF left(static_cast<double>(column) * columnWidth, top, columnWidth, height() * weekdayShare);
        painter.drawText(QStyle::visualRect(layoutDirection(), rect(), left.toRect()), Qt::AlignCenter,
                         _weekdays[column]);
    }
}

}  // namespace zun
