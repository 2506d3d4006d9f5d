#include "shell/ZNTabViewController.h"

#include <QPaintEvent>
#include <QPainter>

#include "cards/TextBlock.h"
#include "cards/ZNStackView.h"
#include "core/NotificationNames.h"
#include "shell/MessageBar.h"
#include "shell/ShellToolbar.h"
#include "toolkit/Tokens.h"

namespace zun {
namespace {

// A title inside a sentence: one line, no longer than a sentence bears, and without power over the direction in which
// the rest is read.
std::string quoted(const ZNReminderObject& reminder) {
    constexpr qsizetype longest = 60;
    const QString whole = displayText(reminder.title(), 2 * longest).simplified();
    const QString start = displayText(whole.toStdString(), longest);
    const QString title = start.size() < whole.size() ? start.trimmed() + u'…' : whole;
    return (QChar(0x2068) + title + QChar(0x2069)).toStdString();
}

}  // namespace

ZNTabViewController::ZNTabViewController(const Collaborators& collaborators, QWidget* parent)
    : ZNView(parent),
      _with(collaborators),
      _cardController(new ZNCardViewController(collaborators.cards, this)),
      _toolbar(new ShellToolbar(collaborators.cards.cards.pictures, collaborators.strings, this)),
      _messages(new MessageBar(collaborators.cards.cards.dispatch, collaborators.cards.cards.animations, this)) {
    connect(&_toolbar->cardViewButton(), &ZNButton::clicked, this, [this] { onSetActiveTab(0); });
    // Their screens come with rooms of their own.
    for (auto* button : {&_toolbar->listViewButton(), &_toolbar->addButton(), &_toolbar->settingsButton()}) {
        button->setEnabled(false);
    }
    addObservers();
    updateViewsForActiveTab();
}

void ZNTabViewController::addObservers() {
    auto& notifications = _with.cards.cards.notifications;
    const auto onCards = [&](std::string_view name, std::function<void()> action) {
        _observations.push_back(notifications.addObserver(name, [this, action](const NSNotification&) {
            if (cardActionsArePossible()) action();
        }));
    };
    onCards(ZNCompleteTopCardMenuActionNotification, [this] { _cardController->shouldCompleteTopCard(); });
    onCards(ZNSnoozeTopCardMenuActionNotification, [this] { _cardController->shouldSnoozeTopCard(); });
    onCards(ZNSkipTopCardMenuActionNotification,
            [this] { _cardController->shouldSkipTopCard(ZNCardViewController::FlyLeft::No); });
    onCards(ZNSkipTopCardLeftMenuActionNotification,
            [this] { _cardController->shouldSkipTopCard(ZNCardViewController::FlyLeft::Yes); });
    _observations.push_back(notifications.addObserver(ZNReminderCountDidUpdateNotification,
                                                      [this](const NSNotification&) { update(toolbarBorder()); }));
    onCards(ZNEditTopCardMenuActionNotification, [this] { editTopCard(); });
    _observations.push_back(notifications.addObserver(ZNShareControllerRequested, [this](const NSNotification&) {
        _messages->showMessage(QString::fromStdString(_with.strings.string("Sharing_Missing_Message")));
    }));
    // The checklist is edited in the editor's room as well.
    for (const auto name : {ZNEditControllerRequested, ZNChecklistRequestedNotification}) {
        _observations.push_back(notifications.addObserver(name, [this](const NSNotification& notification) {
            if (const auto* reminder = std::any_cast<ReminderPtr>(&notification.object))
                showCardEditor((*reminder)->copy());
        }));
    }
}

void ZNTabViewController::editTopCard() {
    if (const auto top = _cardController->topCardReminder()) showCardEditor(top);
}

void ZNTabViewController::showCardEditor(const ReminderPtr& reminder) {
    const auto message = [&](std::string_view key, const std::string& argument) {
        _messages->showMessage(QString::fromStdString(stringWithFormat(_with.strings.string(key), {argument})));
    };
    if (reminder->reminderID()) return message("Editor_Missing_Message", *reminder->reminderID());
    const bool isKept = _with.keptReminders.keep(*reminder);
    message(isKept ? "URL_Reminder_Kept_Message" : "URL_Reminder_Not_Kept_Message", quoted(*reminder));
}

void ZNTabViewController::onSetActiveTab(int tab) {
    _activeTab = tab;
    updateViewsForActiveTab();
}

void ZNTabViewController::updateViewsForActiveTab() {
    auto& notifications = _with.cards.cards.notifications;
    _cardController->setVisible(_activeTab != 1);
    _toolbar->setActiveTab(_activeTab);
    notifications.postNotificationName(ZNEnableNewReminderMenuActionsNotification);
    notifications.postNotificationName(_activeTab == 1 ? ZNDisableCardControllerMenuActionsNotification
                                                       : ZNEnableCardControllerMenuActionsNotification);
    notifications.postNotificationName(ZNDisableEditControllerMenuActionsNotification);
}

QRect ZNTabViewController::toolbarBorder() const {
    return {0, ShellToolbar::height - 1, width(), 1};
}

// Cards may reach up to the toolbar, and no line shall lie behind them.
bool ZNTabViewController::showsToolbarBorder() const {
    return _activeTab == 1 || _cardController->reminders().empty();
}

// The veil and what is on it lie under the cards, so that one that flies passes over them.
void ZNTabViewController::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    const QRect veil(0, 0, width(), ShellToolbar::height);
    painter.fillRect(event->rect() & veil, QColor::fromRgba(tokens::toolbarGround));
    _toolbar->paintFaces(painter, event->rect());
    if (showsToolbarBorder()) painter.fillRect(event->rect() & toolbarBorder(), QColor::fromRgba(tokens::toolbarRule));
}

void ZNTabViewController::resizeEvent(QResizeEvent* event) {
    ZNView::resizeEvent(event);
    _cardController->setGeometry(rect());
    _toolbar->setGeometry(0, 0, width(), ShellToolbar::height);
    _toolbar->raise();
    _messages->place();
    _messages->raise();
}

}  // namespace zun
