#pragma once

// The pages of the account window. Each shows what the model says and tells it what the user wants; which of them is
// seen is the window's matter. Owned by the window. Main thread.

#include <QPointer>

#include "dates/DateLabels.h"
#include "settings/ZNSettingsObject.h"
#include "shell/AccountControls.h"
#include "shell/AccountModel.h"

namespace zun {

struct AccountPageContext {
    AccountModel& model;
    ZNSettingsObject& settings;
    const LocalizedStrings& strings;
    const DateLabels& labels;
};

// Has a notice, and is disabled while something is under way but for that. While the keyring is locked and asks for its
// password, the notice says so, with a button for whoever does not want to give it.
class AccountPage : public AccountColumn {
    Q_OBJECT
  public:
    // Shows what is so by now.
    virtual void refresh();
    // What the focus begins with.
    [[nodiscard]] virtual QWidget* firstControl() const = 0;

  signals:
    void backWanted();

  protected:
    AccountPage(const AccountPageContext& context, QWidget* parent) : AccountColumn(parent), _with(context) {}
    void addNoticeAndButtons(const std::vector<std::pair<const char*, QString>>& namesAndTexts);
    void hideEvent(QHideEvent* event) override;
    [[nodiscard]] AccountModel& model() const { return _with.model; }
    [[nodiscard]] QString text(std::string_view key) const { return QString::fromStdString(_with.strings.string(key)); }
    [[nodiscard]] QString text(std::string_view key, const QString& argument) const;

    const AccountPageContext _with;
    AccountNotice* _notice = nullptr;
    std::vector<ZNPushButton*> _buttons;

  private:
    void addWithoutKeyring();
    void showNotice();

    ZNPushButton* _withoutKeyring = nullptr;
    bool _wasBusy = false;
    QPointer<QWidget> _lastFocus;  // from before something was under way
};

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

// A list of rows, each with a button; only so many at first that it opens at once.
class AccountListPage : public AccountPage {
    Q_OBJECT
  protected:
    struct Row {
        QString title, details, notes;
        QString button, buttonName;  // the latter for those who only hear it
        bool isEnabled = true;
        std::function<void()> action;
    };
    AccountListPage(const AccountPageContext& context, QWidget* parent) : AccountPage(context, parent) {}
    void prepareList(const char* moreButton);
    void showRows(std::vector<Row> rows);
    [[nodiscard]] QWidget* firstControl() const override;

  private:
    static constexpr std::size_t rowsAtOnce = 50;
    [[nodiscard]] QWidget* makeRow(std::size_t index);

    std::vector<Row> _rows;
    std::vector<QWidget*> _views;
    std::vector<ZNPushButton*> _rowButtons;
    std::size_t _limit = rowsAtOnce;
    QVBoxLayout* _list = nullptr;
    ZNPushButton* _more = nullptr;
};

class AccountDevicesPage final : public AccountListPage {
    Q_OBJECT
  public:
    AccountDevicesPage(const AccountPageContext& context, QWidget* parent);
    void refresh() override;

  private:
    QLabel* _text;
};

class AccountVersionsPage final : public AccountListPage {
    Q_OBJECT
  public:
    AccountVersionsPage(const AccountPageContext& context, QWidget* parent);
    void refresh() override;

  private:
    QLabel* _text;
};

}  // namespace zun
