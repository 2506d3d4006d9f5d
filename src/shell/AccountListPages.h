#pragma once

// The pages that list something: the devices of the account, and the versions that were kept. See AccountPage.

#include <functional>
#include <vector>

#include "shell/AccountPage.h"

namespace zun {

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
