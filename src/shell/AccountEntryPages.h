#pragma once

// The pages of who is not signed in: signing in, making an account, and the question about a certificate. See
// AccountPage.

#include "shell/AccountPage.h"

namespace zun {

class AccountSignInPage final : public AccountPage {
    Q_OBJECT
  public:
    AccountSignInPage(const AccountPageContext& context, QWidget* parent);
    void refresh() override;
    [[nodiscard]] QWidget* firstControl() const override;
    // Of an account whose secret is gone.
    void prefill(const StoredAccount& account);
    [[nodiscard]] QString address() const { return _address->text(); }
    [[nodiscard]] QString name() const { return _name->text(); }

  signals:
    void creationWanted();

  private:
    AccountField *_address, *_name, *_password;
};

class AccountCreationPage final : public AccountPage {
    Q_OBJECT
  public:
    AccountCreationPage(const AccountPageContext& context, QWidget* parent);
    [[nodiscard]] QWidget* firstControl() const override;
    void begin(const QString& address, const QString& name);

  private:
    AccountField *_address, *_name, *_displayName, *_email, *_password, *_repeated, *_invitation;
};

class AccountCertificatePage final : public AccountPage {
    Q_OBJECT
  public:
    AccountCertificatePage(const AccountPageContext& context, QWidget* parent);
    void refresh() override;
    // The one that does no harm.
    [[nodiscard]] QWidget* firstControl() const override { return _buttons.front(); }

  private:
    QLabel *_explanation, *_service, *_subject, *_issuer, *_notAfter, *_fingerprint;
};

}  // namespace zun
