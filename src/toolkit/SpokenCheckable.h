#pragma once

// A button that is on or off, as assistive technology uses it. Qt's own turns it over without a click, so that it looks
// different and nothing has happened; this one clicks. Main thread.

#include <QAbstractButton>
#include <QAccessibleWidget>

namespace zun {

class SpokenCheckable final : public QAccessibleWidget {
  public:
    explicit SpokenCheckable(QAbstractButton& button);

    [[nodiscard]] QString text(QAccessible::Text kind) const override;
    [[nodiscard]] QAccessible::State state() const override;
    [[nodiscard]] QStringList actionNames() const override;
    void doAction(const QString& name) override;
    [[nodiscard]] QStringList keyBindingsForAction(const QString& name) const override;

  private:
    [[nodiscard]] QAbstractButton& button() const;
};

}  // namespace zun
