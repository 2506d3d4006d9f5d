#include "shell/ZNSettingsWindowController.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>

#include "core/NotificationNames.h"
#include "platform/foundation/NSCurrentLocale.h"
#include "shell/HourRows.h"
#include "toolkit/PlainControls.h"
#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

constexpr int margin = 24;
constexpr int groupGap = 16;
constexpr int alertIconSide = 48;
// In the order of their values.
constexpr std::string_view snoozeRows[] = {"Snooze_1_day", "Snooze_1_hour", "Snooze_15_minutes"};

void setColor(QLabel& label, QRgb color) {
    QPalette colors = label.palette();
    colors.setColor(QPalette::WindowText, QColor::fromRgba(color));
    label.setPalette(colors);
}

}  // namespace

ZNSettingsWindowController::ZNSettingsWindowController(const Collaborators& collaborators)
    : FixedWindow(QString::fromStdString(collaborators.strings.string("Zun_Preferences_Label")), windowSize,
                  tokens::settingsGround),
      _with(collaborators) {
    prepareToolbar();
    prepareViews();
    setConstraints();
    showGeneralTab();
    updateViewsForSettings();
    addObservers();
}

QString ZNSettingsWindowController::text(std::string_view key) const {
    return QString::fromStdString(_with.strings.string(key));
}

// ---- views

void ZNSettingsWindowController::prepareToolbar() {
    _toolbar = new ZNView(this);
    _toolbar->setAccessibilityRole(QAccessible::ToolBar);
    const auto make = [this](const char* identifier, std::string_view labelKey, std::string_view tooltipKey,
                             const char* icon, auto action) {
        auto* item = new ZNToolbarItem(identifier, _with.pictures, _toolbar);
        item->setText(text(labelKey));
        item->setToolTip(text(tooltipKey));
        item->setIconNamed(icon);
        connect(item, &QAbstractButton::clicked, this, action);
        return item;
    };
    _generalItem = make("znGeneralItemIdentifier", "Zun_Preferences_General_Label", "Zun_Preferences_General_Tooltip",
                        "preferencesGeneralIcon", &ZNSettingsWindowController::showGeneralTab);
    _defaultsItem = make("znDefaultsItemIdentifier", "Zun_Preferences_Defaults_Label",
                         "Zun_Preferences_Zun_Preferences_Defaults_Label_Tooltip", "preferencesDefaultsIcon",
                         &ZNSettingsWindowController::showDefaultsTab);
    auto* row = new QHBoxLayout(_toolbar);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(4);
    row->addStretch();
    row->addWidget(_generalItem);
    row->addWidget(_defaultsItem);
    row->addStretch();
}

ZNCheckBox* ZNSettingsWindowController::makeCheckBox(const char* name, std::string_view labelKey,
                                                     void (ZNSettingsWindowController::*action)()) {
    auto* button = new ZNCheckBox(text(labelKey), this);
    button->setObjectName(name);
    connect(button, &QAbstractButton::clicked, this, action);
    return button;
}

QLabel* ZNSettingsWindowController::makeLabel(const char* name, std::string_view textKey) {
    auto* label = new QLabel(text(textKey), this);
    label->setObjectName(name);
    label->setFont(appFont(13));
    setColor(*label, tokens::settingsText);
    return label;
}

ZNPopUpButton* ZNSettingsWindowController::makePopUpButton(const char* name, std::string_view tooltipKey, QLabel& label,
                                                           void (ZNSettingsWindowController::*action)()) {
    auto* button = new ZNPopUpButton(this);
    button->setObjectName(name);
    button->setToolTip(text(tooltipKey));
    button->setAccessibleName(label.text());
    button->setAccessibleDescription(button->toolTip());
    label.setToolTip(button->toolTip());
    label.setBuddy(button);
    connect(button, &QComboBox::activated, this, action);
    return button;
}

void ZNSettingsWindowController::prepareViews() {
    using Self = ZNSettingsWindowController;
    _iCloudButton = makeCheckBox("iCloudButton", "Sync_With_iCloud_Label", &Self::oniCloudToggled);
    _accountButton = new ZNPushButton("…", this);
    _accountButton->setObjectName("accountButton");
    _accountButton->setToolTip(text("Account_Open_Action"));
    _accountButton->setAccessibleName(_accountButton->toolTip());
    connect(_accountButton, &QAbstractButton::clicked, this, &Self::showAccount);
    _showInMenubarButton = makeCheckBox("showInMenubarButton", "Zun_Preferences_Dock_Label", &Self::onDockToggled);
    _autoStartButton = makeCheckBox("autoStartButton", "Zun_Preferences_Startup_Label", &Self::onLoginToggled);
    _deleteCompletedButton =
        makeCheckBox("deleteCompletedButton", "Delete_Completed_Label", &Self::onDeleteCompletedToggled);
    _deleteCompletedButton->setToolTip(text("List_Completed_Footer_Text"));
    _useReturnToSave = makeCheckBox("useReturnToSave", "Use_Return_To_Save", &Self::onUseReturnToggled);
    _useReturnToSave->setToolTip(text("Use_Return_To_Save_Tooltip"));
    _clearCacheButton = new ZNPushButton(text("Clear_Cache_Action"), this);
    _clearCacheButton->setObjectName("clearCacheButton");
    _clearCacheButton->setToolTip(_clearCacheButton->text());
    connect(_clearCacheButton, &QAbstractButton::clicked, this, &Self::onClearCache);

    _snoozeSettingLabel = makeLabel("snoozeSettingLabel", "Snooze_Duration_Label");
    _snoozeSetting =
        makePopUpButton("snoozeSetting", "Settings_Snooze_Tooltip", *_snoozeSettingLabel, &Self::onChangeSnoozeSetting);
    for (const auto key : snoozeRows)
        _snoozeSetting->addItem(text(key));
    _snoozeInstructions = makeLabel("snoozeInstructions", "Snooze_Extra_Options_Description_Right_Click");
    _snoozeInstructions->setFont(appFont(12));
    _snoozeInstructions->setWordWrap(true);
    setColor(*_snoozeInstructions, tokens::settingsTextSecondary);
    _morningSettingLabel = makeLabel("morningSettingLabel", "Morning_Picker_Label");
    _morningHour = makePopUpButton("morningHour", "Settings_Morning_Tooltip", *_morningSettingLabel,
                                   &Self::onChangeMorningSetting);
    _eveningSettingLabel = makeLabel("eveningSettingLabel", "Evening_Picker_Label");
    _eveningHour = makePopUpButton("eveningHour", "Settings_Evening_Tooltip", *_eveningSettingLabel,
                                   &Self::onChangeEveningSetting);
    setPopupButtonValues();

    _generalControls = {_iCloudButton,          _accountButton,   _showInMenubarButton, _autoStartButton,
                        _deleteCompletedButton, _useReturnToSave, _clearCacheButton};
    _defaultsControls = {_snoozeSettingLabel, _snoozeSetting,       _snoozeInstructions, _morningSettingLabel,
                         _morningHour,        _eveningSettingLabel, _eveningHour};
}

void ZNSettingsWindowController::setConstraints() {
    auto* column = new QVBoxLayout(this);
    // The controls bring their room for the ring with them.
    column->setContentsMargins(margin - FocusRing::room, 8, margin - FocusRing::room, 12);
    column->setSpacing(0);
    column->addWidget(_toolbar);
    column->addSpacing(12);
    auto* cloud = new QHBoxLayout;
    cloud->setSpacing(0);
    cloud->addWidget(_iCloudButton);
    cloud->addStretch();
    cloud->addWidget(_accountButton);
    column->addLayout(cloud);
    for (auto* control : {_showInMenubarButton, _autoStartButton, _deleteCompletedButton, _useReturnToSave})
        column->addWidget(control);
    column->addWidget(_clearCacheButton, 1, Qt::AlignLeading | Qt::AlignBottom);

    auto* grid = new QGridLayout;
    grid->setContentsMargins(FocusRing::room, 0, 0, 0);
    grid->setHorizontalSpacing(12);
    grid->setVerticalSpacing(2);
    grid->setColumnStretch(0, 1);
    const auto addRow = [grid](int row, QLabel* label, ZNPopUpButton* button) {
        grid->addWidget(label, row, 0);
        grid->addWidget(button, row, 1);
    };
    _snoozeInstructions->setContentsMargins(0, 0, FocusRing::room, groupGap);
    addRow(0, _snoozeSettingLabel, _snoozeSetting);
    grid->addWidget(_snoozeInstructions, 1, 0, 1, 2);
    addRow(2, _morningSettingLabel, _morningHour);
    addRow(3, _eveningSettingLabel, _eveningHour);
    column->addLayout(grid);
    column->addStretch();
}

void ZNSettingsWindowController::showTab(const std::vector<QWidget*>& shown, const std::vector<QWidget*>& hidden) {
    for (auto* control : hidden)
        control->hide();
    for (auto* control : shown)
        control->show();
}

void ZNSettingsWindowController::showGeneralTab() {
    _generalItem->setChecked(true);
    showTab(_generalControls, _defaultsControls);
}

void ZNSettingsWindowController::showDefaultsTab() {
    _defaultsItem->setChecked(true);
    showTab(_defaultsControls, _generalControls);
}

// ---- what the settings say

void ZNSettingsWindowController::addObservers() {
    using Action = void (ZNSettingsWindowController::*)();
    const auto onMain = [self = QPointer(this), &dispatch = _with.dispatch](Action action) {
        onMainThread(dispatch, [self, action] {
            if (self) (self->*action)();
        });
    };
    _observations.push_back(_with.settings.observe(
        {"shouldUseCloudKit", "showInMenubar", "startAtLogin", "shouldDeleteCompleted", "shouldUseReturnKeyToSave",
         "snoozeType", "morningHour", "eveningHour"},
        [onMain](std::string_view) { onMain(&ZNSettingsWindowController::updateViewsForSettings); }));
    _observations.push_back(_with.notifications.addObserver(
        NSCurrentLocaleDidChangeNotification,
        [onMain](const NSNotification&) { onMain(&ZNSettingsWindowController::timeDidChange); }));
}

void ZNSettingsWindowController::updateViewsForSettings() {
    const auto& settings = _with.settings;
    _iCloudButton->setChecked(settings.onGetCloudKitStatus());
    _showInMenubarButton->setChecked(settings.showInMenubar());
    _autoStartButton->setChecked(settings.startAtLogin());
    _deleteCompletedButton->setChecked(settings.shouldDeleteCompleted());
    _useReturnToSave->setChecked(settings.choices().shouldUseReturnKeyToSave);
    if (settings.snoozeType() < std::size(snoozeRows))
        _snoozeSetting->setCurrentIndex(static_cast<int>(settings.snoozeType()));
    updateHours();
}

void ZNSettingsWindowController::setPopupButtonValues() {
    QStringList rows;
    for (const auto& row : hourRows(_with.environment, _with.strings))
        rows.append(QString::fromStdString(row));
    for (auto* button : {_morningHour, _eveningHour}) {
        button->clear();
        button->addItems(rows);
        button->updateGeometry();
    }
}

void ZNSettingsWindowController::updateHours() {
    if (const auto row = rowForHour(_with.settings.morningHour())) _morningHour->setCurrentIndex(*row);
    if (const auto row = rowForHour(_with.settings.eveningHour())) _eveningHour->setCurrentIndex(*row);
}

void ZNSettingsWindowController::timeDidChange() {
    setPopupButtonValues();
    updateHours();
}

// ---- what the user chooses

void ZNSettingsWindowController::oniCloudToggled() {
    const bool enabled = _iCloudButton->isChecked();
    if (enabled) {
        _with.account.accountStatusWithCompletionHandler(
            [self = QPointer(this), &dispatch = _with.dispatch](AccountStatus status) {
                if (status == AccountStatus::Available) return;
                // Never before the setting is written, however soon the answer comes.
                dispatch.main()->async([self] {
                    if (self) self->requiresiCloudSignIn();
                });
            });
    }
    // The account is advice: the setting stands without one.
    _with.settings.setShouldUseCloudKit(enabled);
    _with.settings.save();
}

void ZNSettingsWindowController::onDockToggled() {
    _with.settings.setShowInMenubar(_showInMenubarButton->isChecked());
    _with.settings.save();
    _with.notifications.postNotificationName(ZNAppModeDidChangeNotification);
}

void ZNSettingsWindowController::onLoginToggled() {
    _with.settings.onSetStartAtLogin(_autoStartButton->isChecked());
    _with.settings.save();
}

void ZNSettingsWindowController::onDeleteCompletedToggled() {
    _with.settings.setShouldDeleteCompleted(_deleteCompletedButton->isChecked());
    _with.settings.save();
}

void ZNSettingsWindowController::onUseReturnToggled() {
    _with.settings.setShouldUseReturnKeyToSave(_useReturnToSave->isChecked());
    _with.settings.save();
}

void ZNSettingsWindowController::onClearCache() {
    _with.syncCache.resetSyncCache();
    showAlert("Clear_Cache_Action_Complete");
}

void ZNSettingsWindowController::onChangeSnoozeSetting() {
    const int row = _snoozeSetting->currentIndex();
    if (row < 0 || row >= static_cast<int>(std::size(snoozeRows))) return;
    _with.settings.setSnoozeType(static_cast<std::uint64_t>(row));
    _with.settings.save();
}

void ZNSettingsWindowController::onChangeMorningSetting() {
    if (const auto hour = hourForRow(_morningHour->currentIndex())) _with.settings.setMorningHour(*hour);
    _with.settings.save();
}

void ZNSettingsWindowController::onChangeEveningSetting() {
    if (const auto hour = hourForRow(_eveningHour->currentIndex())) _with.settings.setEveningHour(*hour);
    _with.settings.save();
}

// ---- alerts

void ZNSettingsWindowController::requiresiCloudSignIn() {
    auto& alert = showAlert("iCloud_Prompt_Title", "iCloud_Prompt_Message_Mac");
    auto* signIn = new ZNPushButton(text("Account_Sign_In_Alert_Action"));
    signIn->setObjectName("signInAlertButton");
    alert.addButton(signIn, QMessageBox::ActionRole);
    connect(signIn, &QAbstractButton::clicked, this, &ZNSettingsWindowController::showAccount);
}

void ZNSettingsWindowController::showAccount() {
    _with.notifications.postNotificationName(ZNAccountMenuActionNotification);
}

QMessageBox& ZNSettingsWindowController::showAlert(std::string_view messageKey, std::string_view informativeTextKey) {
    delete _alert;
    _alert = new QMessageBox(this);
    _alert->setAttribute(Qt::WA_DeleteOnClose);
    _alert->setWindowTitle(text("App_Name"));
    _alert->setText(text(messageKey));
    if (!informativeTextKey.empty()) _alert->setInformativeText(text(informativeTextKey));
    _alert->setIconPixmap(
        _with.pictures.pixmap("zun_icon_large", QSizeF(alertIconSide, alertIconSide), devicePixelRatioF()));
    if (auto* message = _alert->findChild<QLabel*>("qt_msgbox_label")) message->setFont(appFont(13, QFont::DemiBold));
    _alert->addButton(new ZNPushButton(text("Okay_Action")), QMessageBox::AcceptRole);
    _alert->open();
    return *_alert;
}

}  // namespace zun
