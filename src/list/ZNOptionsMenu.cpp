#include "list/ZNOptionsMenu.h"

#include "ZunDataModel/ReminderActions.h"

namespace zun {
namespace {

constexpr int minimumMenuWidth = 180;

}  // namespace

ZNOptionsMenu::ZNOptionsMenu(const ReminderPtr& reminder, QWidget* withCell, const LocalizedStrings& strings,
                             CanSupportCKSharing canSupportCKSharing)
    : QMenu(QString::fromStdString(strings.string("Options_Title"))), _reminder(reminder), _cell(withCell) {
    setMinimumWidth(minimumMenuWidth);
    setAccessibleName(title());
    if (reminder) addMenuItemsForReminder(*reminder, strings, canSupportCKSharing);
}

void ZNOptionsMenu::addMenuItemsForReminder(const ZNReminderObject& reminder, const LocalizedStrings& strings,
                                            CanSupportCKSharing canSupportCKSharing) {
    const auto add = [&](std::string_view titleKey, DelegateCall call) {
        auto* item = addAction(QString::fromStdString(strings.string(titleKey)));
        connect(item, &QAction::triggered, this, [this, call] { tellDelegate(call); });
    };
    if (isValidForCompletion(reminder)) {
        add("Complete_Action", &ZNOptionsMenuDelegate::shouldCompleteWithReminder);
        if (isValidForSnoozeUndo(reminder))
            add("Undo_Snooze_Action", &ZNOptionsMenuDelegate::shouldUndoSnoozeWithReminder);
    } else if (isValidForCompletionUndo(reminder)) {
        add("Undo_Complete_Action", &ZNOptionsMenuDelegate::shouldUndoCompleteWithReminder);
    }
    if (canSupportCKSharing == CanSupportCKSharing::Yes) {
        addSeparator();
        add(reminder.shareURL() ? "Sharing_Card_Title" : "Share_Action",
            &ZNOptionsMenuDelegate::shouldShareWithReminder);
    }
    addSeparator();
    add("Copy_Action", &ZNOptionsMenuDelegate::shouldCopyWithReminder);
    add("Delete_Action", &ZNOptionsMenuDelegate::shouldDeleteWithReminder);
}

void ZNOptionsMenu::tellDelegate(DelegateCall call) {
    const auto reminder = _reminder.lock();
    if (reminder && _delegate) (_delegate->*call)(reminder, _cell);
}

}  // namespace zun
