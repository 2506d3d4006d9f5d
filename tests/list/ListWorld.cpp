#include "list/ListWorld.h"

#include <QScrollBar>

#include "core/NotificationNames.h"
#include "support/QtApplication.h"

namespace zun {
namespace {

[[maybe_unused]] const auto* application = testing::AddGlobalTestEnvironment(new OneQtApplication);

}  // namespace

ListWorld::ListWorld(QSize windowSize) {
    window.resize(windowSize);
    for (const auto name : {ZNListViewUpdatedNotification, ZNUserUpdatedReminderNotification,
                            ZNUserDeletedReminderNotification, ZNEditControllerRequested, ZNShareControllerRequested})
        note(name);
    list = new ZNListViewController({context, manager, environment, strings, labels, CanSupportCKSharing::Yes},
                                    ZNListViewController::Type::Upcoming, &window);
    list->setGeometry(window.rect());
}

void ListWorld::note(std::string_view name) {
    _observations.push_back(notifications.addObserver(name, [this, name](const NSNotification& notification) {
        const auto* reminder = std::any_cast<ReminderPtr>(&notification.object);
        constexpr std::string_view prefix = "com.zunlabs.ZN";
        posted.push_back(std::string(name.substr(prefix.size())) + (reminder ? " " + (*reminder)->title() : ""));
    }));
}

void ListWorld::open() {
    window.show();
    window.activateWindow();
    QCoreApplication::processEvents();
    advance();
}

void ListWorld::advance(int milliseconds) {
    settle();
    dispatch.advance(std::chrono::milliseconds(milliseconds));
    settle();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void ListWorld::storeDue(const Strings& identifiers) {
    const NSDate first = at("2026-01-14T09:00:00Z");
    for (std::size_t i = 0; i < identifiers.size(); ++i) {
        auto attributes = dated(identifiers[i], "2026-01-14T09:00:00Z");
        attributes.start_date = attributes.due_date = attributes.fire_date = first - std::chrono::minutes(i);
        store(attributes);
    }
}

Strings ListWorld::shown() const {
    Strings all;
    const ListRows& rows = table().rows();
    for (std::size_t row = 0; row < rows.size(); ++row)
        all.push_back(rows.isHeader(row) ? "#" + rows.heading(row) : std::string(rows.reminder(row).title));
    return all;
}

std::size_t ListWorld::rowOf(const std::string& reminderID) const {
    return table().rows().indexOfObjectWithID(reminderID);
}

QPoint ListWorld::pointIn(const std::string& reminderID) const {
    const QRect cell = table().rectOfCell(rowOf(reminderID));
    EXPECT_FALSE(cell.isEmpty()) << reminderID << " is out of view";
    return table().viewport()->mapTo(&window, cell.center());
}

void ListWorld::click(const std::string& reminderID, Qt::KeyboardModifiers modifiers) {
    QTest::mouseClick(window.windowHandle(), Qt::LeftButton, modifiers, pointIn(reminderID));
    advance();
}

void ListWorld::press(int key, Qt::KeyboardModifiers modifiers) {
    QTest::keyClick(window.windowHandle(), static_cast<Qt::Key>(key), modifiers);
    advance();
}

void ListWorld::type(const char* text) {
    for (; *text != 0; ++text)
        QTest::keyClick(window.windowHandle(), *text);
    advance();
}

void ListWorld::dragTo(const std::string& reminderID, int yInTable) {
    const QPoint from = pointIn(reminderID);
    const int to = table().viewport()->mapTo(&window, QPoint(0, yInTable)).y();
    QTest::mousePress(window.windowHandle(), Qt::LeftButton, {}, from);
    for (int step = 1; step <= 8; ++step)
        QTest::mouseMove(window.windowHandle(), QPoint(from.x(), from.y() + (to - from.y()) * step / 8));
}

void ListWorld::dropAt(int yInTable) {
    const QPoint at = table().viewport()->mapTo(&window, QPoint(table().width() / 2, yInTable));
    QTest::mouseRelease(window.windowHandle(), Qt::LeftButton, {}, at);
    advance();
}

int ListWorld::above(const std::string& reminderID) const {
    return table().rectOfRow(rowOf(reminderID)).top() + 2;
}

Strings ListWorld::choose(const std::string& reminderID, const std::string& title,
                          const std::function<void()>& meanwhile) {
    const QRect button = table().rectOfOptionButton(rowOf(reminderID));
    QTest::mouseClick(window.windowHandle(), Qt::LeftButton, {}, table().viewport()->mapTo(&window, button.center()));
    Strings offered;
    const QPointer<QMenu> menu = list->findChild<QMenu*>();
    if (!menu) return offered;
    if (meanwhile) meanwhile();
    QAction* chosen = nullptr;
    for (auto* item : menu->actions()) {
        if (item->isSeparator()) continue;
        offered.push_back(item->text().toStdString());
        if (offered.back() == title) chosen = item;
    }
    if (chosen) chosen->trigger();
    if (menu) menu->close();
    advance();
    return offered;
}

}  // namespace zun
