#pragma once

// The context menu of one reminder's row: what can be done with the reminder as it is when the menu is made. It holds
// neither the reminder nor the row; what has gone by the time of a choice is not acted on. Owned by whoever opens it.
// Main thread.

#include <QMenu>
#include <QPointer>
#include <memory>

#include "list/ZNOptionsMenuDelegate.h"
#include "platform/foundation/LocalizedStrings.h"

namespace zun {

enum class CanSupportCKSharing { No, Yes };

class ZNOptionsMenu final : public QMenu {
    Q_OBJECT
  public:
    // The strings are used only here.
    ZNOptionsMenu(const ReminderPtr& reminder, QWidget* withCell, const LocalizedStrings& strings,
                  CanSupportCKSharing canSupportCKSharing);

    // Not owned; null, or alive whenever an item is chosen.
    void setDelegate(ZNOptionsMenuDelegate* delegate) { _delegate = delegate; }

  private:
    using DelegateCall = void (ZNOptionsMenuDelegate::*)(const ReminderPtr&, QWidget*);

    void addMenuItemsForReminder(const ZNReminderObject& reminder, const LocalizedStrings& strings,
                                 CanSupportCKSharing canSupportCKSharing);
    void tellDelegate(DelegateCall call);

    std::weak_ptr<ZNReminderObject> _reminder;
    QPointer<QWidget> _cell;
    ZNOptionsMenuDelegate* _delegate = nullptr;
};

}  // namespace zun
