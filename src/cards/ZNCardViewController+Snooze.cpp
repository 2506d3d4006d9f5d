// The menu and the picker of other times than the default one. Both belong to
// the reminder they were opened for: if it has left the deck by the time of the
// choice, nothing is snoozed in its place.

#include <algorithm>

#include "cards/ZNCardViewController.h"
#include "cards/ZNStackView.h"
#include "cards/ZNStackViewItem.h"
#include "toolkit/ZNButton.h"
#include "toolkit/ZNPopover.h"

namespace zun {

void ZNCardViewController::shouldShowSnoozeForCell(ZNStackViewItem& cell, ZNButton&, QPoint withEventPosition) {
    const auto& reminder = cell.reminder();
    if (!reminder || _snoozePopover) return;
    _reminderIDToSnooze = reminder->reminderID().value_or("");
    auto* menu = new ZNSnoozeMenu(
        reminder, &cell, {_with.manager, _with.cards.settings, _with.environment, _with.strings, _with.labels});
    menu->setParent(this, menu->windowFlags());
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setZnDelegate(this);
    menu->popup(withEventPosition);
}

void ZNCardViewController::shouldSnoozeWithReminder(const ReminderPtr& reminder, ZNStackViewItem*,
                                                    OptionalDate withDate) {
    snoozeReminder(reminder->reminderID().value_or(""), withDate);
}

void ZNCardViewController::didRequestCustomSnoozePickerWithStackItem(ZNStackViewItem*) {
    // The item that the menu was opened on may show another reminder by now, or have flown.
    const auto found = positionOf(_reminderIDToSnooze);
    auto* const anchor = _stackView->stackViews().front()->snoozeButton();
    if (_snoozePopover || found == _reminders.end() || !anchor) return;
    using Picker = ZNSnoozePopoverViewController;
    auto* picker = new Picker(_with.environment, _with.strings, *this,
                              (*found)->start_date() ? Picker::Alerts::Yes : Picker::Alerts::No);
    picker->setPopoverDelegate(this);
    _snoozePopover = new ZNPopover(_with.cards.animations, picker, ZNPopover::Behavior::ApplicationDefined, window());
    _snoozePopover->setContentSize(QSize(Picker::width, Picker::height));
    connect(_snoozePopover, &ZNPopover::didClose, this, [this] { _snoozePopover = nullptr; });
    _snoozePopover->showRelativeTo(*anchor, ZNPopover::Edge::Right);
}

void ZNCardViewController::didSelectSnoozeDate(NSDate date) {
    snoozeReminder(_reminderIDToSnooze, date);
}

std::vector<ReminderPtr>::iterator ZNCardViewController::positionOf(const std::string& reminderID) {
    return std::find_if(_reminders.begin(), _reminders.end(),
                        [&](const ReminderPtr& each) { return each->reminderID() == reminderID; });
}

void ZNCardViewController::snoozeReminder(const std::string& reminderID, OptionalDate date) {
    const auto found = positionOf(reminderID);
    if (found == _reminders.end()) return;
    if (found != _reminders.begin()) {
        // Another one came up while the choice was made; the chosen one is thrown
        // all the same.
        std::rotate(_reminders.begin(), found, found + 1);
        _stackView->renderStackWithAnimation(false);
    }
    const QPointer<ZNCardViewController> self(this);
    throwTopCard(false, [self, date, &manager = _with.manager](const ReminderPtr& reminder) {
        manager.snoozeReminder(reminder, date);
        if (self) self->registerUndo(reminder->reminderID().value_or(""), "Undo_Snooze_Text");
    });
}

void ZNCardViewController::setPopoverHeight(ZNBasePopoverViewController&, int height) {
    if (_snoozePopover) _snoozePopover->setContentSize(QSize(ZNSnoozePopoverViewController::width, height));
}

void ZNCardViewController::dismissPopoverController(ZNBasePopoverViewController&) {
    if (_snoozePopover) _snoozePopover->close();
}

void ZNCardViewController::closeSnoozePopoverWithoutItsReminder() {
    if (_snoozePopover && positionOf(_reminderIDToSnooze) == _reminders.end()) _snoozePopover->close();
}

}  // namespace zun
