#include "checklist/ChecklistAccessibility.h"

#include <QAccessibleWidget>
#include <QPointer>
#include <QTextBlock>
#include <unordered_map>

#include "checklist/ChecklistGutter.h"

namespace zun {
namespace {

// The button of the item that has this place in the list now.
class SpokenCheckButton final : public QAccessibleInterface, public QAccessibleActionInterface {
  public:
    SpokenCheckButton(ChecklistGutter& gutter, int line) : _gutter(&gutter), _line(line) {}

    [[nodiscard]] bool isValid() const override { return _gutter && _line < _gutter->buttonCount(); }
    [[nodiscard]] QObject* object() const override { return nullptr; }
    [[nodiscard]] QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    [[nodiscard]] QAccessibleInterface* parent() const override {
        return _gutter ? QAccessible::queryAccessibleInterface(_gutter) : nullptr;
    }
    [[nodiscard]] QAccessibleInterface* child(int) const override { return nullptr; }
    [[nodiscard]] int childCount() const override { return 0; }
    [[nodiscard]] int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    [[nodiscard]] QWindow* window() const override { return _gutter ? _gutter->window()->windowHandle() : nullptr; }
    [[nodiscard]] QString text(QAccessible::Text kind) const override {
        if (!isValid()) return {};
        if (kind == QAccessible::Description) return _gutter->accessibleDescription();
        if (kind != QAccessible::Name) return {};
        const QString item = _gutter->view().document()->findBlockByNumber(_line).text();
        return item.isEmpty() ? _gutter->accessibleName() : item;
    }
    void setText(QAccessible::Text, const QString&) override {}
    [[nodiscard]] QRect rect() const override {
        if (!isValid()) return {};
        const QRect button = _gutter->buttonRect(_line);
        return {_gutter->mapToGlobal(button.topLeft()), button.size()};
    }
    [[nodiscard]] QAccessible::Role role() const override { return QAccessible::CheckBox; }
    [[nodiscard]] QAccessible::State state() const override {
        QAccessible::State state;
        state.invalid = !isValid();
        if (state.invalid) return state;
        state.checkable = true;
        state.checked = _gutter->view().lines().isChecked(_line);
        state.invisible = !_gutter->isVisible();
        state.disabled = !_gutter->isEnabled();
        state.offscreen = !_gutter->visibleRegion().intersects(_gutter->buttonRect(_line));
        return state;
    }
    void* interface_cast(QAccessible::InterfaceType type) override {
        return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this) : nullptr;
    }

    [[nodiscard]] QStringList actionNames() const override { return {toggleAction(), pressAction()}; }
    void doAction(const QString& name) override {
        if (isValid() && (name == toggleAction() || name == pressAction())) _gutter->view().toggleCheckButton(_line);
    }
    [[nodiscard]] QStringList keyBindingsForAction(const QString&) const override { return {}; }

  private:
    QPointer<ChecklistGutter> _gutter;
    int _line;
};

class SpokenGutter final : public QAccessibleWidget {
  public:
    explicit SpokenGutter(ChecklistGutter& gutter) : QAccessibleWidget(&gutter, QAccessible::List) {}
    ~SpokenGutter() override {
        for (const auto& [line, id] : _buttons)
            QAccessible::deleteAccessibleInterface(id);
    }

    [[nodiscard]] int childCount() const override { return gutter().buttonCount(); }
    [[nodiscard]] QAccessibleInterface* child(int index) const override {
        if (index < 0 || index >= childCount()) return nullptr;
        const auto known = _buttons.find(index);
        if (known != _buttons.end()) return QAccessible::accessibleInterface(known->second);
        auto* button = new SpokenCheckButton(gutter(), index);
        _buttons.emplace(index, QAccessible::registerAccessibleInterface(button));
        return button;
    }
    [[nodiscard]] QAccessibleInterface* childAt(int x, int y) const override {
        return child(gutter().buttonAt(gutter().mapFromGlobal(QPoint(x, y))));
    }
    [[nodiscard]] int indexOfChild(const QAccessibleInterface* button) const override {
        for (const auto& [line, id] : _buttons)
            if (QAccessible::accessibleInterface(id) == button) return line;
        return -1;
    }

  private:
    [[nodiscard]] ChecklistGutter& gutter() const { return *qobject_cast<ChecklistGutter*>(widget()); }

    mutable std::unordered_map<int, QAccessible::Id> _buttons;
};

QAccessibleInterface* speak(const QString&, QObject* object) {
    auto* gutter = qobject_cast<ChecklistGutter*>(object);
    return gutter ? new SpokenGutter(*gutter) : nullptr;
}

}  // namespace

void installChecklistAccessibility() {
    static const bool installed = [] {
        QAccessible::installFactory(speak);
        return true;
    }();
    Q_UNUSED(installed);
}

}  // namespace zun
