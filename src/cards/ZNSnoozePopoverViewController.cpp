#include "cards/ZNSnoozePopoverViewController.h"

#include <QKeyEvent>
#include <QPainter>
#include <QStyle>

#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

constexpr int titleTop = 10;
constexpr int titleHeight = 16;
constexpr int datePickerTop = 30;
constexpr QSize datePickerSize{210, 164};
constexpr int timePickerTop = 198;
constexpr int timePickerHeight = 36;
constexpr int buttonHeight = 22;
constexpr int sideMargin = 12;
constexpr int bottomMargin = 14;
constexpr int buttonGap = 8;

}  // namespace

ZNSnoozePopoverViewController::ZNSnoozePopoverViewController(const Environment& environment,
                                                             const LocalizedStrings& strings, Delegate& delegate,
                                                             Alerts alerts)
    : _environment(environment), _delegate(delegate) {
    const auto text = [&strings](std::string_view key) { return QString::fromStdString(strings.string(key)); };
    _title = text("Snooze_Select_Date");
    setAccessibleName(_title);
    // The order of creation is the order of the tab key.
    _datePicker = new ZNCalendarPicker(environment, strings, this);
    _timePicker = new ZNDatePicker(environment, ZNDatePicker::Elements::HourMinute, this);
    _cancelButton = new ZNPushButton(text("Cancel_Action"), this);
    _actionButton = new ZNPushButton(text("Snooze_Action"), this);
    const auto start = environment.now();
    _datePicker->setDateValue(start);
    _timePicker->setDateValue(start);
    _timePicker->setAccessibleName(text("Edit_DatePicker_Time_Tooltip"));
    _timePicker->setToolTip(_timePicker->accessibleName());
    if (alerts == Alerts::No) {
        _actionButton->setToolTip(text("Snooze_Quiet_Tooltip"));
        _actionButton->setAccessibleDescription(_actionButton->toolTip());
    }
    _actionButton->setDefault(true);
    connect(_cancelButton, &QPushButton::clicked, this, [this] { dismiss(); });
    connect(_actionButton, &QPushButton::clicked, this, [this] { actionPressed(); });
}

void ZNSnoozePopoverViewController::viewDidAppear() {
    setHeight(height);
}

void ZNSnoozePopoverViewController::actionPressed() {
    const auto date = mergeDateWithTime(_datePicker->dateValue(), _timePicker->dateValue(), _environment);
    // The delegate may take this controller down with the card.
    const QPointer<ZNSnoozePopoverViewController> self(this);
    _delegate.didSelectSnoozeDate(date);
    if (self) dismiss();
}

void ZNSnoozePopoverViewController::keyPressEvent(QKeyEvent* event) {
    if (event->key() != Qt::Key_Return && event->key() != Qt::Key_Enter)
        return ZNBasePopoverViewController::keyPressEvent(event);
    _actionButton->click();
}

void ZNSnoozePopoverViewController::resizeEvent(QResizeEvent*) {
    const int whole = QWidget::width();
    _datePicker->setGeometry((whole - datePickerSize.width()) / 2, datePickerTop, datePickerSize.width(),
                             datePickerSize.height());
    const int timeWidth = _timePicker->sizeHint().width();
    _timePicker->setGeometry((whole - timeWidth) / 2, timePickerTop, timeWidth, timePickerHeight);
    // The ring's room lies outside the stated measures.
    constexpr int ring = FocusRing::room;
    const int face = (whole - 2 * sideMargin - buttonGap) / 2;
    const int top = height - bottomMargin - buttonHeight;
    const QRect first(sideMargin - ring, top - ring, face + 2 * ring, buttonHeight + 2 * ring);
    const QRect second = first.translated(face + buttonGap, 0);
    _cancelButton->setGeometry(QStyle::visualRect(layoutDirection(), rect(), first));
    _actionButton->setGeometry(QStyle::visualRect(layoutDirection(), rect(), second));
}

void ZNSnoozePopoverViewController::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setFont(appFont(11, QFont::Medium));
    painter.setPen(QColor::fromRgba(tokens::settingsTextSecondary));
    painter.drawText(QRect(0, titleTop, QWidget::width(), titleHeight), Qt::AlignCenter, _title);
}

}  // namespace zun
