#include "shell/ZNAccountWindowController.h"

#include <QFileDialog>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QScreen>
#include <QScrollBar>
#include <QStandardPaths>
#include <algorithm>

#include "toolkit/Tokens.h"

namespace zun {
namespace {

constexpr int titleRoom = 48;

QString chooseFileOfDesktop(QWidget* parent, const QString& title, const QString& proposal) {
    return QFileDialog::getSaveFileName(parent, title, proposal);
}

}  // namespace

ZNAccountWindowController::ZNAccountWindowController(Collaborators collaborators)
    : FixedWindow(QString::fromStdString(collaborators.strings.string("Account_Window_Title")), windowSize,
                  tokens::settingsGround),
      _with(std::move(collaborators)) {
    if (const auto* screen = QGuiApplication::primaryScreen())
        setFixedHeight(std::min(windowSize.height(), screen->availableSize().height() - titleRoom));
    prepareToolbar();
    preparePages();
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 8, 0, 0);
    column->setSpacing(8);
    column->addWidget(_toolbar);
    column->addWidget(_pages, 1);

    _with.model.forgetNotice();
    const QPointer<ZNAccountWindowController> self(this);
    const auto refreshSoon = [self, &dispatch = _with.dispatch](std::string_view) {
        onMainThread(dispatch, [self] {
            if (self) self->refresh();
        });
    };
    _observations.push_back(_with.model.observe({"state"}, refreshSoon));
    _observations.push_back(_with.settings.observe({"shouldUseCloudKit"}, refreshSoon));
    _reportTimer = NSTimer(_with.dispatch.main(), reportInterval, true, [self] {
        if (self) self->_with.model.readSyncReport();
    });
    if (_with.model.needsSecret()) _signInPage->prefill(*_with.model.account().account);
    _with.model.readSyncReport();
    showAccountTab();
    if (auto* first = accountPage()->firstControl()) first->setFocus(Qt::OtherFocusReason);
}

QString ZNAccountWindowController::text(std::string_view key) const {
    return QString::fromStdString(_with.strings.string(key));
}

void ZNAccountWindowController::prepareToolbar() {
    _toolbar = new ZNView(this);
    _toolbar->setAccessibilityRole(QAccessible::ToolBar);
    auto* row = new QHBoxLayout(_toolbar);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(4);
    row->addStretch();
    const auto make = [&](const char* identifier, std::string_view key, const char* icon, auto action) {
        auto* item = new ZNToolbarItem(identifier, _with.pictures, _toolbar);
        item->setText(text(key));
        item->setIconNamed(icon);
        connect(item, &QAbstractButton::clicked, this, action);
        row->addWidget(item);
        return item;
    };
    _accountItem =
        make("znAccountItemIdentifier", "Account_Tab_Label", "accountIcon", &ZNAccountWindowController::showAccountTab);
    _devicesItem = make("znDevicesItemIdentifier", "Account_Devices_Tab_Label", "accountDevicesIcon",
                        &ZNAccountWindowController::showDevicesTab);
    _versionsItem = make("znVersionsItemIdentifier", "Account_Versions_Tab_Label", "accountVersionsIcon",
                         &ZNAccountWindowController::showVersionsTab);
    row->addStretch();
}

void ZNAccountWindowController::preparePages() {
    _pages = new QStackedWidget(this);
    const AccountPageContext context{_with.model, _with.settings, _with.strings, _with.labels};
    const auto add = [this](auto* page) {
        _pages->addWidget(page);
        connect(page, &AccountPage::backWanted, this, [this] { take(Detour::None); });
        return page;
    };
    _signInPage = add(new AccountSignInPage(context, this));
    _creationPage = add(new AccountCreationPage(context, this));
    _certificatePage = add(new AccountCertificatePage(context, this));
    _statusPage = add(new AccountStatusPage(context, this));
    _passwordPage = add(new AccountPasswordPage(context, this));
    _deletionPage = add(new AccountDeletionPage(context, this));
    _devicesPage = add(new AccountDevicesPage(context, this));
    _versionsPage = add(new AccountVersionsPage(context, this));

    connect(_signInPage, &AccountSignInPage::creationWanted, this, [this] {
        _creationPage->begin(_signInPage->address(), _signInPage->name());
        take(Detour::Creation);
    });
    connect(_statusPage, &AccountStatusPage::passwordWanted, this, [this] { take(Detour::Password); });
    connect(_statusPage, &AccountStatusPage::deletionWanted, this, [this] { take(Detour::Deletion); });
    connect(_statusPage, &AccountStatusPage::exportWanted, this, &ZNAccountWindowController::exportAccount);
}

// ---- which page

void ZNAccountWindowController::showAccountTab() {
    _accountItem->setChecked(true);
    refresh();
}

void ZNAccountWindowController::showDevicesTab() {
    _devicesItem->setChecked(true);
    _with.model.forgetNotice();
    _with.model.readDevices();
    refresh();
}

void ZNAccountWindowController::showVersionsTab() {
    _versionsItem->setChecked(true);
    _with.model.forgetNotice();
    _with.model.readKeptVersions();
    refresh();
}

void ZNAccountWindowController::take(Detour detour) {
    _detour = detour;
    _with.model.forgetNotice();
    refresh();
}

bool ZNAccountWindowController::fits(Detour detour) const {
    const auto& model = _with.model;
    if (detour == Detour::Creation) return !model.isSignedIn();
    if (!model.isSignedIn()) return false;
    // A new password has been set: back to where it was asked for, which shows the notice.
    const bool isDone = model.notice() && model.notice()->tone == AccountModel::Notice::Tone::Good;
    return detour != Detour::Password || !isDone;
}

AccountPage* ZNAccountWindowController::accountPage() const {
    if (_with.model.certificateQuestion()) return _certificatePage;
    switch (_detour) {
        case Detour::Creation:
            return _creationPage;
        case Detour::Password:
            return _passwordPage;
        case Detour::Deletion:
            return _deletionPage;
        case Detour::None:
            break;
    }
    return _with.model.isSignedIn() ? static_cast<AccountPage*>(_statusPage) : _signInPage;
}

void ZNAccountWindowController::refresh() {
    if (!fits(_detour)) _detour = Detour::None;
    AccountPage* page = _devicesItem->isChecked()    ? static_cast<AccountPage*>(_devicesPage)
                        : _versionsItem->isChecked() ? static_cast<AccountPage*>(_versionsPage)
                                                     : accountPage();
    const bool isAnother = page != _pages->currentWidget();
    const bool hadFocus = isAnother && focusWidget() && _pages->isAncestorOf(focusWidget());
    page->refresh();
    if (!isAnother) return;
    _pages->setCurrentWidget(page);
    page->verticalScrollBar()->setValue(0);
    auto* first = page->firstControl();
    const bool isFirstPage = !focusWidget();
    if (first && (hadFocus || isFirstPage)) first->setFocus(Qt::OtherFocusReason);
}

// Escape leaves a detour before it closes the window.
void ZNAccountWindowController::keyPressEvent(QKeyEvent* event) {
    const bool isOnAccountTab = _accountItem->isChecked();
    if (!event->matches(QKeySequence::Cancel) || !isOnAccountTab || _with.model.isBusy())
        return FixedWindow::keyPressEvent(event);
    if (_with.model.certificateQuestion()) return _with.model.refuseCertificate();
    if (_detour != Detour::None) return take(Detour::None);
    FixedWindow::keyPressEvent(event);
}

void ZNAccountWindowController::exportAccount() {
    const auto folder = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    const auto& choose = _with.chooseFile ? _with.chooseFile : chooseFileOfDesktop;
    const QPointer<ZNAccountWindowController> self(this);
    const auto file = choose(this, text("Account_Export_Title"), folder + "/" + text("Account_Export_File_Name"));
    if (self && !file.isEmpty()) _with.model.exportTo(file.toStdString());
}

}  // namespace zun
