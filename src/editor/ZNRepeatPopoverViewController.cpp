#include "editor/ZNRepeatPopoverViewController.h"

#include <QFocusEvent>
#include <QLabel>
#include <QPainter>
#include <QPushButton>

#include "editor/PopoverControls.h"
#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

constexpr int labelHeight = 16;
constexpr int controlHeight = tokens::minimumHitSize + 2 * FocusRing::room;
constexpr int dayHeight = 34 + 2 * FocusRing::room;
constexpr int groupGap = 16;
constexpr int topMargin = 20;
constexpr double dayRadius = 7;

// A weekday that is on or off.
class DayButton final : public QPushButton {
  public:
    DayButton(const QString& shortName, const QString& name, QWidget* parent) : QPushButton(parent) {
        // Before it has a text, which makes assistive technology look what it is.
        setCheckable(true);
        setText(shortName);
        setFont(appFont(12, QFont::Medium));
        setAttribute(Qt::WA_Hover);
        setAccessibleName(name);
        setToolTip(name);
    }

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const double room = FocusRing::room;
        const QRectF face = QRectF(rect()).adjusted(room, room, -room, -room);
        QColor ground = QColor::fromRgba(isChecked() ? tokens::editorTint : tokens::editorWell);
        if (isDown()) {
            ground = ground.darker(100 + static_cast<int>(100 * tokens::pressedDarken));
        } else if (underMouse()) {
            const int percent = static_cast<int>(100 * tokens::hoverLighten);
            ground = isChecked() ? ground.lighter(100 + percent) : ground.darker(100 + percent / 2);
        }
        painter.setPen(Qt::NoPen);
        painter.setBrush(ground);
        painter.drawRoundedRect(face, dayRadius, dayRadius);
        painter.setPen(QColor::fromRgba(isChecked() ? tokens::cardGround : tokens::barTextOnCard));
        painter.drawText(face, Qt::AlignCenter,
                         fontMetrics().elidedText(text(), Qt::ElideRight, static_cast<int>(face.width()) - 2));
        _ring.paint(painter, *this, face, dayRadius);
    }
    void focusInEvent(QFocusEvent* event) override {
        _ring.focusIn(*event);
        QPushButton::focusInEvent(event);
    }

  private:
    FocusRing _ring;
};

}  // namespace

ZNRepeatPopoverViewController::ZNRepeatPopoverViewController(ReminderPtr reminder, const Environment& environment,
                                                             const LocalizedStrings& strings,
                                                             ZNRepeatPopoverDelegate* delegate)
    : _reminder(std::move(reminder)),
      _strings(strings),
      _labels(environment, strings),
      _delegate(delegate),
      _choices(*_reminder, environment) {
    setAccessibilityLabel(text("Edit_Repeat_Button_Tooltip"));
    prepareViews();
    updateViewsForReminder();
    connectViews();
}

QString ZNRepeatPopoverViewController::text(std::string_view key) const {
    return QString::fromStdString(_strings.string(key));
}

QAbstractButton& ZNRepeatPopoverViewController::dayButton(int ordinal) const {
    return *_dayButtons.at(static_cast<std::size_t>(ordinal) - 1);
}

void ZNRepeatPopoverViewController::prepareViews() {
    _everyLabel = makePopoverLabel(text("Custom_Repeat_Label"), this);
    _interval = makeIntervalInput(_strings, this);
    _customIntervalSelector = new ZNPopUpButton(this);
    _customIntervalSelector->setAccessibleName(text("Interval_Unit_Accessibility_Label"));
    _repeatOnLabel = makePopoverLabel(text("Custom_Repeat_Repeat_On_label"), this);
    const auto shortNames = _labels.formatter().standaloneWeekdaySymbols(UseShortStrings::Yes);
    const auto names = _labels.formatter().standaloneWeekdaySymbols(UseShortStrings::No);
    setTabOrder(&_interval->stepperInput(), _customIntervalSelector);
    QWidget* previous = _customIntervalSelector;
    for (std::size_t i = 0; i < _dayButtons.size(); ++i) {
        _dayButtons[i] =
            new DayButton(QString::fromStdString(shortNames.at(i)), QString::fromStdString(names.at(i)), this);
        setTabOrder(previous, _dayButtons[i]);
        previous = _dayButtons[i];
    }
    _nextAlertLabel = makePopoverLabel(text("Custom_Repeat_Next_Date"), this);
    _nextAlertDate = makePopoverLabel({}, this);
    _nextAlertDate->setFont(appFont(13));
    QPalette colors = _nextAlertDate->palette();
    colors.setColor(QPalette::WindowText, QColor::fromRgba(tokens::editorValue));
    _nextAlertDate->setPalette(colors);
}

void ZNRepeatPopoverViewController::connectViews() {
    const auto onRepeatOptionsChange = [this] {
        _choices.onRepeatOptionsChange(_interval->value(), _customIntervalSelector->currentIndex());
        updateViewsForReminder();
    };
    connect(_interval, &IntervalInput::didChange, this, onRepeatOptionsChange);
    connect(_customIntervalSelector, &QComboBox::currentIndexChanged, this, onRepeatOptionsChange);
    for (int ordinal = 1; ordinal <= 7; ++ordinal) {
        connect(&dayButton(ordinal), &QAbstractButton::clicked, this, [this, ordinal](bool isOn) {
            _choices.onChangeDays(ordinal, isOn);
            updateViewsForReminder();
        });
    }
}

void ZNRepeatPopoverViewController::updateViewsForReminder() {
    _interval->setValue(_choices.interval());
    QStringList units;
    for (int row = 0; row < RepeatChoices::unitRows; ++row)
        units.append(text(_choices.unitKey(row)));
    setRows(*_customIntervalSelector, units, _choices.unitRow());
    for (int ordinal = 1; ordinal <= 7; ++ordinal)
        dayButton(ordinal).setChecked(_choices.isDaySelected(ordinal));
    const OptionalDate next = _choices.nextAlertDate();
    _nextAlertDate->setText(
        next ? QString::fromStdString(_labels.dateAsShortStringWithWeekdayAndIntegerDayMonthYear(*next)) : QString());
    _nextAlertDate->setAccessibleName(_nextAlertLabel->text() + u' ' + _nextAlertDate->text());
    if (_delegate)
        _delegate->didSelectRepeatInterval(_reminder->customRepeatInterval(), _reminder->customRepeatDayOrdinals(),
                                           _reminder->repeat_type());
}

void ZNRepeatPopoverViewController::resizeEvent(QResizeEvent*) {
    const int inner = width() - 2 * popoverMargin;
    const int left = popoverMargin - FocusRing::room;
    int top = topMargin;
    placeInParent(*_everyLabel, {popoverMargin, top, inner, labelHeight});
    top += labelHeight + 1;
    const int inputWidth = _interval->sizeHint().width();
    placeInParent(*_interval, {left, top, inputWidth, controlHeight});
    placeInParent(*_customIntervalSelector,
                  {left + inputWidth + 4, top, inner + 2 * FocusRing::room - inputWidth - 4, controlHeight});
    top += controlHeight + groupGap;
    placeInParent(*_repeatOnLabel, {popoverMargin, top, inner, labelHeight});
    top += labelHeight + 1;
    const int row = inner + 2 * FocusRing::room;
    for (int i = 0; i < 7; ++i) {
        const int start = left + row * i / 7;
        placeInParent(*_dayButtons[static_cast<std::size_t>(i)],
                      {start, top, left + row * (i + 1) / 7 - start, dayHeight});
    }
    top += dayHeight + groupGap;
    placeInParent(*_nextAlertLabel, {popoverMargin, top, inner, labelHeight});
    top += labelHeight + 1;
    placeInParent(*_nextAlertDate, {popoverMargin, top, inner, 20});
}

}  // namespace zun
