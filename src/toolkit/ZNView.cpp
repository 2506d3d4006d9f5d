#include "toolkit/ZNView.h"

#include <QAccessibleWidget>
#include <algorithm>

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
        return state;
    }
    [[nodiscard]] QStringList actionNames() const override {
        QStringList names = QAccessibleWidget::actionNames();
        if (qobject_cast<ZNButton*>(widget()) && widget()->isEnabled()) names.prepend(pressAction());
        return names;
    }
    void doAction(const QString& name) override {
        auto* button = qobject_cast<ZNButton*>(widget());
        if (button && name == pressAction()) {
            button->click();
        } else {
            QAccessibleWidget::doAction(name);
        }
    }

  private:
    [[nodiscard]] Widget& view() const { return *qobject_cast<Widget*>(widget()); }
    // A part of the tree that says nothing itself; were it invisible, readers would pass over what is in it.
    [[nodiscard]] bool onlyHolds() const { return childCount() > 0; }
};

QAccessibleInterface* speak(const QString&, QObject* object) {
    if (auto* view = qobject_cast<ZNView*>(object)) return new SpokenWidget<ZNView>(*view);
    if (auto* button = qobject_cast<ZNButton*>(object)) return new SpokenWidget<ZNButton>(*button);
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
