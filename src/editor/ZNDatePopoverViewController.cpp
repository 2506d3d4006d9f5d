#include "editor/ZNDatePopoverViewController.h"

#include <QLabel>

#include "editor/PopoverControls.h"
#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

constexpr int checkTop = 10;
constexpr int checkHeight = tokens::minimumHitSize;
constexpr int textIndent = 29;  // where the words of a check box begin
constexpr int descriptionHeight = 30;
constexpr int labelHeight = 16;
constexpr int selectorHeight = tokens::minimumHitSize + 2 * FocusRing::room;
constexpr int openCustomHeight = 34;
constexpr int closedCustomHeight = 1;

}  // namespace

ZNDatePopoverViewController::ZNDatePopoverViewController(ReminderPtr reminder, const LocalizedStrings& strings,
                                                         ZNDatePopoverDelegate* delegate)
    : _reminder(std::move(reminder)), _strings(strings), _delegate(delegate), _choices(*_reminder) {
    setAccessibilityLabel(text("Edit_Date_Button_Tooltip"));
    prepareViews();
    const bool isSuppressed = _reminder->shouldSuppressNotifications();
    _notificationToggle->setChecked(!isSuppressed);
    _nagToggle->setChecked(_reminder->naggingNotifications());
    _nagToggle->setEnabled(!isSuppressed);
    configureFieldsForAlert();
    connectViews();
}

QString ZNDatePopoverViewController::text(std::string_view key) const {
    return QString::fromStdString(_strings.string(key));
}

void ZNDatePopoverViewController::prepareViews() {
    _notificationToggle = new ZNCheckBox(text("Should_Fire_Notifications_Label"), this);
    _nagToggle = new ZNCheckBox(text("Should_Nag_Notifications_Label"), this);
    _nagDescription = makePopoverLabel(text("Should_Nag_Notifications_Description"), this);
    _nagDescription->setFont(appFont(11));
    _nagDescription->setWordWrap(true);
    alignToLayout(*_nagDescription, Qt::AlignTop);
    QPalette quiet = _nagDescription->palette();
    quiet.setColor(QPalette::WindowText, QColor::fromRgba(tokens::settingsTextSecondary));
    _nagDescription->setPalette(quiet);
    _nagToggle->setAccessibleDescription(_nagDescription->text());
    _customAlertLabel = makePopoverLabel(text("UpAhead_Label"), this);
    _alertSelector = new ZNPopUpButton(this);
    _alertSelector->setAccessibleName(_customAlertLabel->text());
    _customContainer = new QWidget(this);
    _interval = makeIntervalInput(_strings, _customContainer);
    _customAlertSelector = new ZNPopUpButton(_customContainer);
    _customAlertSelector->setAccessibleName(text("Interval_Unit_Accessibility_Label"));

    QStringList rows;
    for (int row = 0; row <= AlertChoices::customRow; ++row)
        rows.append(text(AlertChoices::rowKey(row)));
    setRows(*_alertSelector, rows, _choices.row());

    setTabOrder(_notificationToggle, _nagToggle);
    setTabOrder(_nagToggle, _alertSelector);
    setTabOrder(_alertSelector, &_interval->stepperInput());
    setTabOrder(&_interval->stepperInput(), _customAlertSelector);
}

void ZNDatePopoverViewController::connectViews() {
    connect(_notificationToggle, &QCheckBox::toggled, this, [this](bool isOn) {
        if (_delegate) _delegate->didChangeNotificationSetting(isOn);
    });
    connect(_nagToggle, &QCheckBox::toggled, this, [this](bool isOn) {
        if (_delegate) _delegate->didChangeNagSetting(isOn);
    });
    connect(_alertSelector, &QComboBox::currentIndexChanged, this, [this](int row) {
        _choices.selectRow(row);
        onRepeatOptionsChange();
    });
    connect(_interval, &IntervalInput::didChange, this, [this] {
        _choices.setInterval(_interval->value());
        onRepeatOptionsChange();
    });
    connect(_customAlertSelector, &QComboBox::currentIndexChanged, this, [this](int row) {
        _choices.selectUnitRow(row);
        onRepeatOptionsChange();
    });
}

void ZNDatePopoverViewController::onRepeatOptionsChange() {
    if (_delegate) _delegate->didChangeDateSettings();
    configureFieldsForAlert();
    setHeight(_choices.popoverHeight());
}

void ZNDatePopoverViewController::configureFieldsForAlert() {
    QStringList units;
    for (int row = 0; row < AlertChoices::unitRows; ++row)
        units.append(text(_choices.unitKey(row)));
    setRows(*_customAlertSelector, units, _choices.unitRow());
    _interval->setValue(_choices.interval());
    _interval->setVisible(_choices.isCustom());
    _customAlertSelector->setVisible(_choices.isCustom());
    resizeEvent(nullptr);
}

void ZNDatePopoverViewController::resizeEvent(QResizeEvent*) {
    const int inner = width() - 2 * popoverMargin;
    int top = checkTop;
    const auto row = [&](QWidget& widget, int indent, int height, int space) {
        placeInParent(widget, {popoverMargin + indent, top, inner - indent, height});
        top += height + space;
    };
    row(*_notificationToggle, -FocusRing::room, checkHeight, 0);
    row(*_nagToggle, -FocusRing::room, checkHeight, -4);
    row(*_nagDescription, textIndent - FocusRing::room, descriptionHeight, 8);
    row(*_customAlertLabel, 0, labelHeight, 0);
    row(*_alertSelector, -FocusRing::room, selectorHeight, 0);
    row(*_customContainer, -FocusRing::room, _choices.isCustom() ? openCustomHeight : closedCustomHeight, 0);
    const int inputWidth = _interval->sizeHint().width();
    const int offset = (openCustomHeight - selectorHeight) / 2;
    placeInParent(*_interval, {0, offset, inputWidth, selectorHeight});
    placeInParent(*_customAlertSelector,
                  {inputWidth + 4, offset, _customContainer->width() - inputWidth - 4, selectorHeight});
}

}  // namespace zun
