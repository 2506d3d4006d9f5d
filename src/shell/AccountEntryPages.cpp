#include "shell/AccountEntryPages.h"

#include <QVBoxLayout>

#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

using Shows = AccountField::Shows;

}  // namespace

// ---- signing in

AccountSignInPage::AccountSignInPage(const AccountPageContext& context, QWidget* parent)
    : AccountPage(context, parent) {
    addTitle(text("Account_Sign_In_Title"));
    addText(text("Account_Sign_In_Text"));
    _address = addField("address", text("Account_Address_Label"), Shows::Text);
    _address->setPlaceholderText("https://cloud.example.org");
    _address->setInputMethodHints(Qt::ImhUrlCharactersOnly);
    _name = addField("name", text("Account_Name_Label"), Shows::Text);
    _password = addField("password", text("Account_Password_Label"), Shows::Dots);
    addNoticeAndButtons(
        {{"createButton", text("Account_Create_Action")}, {"signInButton", text("Account_Sign_In_Action")}});
    addSpace(12);
    addText(text("Account_Privacy_Text"));

    const auto submit = [this] {
        model().signIn({_address->text().trimmed().toStdString(), _name->text().trimmed().toStdString(),
                        _password->text().toStdString()});
    };
    for (auto* field : {_address, _name, _password})
        connect(field, &QLineEdit::returnPressed, this, submit);
    connect(_buttons.back(), &QAbstractButton::clicked, this, submit);
    connect(_buttons.front(), &QAbstractButton::clicked, this, &AccountSignInPage::creationWanted);
}

void AccountSignInPage::refresh() {
    AccountPage::refresh();
    if (model().needsSecret() && !model().isKeyringAsking() && !model().isBusy() && !model().notice())
        _notice->show(AccountNotice::Tone::Progress, text("Account_Keyring_Notice"));
}

QWidget* AccountSignInPage::firstControl() const {
    for (auto* field : {_address, _name})
        if (field->text().isEmpty()) return field;
    return _password;
}

void AccountSignInPage::prefill(const StoredAccount& account) {
    if (_address->text().isEmpty()) _address->setText(QString::fromStdString(account.serviceURL));
    if (_name->text().isEmpty()) _name->setText(QString::fromStdString(account.name));
}

// ---- a new account

AccountCreationPage::AccountCreationPage(const AccountPageContext& context, QWidget* parent)
    : AccountPage(context, parent) {
    addTitle(text("Account_Create_Title"));
    addText(text("Account_Create_Text"));
    _address = addField("newAddress", text("Account_Address_Label"), Shows::Text);
    _address->setPlaceholderText("https://cloud.example.org");
    _address->setInputMethodHints(Qt::ImhUrlCharactersOnly);
    _name = addField("newName", text("Account_Name_Label"), Shows::Text);
    _displayName = addField("displayName", text("Account_Display_Name_Label"), Shows::Text);
    _displayName->setInputMethodHints(Qt::ImhNone);
    _email = addField("email", text("Account_Email_Label"), Shows::Text);
    _email->setInputMethodHints(Qt::ImhEmailCharactersOnly);
    _password = addField("newPassword", text("Account_New_Password_Label"), Shows::Dots);
    _repeated = addField("repeatedPassword", text("Account_Repeat_Password_Label"), Shows::Dots);
    _invitation = addField("invitation", text("Account_Invitation_Label"), Shows::Text);
    addNoticeAndButtons({{"backButton", text("Account_Back_Action")}, {"makeButton", text("Account_Make_Action")}});

    const auto submit = [this] {
        const auto typed = [](const AccountField* field) { return field->text().trimmed().toStdString(); };
        model().createAccount(
            {typed(_address), typed(_name), _password->text().toStdString()},
            {typed(_displayName), typed(_email), typed(_invitation), _repeated->text().toStdString()});
    };
    for (auto* field : content().findChildren<AccountField*>())
        connect(field, &QLineEdit::returnPressed, this, submit);
    connect(_buttons.back(), &QAbstractButton::clicked, this, submit);
    connect(_buttons.front(), &QAbstractButton::clicked, this, &AccountPage::backWanted);
}

QWidget* AccountCreationPage::firstControl() const {
    for (auto* field : {_address, _name})
        if (field->text().isEmpty()) return field;
    return _displayName;
}

void AccountCreationPage::begin(const QString& address, const QString& name) {
    if (!address.isEmpty()) _address->setText(address);
    if (!name.isEmpty()) _name->setText(name);
}

// ---- the certificate

AccountCertificatePage::AccountCertificatePage(const AccountPageContext& context, QWidget* parent)
    : AccountPage(context, parent) {
    addTitle(text("Account_Certificate_Title"));
    _explanation = addText({});
    _explanation->setObjectName("explanation");
    _service = addFact("certificateService", text("Account_Service_Label"));
    _fingerprint = addFact("fingerprint", text("Account_Fingerprint_Label"));
    QFont fixed("monospace");
    fixed.setStyleHint(QFont::Monospace);
    fixed.setPixelSize(13);
    _fingerprint->setFont(fixed);
    _fingerprint->setLayoutDirection(Qt::LeftToRight);
    _subject = addFact("subject", text("Account_Subject_Label"));
    _issuer = addFact("issuer", text("Account_Issuer_Label"));
    _notAfter = addFact("notAfter", text("Account_Not_After_Label"));
    addNoticeAndButtons(
        {{"refuseButton", text("Account_Refuse_Action")}, {"trustButton", text("Account_Trust_Action")}});
    // Agreeing must not be what a hasty return key does.
    _buttons.back()->setDefault(false);
    connect(_buttons.front(), &QAbstractButton::clicked, this, [this] { model().refuseCertificate(); });
    connect(_buttons.back(), &QAbstractButton::clicked, this, [this] { model().acceptCertificate(); });
}

void AccountCertificatePage::refresh() {
    AccountPage::refresh();
    const auto& question = model().certificateQuestion();
    if (!question) return;
    const auto& certificate = question->certificate;
    const auto show = [](QLabel* fact, const std::string& words) {
        fact->setText(breakable(QString::fromStdString(words)));
    };
    _explanation->setText(text(question->hasChanged ? "Account_Certificate_Changed_Text" : "Account_Certificate_Text"));
    show(_service, question->serviceURL);
    // Half of it a line, so that it can be compared with a finger on it.
    auto fingerprint = QString::fromStdString(certificate.fingerprint);
    if (fingerprint.size() == 95) fingerprint.replace(47, 1, '\n');
    _fingerprint->setText(fingerprint);
    show(_subject, certificate.subject);
    show(_issuer, certificate.issuer);
    show(_notAfter, certificate.notAfter);
}

}  // namespace zun
