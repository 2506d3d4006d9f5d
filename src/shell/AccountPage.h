#pragma once

// What the pages of the account window have in common. Each shows what the model says and tells it what the user wants;
// which of them is seen is the window's matter. Owned by the window. Main thread.

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

}  // namespace zun
