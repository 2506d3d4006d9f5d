#include "list/ListTableAccessible.h"

#include <QAccessibleWidget>
#include <unordered_map>

#include "list/ZNListTableView.h"

namespace zun {
namespace {

using Way = ZNListTableView::Way;

constexpr char moveUpAction[] = "MoveUp";
constexpr char moveDownAction[] = "MoveDown";

class ListItem final : public QAccessibleInterface, public QAccessibleActionInterface {
  public:
    // The key is a reminder's identifier, or for a heading its text after a line end.
    ListItem(ZNListTableView& table, std::string key) : _table(&table), _key(std::move(key)) {}

    [[nodiscard]] const std::string& key() const { return _key; }
    [[nodiscard]] bool isHeading() const { return _key.starts_with('\n'); }
    [[nodiscard]] std::optional<std::size_t> row() const;

    [[nodiscard]] bool isValid() const override { return row().has_value(); }
    [[nodiscard]] QObject* object() const override { return nullptr; }
    [[nodiscard]] QWindow* window() const override { return _table ? _table->window()->windowHandle() : nullptr; }
    [[nodiscard]] QAccessibleInterface* parent() const override {
        return _table ? QAccessible::queryAccessibleInterface(_table) : nullptr;
    }
    [[nodiscard]] QAccessibleInterface* child(int) const override { return nullptr; }
    [[nodiscard]] QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    [[nodiscard]] int childCount() const override { return 0; }
    [[nodiscard]] int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    [[nodiscard]] QString text(QAccessible::Text kind) const override;
    void setText(QAccessible::Text, const QString&) override {}
    [[nodiscard]] QRect rect() const override;
    [[nodiscard]] QAccessible::Role role() const override {
        return isHeading() ? QAccessible::Heading : QAccessible::ListItem;
    }
    [[nodiscard]] QAccessible::State state() const override;
    void* interface_cast(QAccessible::InterfaceType type) override {
        return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this) : nullptr;
    }

    [[nodiscard]] QStringList actionNames() const override;
    [[nodiscard]] QString localizedActionName(const QString& name) const override;
    void doAction(const QString& name) override;
    [[nodiscard]] QStringList keyBindingsForAction(const QString&) const override { return {}; }

  private:
    QPointer<ZNListTableView> _table;
    std::string _key;
    mutable std::size_t _lastRow = 0;  // where it was found last, which is nearly always where it still is
};

std::string keyOf(const ListRows& rows, std::size_t row) {
    return rows.isHeader(row) ? "\n" + rows.heading(row) : std::string(rows.reminderID(row));
}

std::optional<std::size_t> ListItem::row() const {
    if (!_table) return std::nullopt;
    const ListRows& rows = _table->rows();
    if (_lastRow < rows.size() && keyOf(rows, _lastRow) == _key) return _lastRow;
    if (!isHeading()) {
        const std::size_t found = rows.indexOfObjectWithID(_key);
        if (found == ListRows::npos) return std::nullopt;
        return _lastRow = found;
    }
    for (std::size_t row = 0; row < rows.size(); ++row)
        if (rows.isHeader(row) && std::string_view(_key).substr(1) == rows.heading(row)) return _lastRow = row;
    return std::nullopt;
}

QString ListItem::text(QAccessible::Text kind) const {
    const auto at = row();
    if (kind != QAccessible::Name || !at) return {};
    return isHeading() ? QString::fromStdString(_key.substr(1)) : _table->cell(*at).spokenText();
}

QRect ListItem::rect() const {
    const auto at = row();
    if (!at) return {};
    const QRect inViewport = isHeading() ? _table->rectOfRow(*at) : _table->rectOfCell(*at);
    if (inViewport.isEmpty()) return {};
    return {_table->viewport()->mapToGlobal(inViewport.topLeft()), inViewport.size()};
}

QAccessible::State ListItem::state() const {
    QAccessible::State state;
    const auto at = row();
    if (!at) {
        state.invalid = true;
        return state;
    }
    state.invisible = !_table->isVisible();
    state.offscreen = _table->rectOfRow(*at).isEmpty();
    if (isHeading()) return state;
    state.selectable = state.extSelectable = state.focusable = true;
    state.selected = _table->selection().contains(*at);
    state.focused = _table->hasFocus() && _table->selection().current == *at;
    return state;
}

QStringList ListItem::actionNames() const {
    const auto at = row();
    if (!at || isHeading()) return {};
    QStringList names{pressAction(), toggleAction(), setFocusAction(), showMenuAction()};
    if (_table->canMoveRow(*at, Way::Up)) names << moveUpAction;
    if (_table->canMoveRow(*at, Way::Down)) names << moveDownAction;
    return names;
}

QString ListItem::localizedActionName(const QString& name) const {
    if (_table && name == QLatin1String(moveUpAction)) return _table->text("List_Move_Up_Action");
    if (_table && name == QLatin1String(moveDownAction)) return _table->text("List_Move_Down_Action");
    return QAccessibleActionInterface::localizedActionName(name);
}

void ListItem::doAction(const QString& name) {
    const auto at = row();
    if (!at || isHeading()) return;
    if (name == pressAction()) {
        _table->delegate().tableDoubleClicked(*_table, *at);
    } else if (name == toggleAction()) {
        _table->toggleRow(*at);
    } else if (name == setFocusAction()) {
        _table->setFocus();
        _table->setCurrentRow(*at);
    } else if (name == showMenuAction()) {
        _table->requestOptions(*at);
    } else if (name == QLatin1String(moveUpAction)) {
        _table->moveRowByOne(*at, Way::Up);
    } else if (name == QLatin1String(moveDownAction)) {
        _table->moveRowByOne(*at, Way::Down);
    }
}

class ListTable final : public QAccessibleWidget {
  public:
    explicit ListTable(ZNListTableView& table) : QAccessibleWidget(&table, QAccessible::List) {}
    ~ListTable() override { forgetItems(false); }

    [[nodiscard]] ZNListTableView& table() const { return *qobject_cast<ZNListTableView*>(widget()); }
    [[nodiscard]] int childCount() const override { return static_cast<int>(table().rows().size()); }
    [[nodiscard]] QAccessibleInterface* child(int index) const override {
        if (index < 0 || index >= childCount()) return nullptr;
        const std::string key = keyOf(table().rows(), static_cast<std::size_t>(index));
        const auto found = _items.find(key);
        if (found != _items.end()) return QAccessible::accessibleInterface(found->second);
        auto* item = new ListItem(table(), key);
        _items.emplace(key, QAccessible::registerAccessibleInterface(item));
        return item;
    }
    [[nodiscard]] int indexOfChild(const QAccessibleInterface* child) const override {
        const auto* item = dynamic_cast<const ListItem*>(child);
        const auto row = item ? item->row() : std::nullopt;
        return row ? static_cast<int>(*row) : -1;
    }
    [[nodiscard]] QAccessibleInterface* childAt(int x, int y) const override {
        const auto row = table().rowAt(table().viewport()->mapFromGlobal(QPoint(x, y)));
        return row ? child(static_cast<int>(*row)) : nullptr;
    }
    [[nodiscard]] QAccessibleInterface* focusChild() const override {
        const auto current = table().selection().current;
        return table().hasFocus() && current ? child(static_cast<int>(*current)) : nullptr;
    }
    [[nodiscard]] QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.multiSelectable = true;
        return state;
    }

    // Only of those rows that have gone, or of all.
    void forgetItems(bool onlyGone) {
        std::erase_if(_items, [&](const auto& each) {
            const auto* item = QAccessible::accessibleInterface(each.second);
            if (onlyGone && item && item->isValid()) return false;
            QAccessible::deleteAccessibleInterface(each.second);
            return true;
        });
    }

  private:
    mutable std::unordered_map<std::string, QAccessible::Id> _items;
};

QAccessibleInterface* makeListTable(const QString&, QObject* object) {
    auto* table = qobject_cast<ZNListTableView*>(object);
    return table ? new ListTable(*table) : nullptr;
}

}  // namespace

void installListTableAccessibility() {
    static const bool installed = [] {
        QAccessible::installFactory(makeListTable);
        return true;
    }();
    Q_UNUSED(installed);
}

void accessibleRowsDidChange(ZNListTableView& table) {
    if (!QAccessible::isActive()) return;
    if (auto* list = dynamic_cast<ListTable*>(QAccessible::queryAccessibleInterface(&table))) list->forgetItems(true);
    QAccessibleEvent changed(&table, QAccessible::ObjectReorder);
    QAccessible::updateAccessibility(&changed);
}

void accessibleFocusDidMove(ZNListTableView& table) {
    const auto current = table.selection().current;
    if (!QAccessible::isActive() || !current) return;
    QAccessibleEvent focus(&table, QAccessible::Focus);
    focus.setChild(static_cast<int>(*current));
    QAccessible::updateAccessibility(&focus);
}

}  // namespace zun
