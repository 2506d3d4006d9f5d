#include "toolkit/SpokenCheckable.h"

#include <QRadioButton>

namespace zun {
namespace {

QAccessible::Role roleOf(const QAbstractButton& button) {
    const bool isOneOfMany = button.autoExclusive() || qobject_cast<const QRadioButton*>(&button);
    return isOneOfMany ? QAccessible::RadioButton : QAccessible::CheckBox;
}

// "&&" stands for an ampersand; a single one marks the letter after it.
QString withoutMnemonic(const QString& text) {
    QString plain;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == u'&' && i + 1 < text.size()) ++i;
        plain += text[i];
    }
    return plain;
}

}  // namespace

SpokenCheckable::SpokenCheckable(QAbstractButton& button) : QAccessibleWidget(&button, roleOf(button)) {}

QAbstractButton& SpokenCheckable::button() const {
    return *qobject_cast<QAbstractButton*>(widget());
}

QString SpokenCheckable::text(QAccessible::Text kind) const {
    const auto said = QAccessibleWidget::text(kind);
    return kind == QAccessible::Name && said.isEmpty() ? withoutMnemonic(button().text()) : said;
}

QAccessible::State SpokenCheckable::state() const {
    auto state = QAccessibleWidget::state();
    state.checkable = true;
    state.checked = button().isChecked();
    state.pressed = button().isDown();
    return state;
}

QStringList SpokenCheckable::actionNames() const {
    if (!button().isEnabled()) return {};
    return QStringList{toggleAction()} + QAccessibleWidget::actionNames();
}

void SpokenCheckable::doAction(const QString& name) {
    if (name == toggleAction() || name == pressAction()) {
        if (button().isEnabled()) button().click();
    } else {
        QAccessibleWidget::doAction(name);
    }
}

QStringList SpokenCheckable::keyBindingsForAction(const QString& name) const {
    return name == toggleAction() ? QStringList{button().shortcut().toString()} : QStringList();
}

}  // namespace zun
