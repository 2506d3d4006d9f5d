#include "toolkit/SpokenDatePicker.h"

#include <QLineEdit>

namespace zun {

SpokenDatePicker::SpokenDatePicker(ZNDatePicker& picker) : QAccessibleWidget(&picker, QAccessible::SpinBox) {}

ZNDatePicker& SpokenDatePicker::picker() const {
    return *qobject_cast<ZNDatePicker*>(widget());
}

QString SpokenDatePicker::text(QAccessible::Text kind) const {
    return kind == QAccessible::Value ? picker().text() : QAccessibleWidget::text(kind);
}

QAccessible::State SpokenDatePicker::state() const {
    auto state = QAccessibleWidget::state();
    state.editable = picker().isEnabled();
    return state;
}

void* SpokenDatePicker::interface_cast(QAccessible::InterfaceType type) {
    const bool isOfTheLine = type == QAccessible::TextInterface || type == QAccessible::EditableTextInterface;
    if (!isOfTheLine) return QAccessibleWidget::interface_cast(type);
    auto* line = QAccessible::queryAccessibleInterface(picker().findChild<QLineEdit*>());
    return line ? line->interface_cast(type) : nullptr;
}

QStringList SpokenDatePicker::actionNames() const {
    if (!picker().isEnabled()) return {};
    return QStringList{increaseAction(), decreaseAction()} + QAccessibleWidget::actionNames();
}

void SpokenDatePicker::doAction(const QString& name) {
    if (name == increaseAction()) {
        picker().stepBy(1);
    } else if (name == decreaseAction()) {
        picker().stepBy(-1);
    } else {
        QAccessibleWidget::doAction(name);
    }
}

}  // namespace zun
