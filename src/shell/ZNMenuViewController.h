#pragma once

// Turns menu commands and their keys into notifications, and enables or disables them from notifications. Screens never
// call each other; they hear these. Commands whose screen is not there yet stay disabled. Lives as long as the
// application. Main thread.

#include <QAction>
#include <QObject>
#include <QUndoStack>
#include <QWidget>
#include <vector>

#include "platform/foundation/LocalizedStrings.h"
#include "platform/foundation/NSNotificationCenter.h"

namespace zun {

class ZNMenuViewController final : public QObject {
    Q_OBJECT
  public:
    ZNMenuViewController(NSNotificationCenter& notifications, const LocalizedStrings& strings, QUndoStack& undoStack);

    // Makes every command and its keys work in this window.
    void attachTo(QWidget& window);

    [[nodiscard]] QAction& editItem() { return *_editItem; }
    [[nodiscard]] QAction& completeItem() { return *_completeItem; }
    [[nodiscard]] QAction& snoozeItem() { return *_snoozeItem; }
    [[nodiscard]] QAction& skipItem() { return *_skipItem; }
    [[nodiscard]] QAction& undoItem() { return *_undoItem; }

  private:
    QAction* addItem(std::string_view titleKey, const QList<QKeySequence>& keys, std::string_view notification);
    void enableOn(std::string_view notification, const std::vector<QAction*>& items, bool enabled);

    NSNotificationCenter& _notifications;
    const LocalizedStrings& _strings;
    std::vector<QAction*> _items;
    QAction* _editItem;
    QAction* _completeItem;
    QAction* _snoozeItem;
    QAction* _skipItem;
    QAction* _skipLeftItem;
    QAction* _closeItem;
    QAction* _quitItem;
    QAction* _undoItem;
    std::vector<Observation> _observations;
};

}  // namespace zun
