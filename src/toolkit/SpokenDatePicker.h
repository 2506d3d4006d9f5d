#pragma once

// How a field of a date or time is heard, read and changed by assistive technology. Qt's own looks for a number in it,
// so that stepping does nothing.

#include <QAccessibleWidget>

#include "toolkit/ZNDatePicker.h"

namespace zun {

class SpokenDatePicker final : public QAccessibleWidget {
  public:
    explicit SpokenDatePicker(ZNDatePicker& picker);

    [[nodiscard]] QString text(QAccessible::Text kind) const override;
    [[nodiscard]] QAccessible::State state() const override;
    // Its text is that of the line in it, which has no name of its own and is not offered a second time.
    void* interface_cast(QAccessible::InterfaceType type) override;
    [[nodiscard]] int childCount() const override { return 0; }
    [[nodiscard]] QAccessibleInterface* child(int) const override { return nullptr; }
    [[nodiscard]] QStringList actionNames() const override;
    void doAction(const QString& name) override;

  private:
    [[nodiscard]] ZNDatePicker& picker() const;
};

}  // namespace zun
