#include "shell/AccountPage.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace zun {
namespace {

std::string_view progressKey(AccountWork work) {
    switch (work) {
        case AccountWork::SigningIn:
            return "Account_Signing_In";
        case AccountWork::CreatingAccount:
            return "Account_Creating";
        case AccountWork::SigningOut:
            return "Account_Signing_Out";
        case AccountWork::ChangingPassword:
            return "Account_Changing_Password";
        case AccountWork::Exporting:
            return "Account_Exporting";
        case AccountWork::DeletingAccount:
            return "Account_Deleting";
        case AccountWork::SigningOutDevice:
            return "Account_Signing_Out_Device";
        case AccountWork::None:
        case AccountWork::ReadingDevices:
        case AccountWork::Syncing:
            break;
    }
    return {};
}

}  // namespace

QString AccountPage::text(std::string_view key, const QString& argument) const {
    return QString::fromStdString(stringWithFormat(_with.strings.string(key), {argument.toStdString()}));
}

void AccountPage::addNoticeAndButtons(const std::vector<std::pair<const char*, QString>>& namesAndTexts) {
    _notice = addNotice();
    addWithoutKeyring();
    if (!namesAndTexts.empty()) _buttons = addButtons(namesAndTexts);
    column().addStretch();
}

// Takes no room while it is hidden.
void AccountPage::addWithoutKeyring() {
    auto* line = new QWidget(&content());
    auto* row = new QHBoxLayout(line);
    row->setContentsMargins(0, 8, 0, 0);
    row->addStretch();
    _withoutKeyring = new ZNPushButton(text("Cancel_Action"), line);
    _withoutKeyring->setObjectName("withoutKeyringButton");
    row->addWidget(_withoutKeyring);
    addWidget(line);
    line->hide();
    connect(_withoutKeyring, &QAbstractButton::clicked, this, [this] { model().goOnWithoutKeyring(); });
}

void AccountPage::refresh() {
    const bool isBusy = model().isBusy();
    if (isBusy && !_wasBusy) {
        auto* focused = window()->focusWidget();
        _lastFocus = focused && isAncestorOf(focused) ? focused : nullptr;
        // Else it would go to the next control that is not disabled, in another part of the window.
        if (_lastFocus) setFocus(Qt::OtherFocusReason);
    }
    for (auto* control : content().findChildren<QWidget*>())
        if (control->focusPolicy() != Qt::NoFocus) control->setEnabled(!isBusy || control == _withoutKeyring);
    showNotice();
    // Until the column is laid out anew, the notice has no place to scroll to.
    if (_notice->isVisibleTo(this)) {
        column().activate();
        ensureWidgetVisible(_notice, 0, margin);
    }
    if (!isBusy && _wasBusy && _lastFocus && hasFocus()) _lastFocus->setFocus(Qt::OtherFocusReason);
    _wasBusy = isBusy;
}

void AccountPage::showNotice() {
    const bool isAsking = model().isKeyringAsking();
    _withoutKeyring->parentWidget()->setVisible(isAsking);
    if (isAsking) {
        _notice->show(AccountNotice::Tone::Progress, text("Account_Keyring_Locked"));
    } else if (model().isBusy()) {
        _notice->show(AccountNotice::Tone::Progress, text(progressKey(model().work())));
    } else if (const auto& notice = model().notice()) {
        const bool isGood = notice->tone == AccountModel::Notice::Tone::Good;
        _notice->show(isGood ? AccountNotice::Tone::Good : AccountNotice::Tone::Bad,
                      QString::fromStdString(notice->text));
    } else {
        _notice->show(AccountNotice::Tone::Good, {});
    }
}

// A password does not wait in a page that nobody sees.
void AccountPage::hideEvent(QHideEvent* event) {
    for (auto* field : content().findChildren<AccountField*>())
        if (field->echoMode() == QLineEdit::Password) field->clear();
    AccountColumn::hideEvent(event);
}

}  // namespace zun
