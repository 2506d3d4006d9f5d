#include "shell/AccountStatusPages.h"

#include <QGridLayout>
#include <QVBoxLayout>

namespace zun {
namespace {

using Shows = AccountField::Shows;

}  // namespace

// ---- how it stands

AccountStatusPage::AccountStatusPage(const AccountPageContext& context, QWidget* parent)
    : AccountPage(context, parent) {
    _who = addTitle({});
    _who->setObjectName("who");
    _service = addFact("service", text("Account_Service_Label"));
    _place = addFact("place", text("Account_Place_Label"));
    _lastSync = addFact("lastSync", text("Account_Last_Sync_Label"));
    _waiting = addFact("waiting", text("Account_Waiting_Label"));
    _problem = addNotice();
    _problem->setObjectName("problem");
    addSpace(6);

    auto* row = new QHBoxLayout;
    _cloud = new ZNCheckBox(text("Sync_With_iCloud_Label"), &content());
    _cloud->setObjectName("cloudSwitch");
    _syncNow = new ZNPushButton(text("Account_Sync_Now_Action"), &content());
    _syncNow->setObjectName("syncNowButton");
    _syncNow->setDefault(true);
    row->addWidget(_cloud);
    row->addStretch();
    row->addWidget(_syncNow);
    column().addLayout(row);
    addSpace(4);
    addText(text("Account_Privacy_Text"));
    addNoticeAndButtons({});

    auto* grid = new QGridLayout;
    grid->setSpacing(2);
    int place = 0;
    const auto add = [&](const char* name, std::string_view key, auto action) {
        auto* button = new ZNPushButton(text(key), &content());
        button->setObjectName(name);
        button->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
        grid->addWidget(button, place / 2, place % 2);
        ++place;
        connect(button, &QAbstractButton::clicked, this, action);
        return button;
    };
    add("passwordButton", "Account_Change_Password_Action", &AccountStatusPage::passwordWanted);
    add("exportButton", "Account_Export_Action", &AccountStatusPage::exportWanted);
    _signOut = add("signOutButton", "Account_Sign_Out_Action", [this] { model().signOut(); });
    add("deleteButton", "Account_Delete_Action", &AccountStatusPage::deletionWanted);
    column().addSpacing(8);
    column().addLayout(grid);

    connect(_syncNow, &QAbstractButton::clicked, this, [this] { model().syncNow(); });
    connect(_cloud, &QAbstractButton::clicked, this, &AccountStatusPage::toggleCloud);
}

void AccountStatusPage::toggleCloud() {
    _with.settings.setShouldUseCloudKit(_cloud->isChecked());
    _with.settings.save();
    refresh();
}

void AccountStatusPage::refresh() {
    AccountPage::refresh();
    const auto state = model().account();
    if (!state.account) return;
    const auto& account = *state.account;
    const bool hasOneName = account.displayName.empty() || account.displayName == account.name;
    const auto who =
        hasOneName ? account.name
                   : stringWithFormat(_with.strings.string("Account_Who_Format"), {account.displayName, account.name});
    _who->setText(breakable(QString::fromStdString(who)));
    _service->setText(QString::fromStdString(account.serviceURL));
    _place->setText(
        text(state.secretPlace == SecretPlace::SecretService ? "Account_Place_Keyring" : "Account_Place_File"));

    const auto& report = model().syncReport();
    const bool isOn = _with.settings.onGetCloudKitStatus();
    const bool isSyncing = model().isSyncing();
    _lastSync->setText(
        isSyncing ? text("Default_Sync_Text")
        : report.lastGoodSync
            ? QString::fromStdString(_with.labels.dateAsShortStringWithWeekdayDayMonthYear(*report.lastGoodSync))
            : text("Account_Never"));
    _waiting->setText(report.waiting == 0   ? text("Account_Nothing_Waiting")
                      : report.waiting == 1 ? text("Account_One_Waiting")
                                            : text("Account_Waiting_Format", QString::number(report.waiting)));
    // While it is tried again, the failure before it is no news.
    if (!isOn) {
        _problem->show(AccountNotice::Tone::Progress, text("Account_Sync_Is_Off"));
    } else {
        _problem->show(AccountNotice::Tone::Bad, isSyncing ? QString() : QString::fromStdString(model().syncProblem()));
    }
    _cloud->setChecked(isOn);
    _syncNow->setEnabled(isOn && !isSyncing && !model().isBusy());
}

// ---- the password

AccountPasswordPage::AccountPasswordPage(const AccountPageContext& context, QWidget* parent)
    : AccountPage(context, parent) {
    addTitle(text("Account_Change_Password_Title"));
    addText(text("Account_Change_Password_Text"));
    _old = addField("oldPassword", text("Account_Old_Password_Label"), Shows::Dots);
    _new = addField("changedPassword", text("Account_New_Password_Label"), Shows::Dots);
    _repeated = addField("changedPasswordAgain", text("Account_Repeat_Password_Label"), Shows::Dots);
    addNoticeAndButtons(
        {{"passwordBackButton", text("Cancel_Action")}, {"changeButton", text("Account_Change_Action")}});
    const auto submit = [this] {
        model().changePassword(_old->text().toStdString(), _new->text().toStdString(), _repeated->text().toStdString());
    };
    for (auto* field : {_old, _new, _repeated})
        connect(field, &QLineEdit::returnPressed, this, submit);
    connect(_buttons.back(), &QAbstractButton::clicked, this, submit);
    connect(_buttons.front(), &QAbstractButton::clicked, this, &AccountPage::backWanted);
}

// ---- the end of the account

AccountDeletionPage::AccountDeletionPage(const AccountPageContext& context, QWidget* parent)
    : AccountPage(context, parent) {
    addTitle(text("Account_Delete_Title"));
    _what = addText({});
    _what->setObjectName("whatGoes");
    _password = addField("deletionPassword", text("Account_Password_Label"), Shows::Dots);
    addNoticeAndButtons(
        {{"deletionBackButton", text("Cancel_Action")}, {"deleteForeverButton", text("Account_Delete_Now_Action")}});
    const auto submit = [this] { model().deleteAccount(_password->text().toStdString()); };
    // The return key in the field does nothing: what cannot be undone wants the button.
    connect(_buttons.back(), &QAbstractButton::clicked, this, submit);
    connect(_buttons.front(), &QAbstractButton::clicked, this, &AccountPage::backWanted);
}

void AccountDeletionPage::refresh() {
    AccountPage::refresh();
    const auto state = model().account();
    if (!state.account) return;
    _what->setText(QString::fromStdString(stringWithFormat(_with.strings.string("Account_Delete_Text"),
                                                           {state.account->name, state.account->serviceURL})));
}

}  // namespace zun
