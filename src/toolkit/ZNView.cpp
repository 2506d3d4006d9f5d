#include "toolkit/ZNView.h"

#include <QAbstractItemView>
#include <QAccessibleWidget>
#include <algorithm>

#include "toolkit/PlainControls.h"
#include "toolkit/SpokenCheckable.h"
#include "toolkit/SpokenDatePicker.h"
#include "toolkit/ZNButton.h"

namespace zun {

namespace {

// Speaks for our widgets with the role that they were given, and hides those that are not elements.
template <typename Widget>
class SpokenWidget final : public QAccessibleWidget {
  public:
    explicit SpokenWidget(Widget& view) : QAccessibleWidget(&view, view.accessibilityRole()) {}

    [[nodiscard]] QAccessible::Role role() const override {
        if (view().isAccessibilityElement()) return view().accessibilityRole();
        return onlyHolds() ? QAccessible::Client : QAccessible::NoRole;
    }
    [[nodiscard]] QString text(QAccessible::Text kind) const override {
        return view().isAccessibilityElement() ? QAccessibleWidget::text(kind) : QString();
    }
    [[nodiscard]] QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        if (!view().isAccessibilityElement() && !onlyHolds()) state.invisible = true;
        if (passesFocusOn()) state.focusable = state.focused = false;
        return state;
    }
    [[nodiscard]] QStringList actionNames() const override {
        QStringList names = QAccessibleWidget::actionNames();
        if (passesFocusOn()) names.removeAll(setFocusAction());
        const auto* button = qobject_cast<ZNButton*>(widget());
        if (button && button->isEnabled()) names.prepend(pressAction());
        if (button && button->offersMenu()) names.append(showMenuAction());
        return names;
    }
    void doAction(const QString& name) override {
        auto* button = qobject_cast<ZNButton*>(widget());
        if (button && name == pressAction()) {
            button->click();
        } else if (button && name == showMenuAction()) {
            button->requestMenu();
        } else {
            QAccessibleWidget::doAction(name);
        }
    }

  private:
    [[nodiscard]] Widget& view() const { return *qobject_cast<Widget*>(widget()); }
    // What it is passed on to has it then, and alone.
    [[nodiscard]] bool passesFocusOn() const { return widget()->focusProxy() != nullptr; }
    // A part of the tree that says nothing itself; were it invisible, readers would pass over what is in it.
    [[nodiscard]] bool onlyHolds() const {
        for (int i = 0; i < childCount(); ++i) {
            const QAccessibleInterface* held = child(i);
            if (held && !held->state().invisible) return true;
        }
        return false;
    }
};

// Qt's own takes what is chosen for the name, so that nobody hears what is being chosen.
class SpokenPopUpButton final : public QAccessibleWidget {
  public:
    explicit SpokenPopUpButton(ZNPopUpButton& button) : QAccessibleWidget(&button, QAccessible::ComboBox) {}

    [[nodiscard]] QString text(QAccessible::Text kind) const override {
        return kind == QAccessible::Value ? button().currentText() : QAccessibleWidget::text(kind);
    }
    [[nodiscard]] QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.expandable = state.hasPopup = true;
        state.expanded = button().view()->isVisible();
        return state;
    }
    // The choices, while they are shown.
    [[nodiscard]] int childCount() const override { return button().view()->isVisible() ? 1 : 0; }
    [[nodiscard]] QAccessibleInterface* child(int index) const override {
        return index == 0 && childCount() == 1 ? QAccessible::queryAccessibleInterface(button().view()) : nullptr;
    }
    [[nodiscard]] int indexOfChild(const QAccessibleInterface* child) const override {
        return child && child->object() == button().view() ? 0 : -1;
    }
    [[nodiscard]] QStringList actionNames() const override {
        if (!button().isEnabled()) return {};
        return {showMenuAction(), pressAction(), increaseAction(), decreaseAction(), setFocusAction()};
    }
    void doAction(const QString& name) override {
        if (name == showMenuAction() || name == pressAction()) {
            button().showPopup();
        } else if (name == increaseAction() || name == decreaseAction()) {
            choose(button().currentIndex() + (name == increaseAction() ? 1 : -1));
        } else {
            QAccessibleWidget::doAction(name);
        }
    }

  private:
    [[nodiscard]] ZNPopUpButton& button() const { return *qobject_cast<ZNPopUpButton*>(widget()); }
    void choose(int row) {
        if (row < 0 || row >= button().count()) return;
        button().setCurrentIndex(row);
        // As if by hand.
        emit button().activated(row);
    }
};

QAccessibleInterface* speak(const QString&, QObject* object) {
    if (auto* popUp = qobject_cast<ZNPopUpButton*>(object)) return new SpokenPopUpButton(*popUp);
    if (auto* picker = qobject_cast<ZNDatePicker*>(object)) return new SpokenDatePicker(*picker);
    if (auto* view = qobject_cast<ZNView*>(object)) return new SpokenWidget<ZNView>(*view);
    if (auto* button = qobject_cast<ZNButton*>(object)) return new SpokenWidget<ZNButton>(*button);
    if (auto* button = qobject_cast<QAbstractButton*>(object); button && button->isCheckable()) {
        return new SpokenCheckable(*button);
    }
    return nullptr;
}

}  // namespace

void installAccessibility() {
    static const bool installed = [] {
        QAccessible::installFactory(speak);
        return true;
    }();
    Q_UNUSED(installed);
}

ZNView::ZNView(QWidget* parent) : QWidget(parent) {
    installAccessibility();
}

void ZNView::setAccessibilityRole(QAccessible::Role role) {
    _role = role;
}

void ZNView::setAccessibilityLabel(const QString& label) {
    if (label == accessibleName()) return;
    setAccessibleName(label);
}

void ZNView::setAccessibilityElement(bool isElement) {
    _isElement = isElement;
}

void ZNView::setAlpha(double alpha) {
    const double limited = std::clamp(alpha, 0.0, 1.0);
    if (limited == _alpha) return;
    _alpha = limited;
    update();
}

ZNSpokenText::ZNSpokenText(QWidget* parent) : ZNView(parent) {
    setAccessibilityRole(QAccessible::StaticText);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
}

}  // namespace zun
