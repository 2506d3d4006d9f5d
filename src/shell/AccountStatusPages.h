#pragma once

// The pages of who is signed in: how it stands, another password, and the end of the account. See AccountPage.

#include "shell/AccountPage.h"

namespace zun {

class AccountStatusPage final : public AccountPage {
    Q_OBJECT
  public:
    AccountStatusPage(const AccountPageContext& context, QWidget* parent);
    void refresh() override;
    [[nodiscard]] QWidget* firstControl() const override { return _syncNow; }

  signals:
    void passwordWanted();
    void deletionWanted();
    void exportWanted();

  private:
    void toggleCloud();

    QLabel *_who, *_service, *_place, *_lastSync, *_waiting;
    AccountNotice* _problem;
    ZNCheckBox* _cloud;
    ZNPushButton *_syncNow, *_signOut;
};

class AccountPasswordPage final : public AccountPage {
    Q_OBJECT
  public:
    AccountPasswordPage(const AccountPageContext& context, QWidget* parent);
    [[nodiscard]] QWidget* firstControl() const override { return _old; }

  private:
    AccountField *_old, *_new, *_repeated;
};

// Names what goes.
class AccountDeletionPage final : public AccountPage {
    Q_OBJECT
  public:
    AccountDeletionPage(const AccountPageContext& context, QWidget* parent);
    void refresh() override;
    [[nodiscard]] QWidget* firstControl() const override { return _password; }

  private:
    QLabel* _what;
    AccountField* _password;
};

}  // namespace zun
