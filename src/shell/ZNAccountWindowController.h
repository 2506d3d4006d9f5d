#pragma once

// The window of the cloud account: signing in and what belongs to it, the devices that are signed in, and the versions
// that the sync replaced or deleted. It shows the model, which goes on with what is under way when the window closes.
//
// One for each time that it is opened; willClose() tells its owner to let it go. Main thread.

#include <QStackedWidget>

#include "shell/AccountEntryPages.h"
#include "shell/AccountListPages.h"
#include "shell/AccountStatusPages.h"
#include "shell/FixedWindow.h"
#include "toolkit/Pictures.h"

namespace zun {

class ZNAccountWindowController final : public FixedWindow {
    Q_OBJECT
  public:
    struct Collaborators {
        AccountModel& model;
        ZNSettingsObject& settings;
        const LocalizedStrings& strings;
        const DateLabels& labels;
        Dispatch& dispatch;
        Pictures& pictures;
        // Asks the user where to; empty if nowhere. The desktop's file dialog unless it is given.
        std::function<QString(QWidget* parent, const QString& title, const QString& proposal)> chooseFile;
    };

    // Less high where the screen is; then the pages scroll.
    static constexpr QSize windowSize{470, 640};
    // How often the numbers are looked at again while the window is there.
    static constexpr std::chrono::seconds reportInterval{10};

    explicit ZNAccountWindowController(Collaborators collaborators);

    void showAccountTab();
    void showDevicesTab();
    void showVersionsTab();

  protected:
    void keyPressEvent(QKeyEvent* event) override;

  private:
    // What the account's tab shows besides what the model says.
    enum class Detour { None, Creation, Password, Deletion };

    void prepareToolbar();
    void preparePages();
    void refresh();
    void take(Detour detour);
    void exportAccount();
    [[nodiscard]] AccountPage* accountPage() const;
    [[nodiscard]] bool fits(Detour detour) const;
    [[nodiscard]] QString text(std::string_view key) const;

    const Collaborators _with;
    ZNView* _toolbar;
    ZNToolbarItem *_accountItem, *_devicesItem, *_versionsItem;
    QStackedWidget* _pages;
    AccountSignInPage* _signInPage;
    AccountCreationPage* _creationPage;
    AccountCertificatePage* _certificatePage;
    AccountStatusPage* _statusPage;
    AccountPasswordPage* _passwordPage;
    AccountDeletionPage* _deletionPage;
    AccountDevicesPage* _devicesPage;
    AccountVersionsPage* _versionsPage;
    Detour _detour = Detour::None;
    NSTimer _reportTimer;
    std::vector<Observation> _observations;
};

}  // namespace zun
