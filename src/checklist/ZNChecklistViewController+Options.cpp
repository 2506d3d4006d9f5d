#include <QMenu>

#include "checklist/ChecklistCardParts.h"
#include "checklist/ZNChecklistTextView.h"
#include "checklist/ZNChecklistViewController.h"
#include "toolkit/ZNButton.h"

namespace zun {

void ZNChecklistViewController::onLeftButtonPress() {
    if (_menu) _menu->close();
    const auto active = _checklist->numberOfActiveItems();
    const auto inactive = _checklist->numberOfInactiveItems();
    auto* menu = new QMenu(text("Checklist_Options_Label"), this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setAccessibleName(menu->title());
    const auto add = [&](const char* key, void (ZNChecklistViewController::*action)()) {
        auto* item = menu->addAction(text(key));
        connect(item, &QAction::triggered, this, action);
        return item;
    };
    if (active > 0) {
        // An empty list counts as one open item, of which no card can be made.
        add("Create_Cards_From_Checklist_Items", &ZNChecklistViewController::createCardsForChecklist)
            ->setEnabled(!itemsForCards().isEmpty());
    }
    if (active > 0 && inactive > 0)
        add("Move_Incomplete_Checklist_Items_Top", &ZNChecklistViewController::moveIncompleteToTopForChecklist);
    if (inactive > 0) add("Remove_Completed_Checklist_Items", &ZNChecklistViewController::removeCompletedFromChecklist);
    _menu = menu;
    const bool isMirrored = layoutDirection() == Qt::RightToLeft;
    const QRect button = leftButton().rect();
    const QPoint corner = leftButton().mapToGlobal(isMirrored ? button.bottomRight() : button.bottomLeft());
    menu->popup(isMirrored ? corner - QPoint(menu->sizeHint().width(), 0) : corner);
}

void ZNChecklistViewController::moveIncompleteToTopForChecklist() {
    _didModifyLocally = true;
    _checklist->moveActiveItemsToTheTopWithCompletion([this] { saveChecklist(); });
}

void ZNChecklistViewController::removeCompletedFromChecklist() {
    _didModifyLocally = true;
    _checklist->removeCompletedItemsWithCompletion([this] { saveChecklist(); });
}

// ---- cards from items

void ZNChecklistViewController::createCardsForChecklist() {
    if (_alert) return;
    auto* question = new CreateCardsQuestion(
        {text("Create_Cards_Delete_Prompt"), text("Complete_Action"), text("Delete_Action"), text("Cancel_Action")});
    question->setPopoverDelegate(this);
    connect(question, &CreateCardsQuestion::completeChosen, this, [this] { createChecklistAndComplete(); });
    connect(question, &CreateCardsQuestion::removeChosen, this, [this] { createChecklistAndDelete(); });
    connect(question, &CreateCardsQuestion::cancelChosen, this, [this] { closeAlert(); });
    _alert = new ZNPopover(context().animations, question, ZNPopover::Behavior::Transient, window());
    _alert->setContentSize({CreateCardsQuestion::width, question->height()});
    _alert->showRelativeTo(leftButton(), ZNPopover::Edge::Below);
}

QStringList ZNChecklistViewController::itemsForCards() const {
    QStringList items;
    for (const QString& item : _checklist->activeItems())
        if (!item.trimmed().isEmpty()) items.append(item);
    return items;
}

void ZNChecklistViewController::createChecklistItems() {
    for (const QString& item : itemsForCards()) {
        const auto reminder = std::make_shared<ZNReminderObject>();
        reminder->setTitle(item.toStdString());
        _manager.saveReminder(reminder, ShouldSyncWithiCloud::Yes);
    }
}

void ZNChecklistViewController::createChecklistAndComplete() {
    closeAlert();
    if (_hasLeft) return;
    createChecklistItems();
    completeAndDismiss();
}

void ZNChecklistViewController::createChecklistAndDelete() {
    closeAlert();
    if (_hasLeft) return;
    createChecklistItems();
    _hasUnsavedChanges = false;
    if (_reminder->reminderID()) _manager.deleteReminder(_reminder, ShouldSyncWithiCloud::Yes);
    leave();
}

void ZNChecklistViewController::closeAlert() {
    if (_alert) _alert->close();
    _alert = nullptr;
}

void ZNChecklistViewController::setPopoverHeight(ZNBasePopoverViewController&, int height) {
    if (_alert) _alert->setContentSize({CreateCardsQuestion::width, height});
}

void ZNChecklistViewController::dismissPopoverController(ZNBasePopoverViewController&) {
    closeAlert();
}

}  // namespace zun
