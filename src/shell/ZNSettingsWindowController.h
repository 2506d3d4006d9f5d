#pragma once

// The settings window: two tabs in one view. Every control writes to the settings and saves at once; a change that
// comes from elsewhere shows in the controls. The cloud switch asks for the account and says if there is none, and
// stays as the user set it.
//
// One for each time that the window is opened; willClose() tells its owner to let it go. Main thread.

#include <QMessageBox>
#include <QPointer>
#include <vector>

#include "platform/foundation/Dispatch.h"
#include "platform/foundation/Environment.h"
#include "platform/foundation/LocalizedStrings.h"
#include "settings/CloudAccount.h"
#include "settings/ZNSettingsObject.h"
#include "shell/FixedWindow.h"
#include "toolkit/Pictures.h"

class QGridLayout;
class QLabel;

namespace zun {

class ZNCheckBox;
class ZNPopUpButton;
class ZNPushButton;
class ZNToolbarItem;

class ZNSettingsWindowController final : public FixedWindow {
    Q_OBJECT
  public:
    struct Collaborators {
        ZNSettingsObject& settings;
        NSNotificationCenter& notifications;
        const LocalizedStrings& strings;
        const Environment& environment;
        Dispatch& dispatch;
        Pictures& pictures;
        CloudAccount& account;
        SyncCache& syncCache;
    };

    static constexpr QSize windowSize{340, 300};

    explicit ZNSettingsWindowController(const Collaborators& collaborators);

    void showGeneralTab();
    void showDefaultsTab();

  private:
    void prepareViews();
    void prepareToolbar();
    ZNCheckBox* makeCheckBox(const char* name, std::string_view labelKey, void (ZNSettingsWindowController::*action)());
    ZNPopUpButton* makePopUpButton(const char* name, std::string_view tooltipKey, QLabel& label,
                                   void (ZNSettingsWindowController::*action)());
    QLabel* makeLabel(const char* name, std::string_view textKey);
    void setConstraints();
    void addObservers();

    void updateViewsForSettings();
    void setPopupButtonValues();
    void updateHours();
    void timeDidChange();

    void oniCloudToggled();
    void onDockToggled();
    void onLoginToggled();
    void onDeleteCompletedToggled();
    void onUseReturnToggled();
    void onClearCache();
    void onChangeSnoozeSetting();
    void onChangeMorningSetting();
    void onChangeEveningSetting();

    void requiresiCloudSignIn();
    void showAccount();
    // One at a time; the latest stays.
    QMessageBox& showAlert(std::string_view messageKey, std::string_view informativeTextKey = {});
    void showTab(const std::vector<QWidget*>& shown, const std::vector<QWidget*>& hidden);
    [[nodiscard]] QString text(std::string_view key) const;

    Collaborators _with;
    ZNView* _toolbar;
    ZNToolbarItem *_generalItem, *_defaultsItem;
    ZNCheckBox *_iCloudButton, *_showInMenubarButton, *_autoStartButton, *_deleteCompletedButton, *_useReturnToSave;
    ZNPushButton *_accountButton, *_clearCacheButton;
    QLabel *_snoozeSettingLabel, *_snoozeInstructions, *_morningSettingLabel, *_eveningSettingLabel;
    ZNPopUpButton *_snoozeSetting, *_morningHour, *_eveningHour;
    std::vector<QWidget*> _generalControls, _defaultsControls;
    QPointer<QMessageBox> _alert;
    std::vector<Observation> _observations;
};

}  // namespace zun
