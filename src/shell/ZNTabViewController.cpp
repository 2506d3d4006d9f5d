#include "shell/ZNTabViewController.h"

#include <QMenu>
#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>

#include "cards/TextBlock.h"
#include "cards/ZNStackView.h"
#include "core/NotificationNames.h"
#include "shell/AboutPanel.h"
#include "shell/MessageBar.h"
#include "shell/ShellToolbar.h"
#include "toolkit/Tokens.h"

namespace zun {
namespace {

using namespace std::chrono_literals;

// The list has to stand before it can be searched.
constexpr auto searchDelay = 250ms;

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
    : ZNView(parent), _with(collaborators) {
    prepareViews();
    addControllers();
    addObservers();
    updateViewsForActiveTab();
    showTourIfNecessary();
}

ZNTabViewController::~ZNTabViewController() {
    // The screens' last words go to a controller that is whole.
    for (auto* screen : _topScreens)
        delete screen;
}

void ZNTabViewController::prepareViews() {
    const auto& context = _with.cards.cards;
    _container = new ZNView(this);
    _toolbar = new ShellToolbar(context.pictures, _with.strings, this);
    _fullWindowContainer = new ZNView(this);
    _fullWindowContainer->hide();
    _messages = new MessageBar(context.dispatch, context.animations, this);
    for (auto* each : {_container, _fullWindowContainer})
        static_cast<ZNView*>(each)->setAccessibilityElement(false);
    _frames = context.animations.observeFrames([this] { showContainerAlpha(); });

    connect(&_toolbar->cardViewButton(), &ZNButton::clicked, this, [this] {
        if (!topScreen(TopScreen::Editor)) onSetActiveTab(0);
    });
    connect(&_toolbar->listViewButton(), &ZNButton::clicked, this, [this] { clickedListViewButton(); });
    connect(&_toolbar->addButton(), &ZNButton::clicked, this, [this] { newReminderPrompt(); });
    connect(&_toolbar->settingsButton(), &ZNButton::clicked, this, [this] { clickedSettingsButton(); });
    _toolbar->listViewButton().setEnabled(_with.screens.list != nullptr);
    _toolbar->addButton().setEnabled(_with.screens.editor != nullptr);
}

void ZNTabViewController::addControllers() {
    _cardController = new ZNCardViewController(_with.cards, _container);
}

// Not before it is wanted: many a person deals with the stack and closes the window again.
ListScreen* ZNTabViewController::listController() {
    if (!_listController && _with.screens.list) {
        _listController = _with.screens.list(_with.cards.cards, _container);
        placeList();
    }
    return _listController;
}

void ZNTabViewController::placeList() {
    if (_listController) _listController->setGeometry(rect().adjusted(0, ShellToolbar::height, 0, 0));
}

void ZNTabViewController::addObservers() {
    auto& notifications = _with.cards.cards.notifications;
    const auto on = [&](std::string_view name, NSNotificationCenter::Handler handler) {
        _observations.push_back(notifications.addObserver(name, std::move(handler)));
    };
    const auto onCards = [&](std::string_view name, std::function<void()> action) {
        on(name, [this, action = std::move(action)](const NSNotification&) {
            if (cardActionsArePossible()) action();
        });
    };
    const auto onReminder = [&](std::string_view name, std::function<void(const ReminderPtr&)> action) {
        on(name, [action = std::move(action)](const NSNotification& notification) {
            if (const auto* reminder = std::any_cast<ReminderPtr>(&notification.object)) action(*reminder);
        });
    };
    onCards(ZNCompleteTopCardMenuActionNotification, [this] { _cardController->shouldCompleteTopCard(); });
    onCards(ZNSnoozeTopCardMenuActionNotification, [this] { _cardController->shouldSnoozeTopCard(); });
    onCards(ZNSkipTopCardMenuActionNotification,
            [this] { _cardController->shouldSkipTopCard(ZNCardViewController::FlyLeft::No); });
    onCards(ZNSkipTopCardLeftMenuActionNotification,
            [this] { _cardController->shouldSkipTopCard(ZNCardViewController::FlyLeft::Yes); });
    onCards(ZNEditTopCardMenuActionNotification, [this] { editTopCard(); });
    on(ZNNewReminderMenuActionNotification, [this](const NSNotification&) { newReminderPrompt(); });
    on(ZNListViewMenuActionNotification, [this](const NSNotification&) {
        if (!topScreen(TopScreen::Editor)) toggleListView();
    });
    onReminder(ZNEditControllerRequested, [this](const auto& reminder) { showCardEditor(reminder->copy()); });
    onReminder(ZNChecklistRequestedNotification, [this](const auto& reminder) {
        if (_with.screens.checklist) showChecklistControllerWithReminder(reminder);
    });
    onReminder(ZNShareControllerRequested, [this](const auto& reminder) {
        _with.screens.share ? showShareControllerWithReminder(reminder->copy()) : say("Sharing_Missing_Message");
    });
    on(ZNTourCompleteNotification, [this](const NSNotification&) {
        if (auto* tour = topScreen(TopScreen::Tour)) dismissTopScreen(*tour);
    });
    on(ZNReminderCountDidUpdateNotification, [this](const NSNotification&) { update(toolbarBorder()); });
}

void ZNTabViewController::post(std::string_view notification) {
    _with.cards.cards.notifications.postNotificationName(notification);
}

void ZNTabViewController::say(std::string_view key, std::initializer_list<std::string_view> arguments) {
    _messages->showMessage(QString::fromStdString(stringWithFormat(_with.strings.string(key), arguments)));
}

// ---- tabs

void ZNTabViewController::onSetActiveTab(int tab) {
    _activeTab = tab;
    updateViewsForActiveTab();
}

void ZNTabViewController::updateViewsForActiveTab() {
    _cardController->setVisible(_activeTab != 1);
    if (auto* list = _activeTab == 1 ? listController() : _listController) list->setVisible(_activeTab == 1);
    _toolbar->setActiveTab(_activeTab);
    post(ZNEnableNewReminderMenuActionsNotification);
    post(_activeTab == 1 ? ZNDisableCardControllerMenuActionsNotification
                         : ZNEnableCardControllerMenuActionsNotification);
    post(ZNDisableEditControllerMenuActionsNotification);
    if (_activeTab != 1) {
        _cardController->stackView().setFocus();
    } else if (_listController) {
        _listController->setFocus();
    }
    update();
}

void ZNTabViewController::clickedListViewButton() {
    if (topScreen(TopScreen::Editor) || !listController()) return;
    _listController->fetchData();
    onSetActiveTab(1);
}

void ZNTabViewController::toggleListView() {
    if (_activeTab == 1) {
        onSetActiveTab(0);
    } else {
        clickedListViewButton();
    }
}

void ZNTabViewController::search() {
    if (_activeTab == 1) return post(ZNListViewShouldSearchNotification);
    clickedListViewButton();
    _with.cards.cards.dispatch.main()->asyncAfter(searchDelay, [self = QPointer(this)] {
        if (self) self->post(ZNListViewShouldSearchNotification);
    });
}

void ZNTabViewController::minutePassed() {
    _cardController->minutePassed();
    if (_listController) _listController->minutePassed();
}

bool ZNTabViewController::cardActionsArePossible() const {
    return _activeTab != 1 && !topScreen(TopScreen::Editor);
}

// ---- commands

void ZNTabViewController::newReminderPrompt() {
    if (_with.screens.editor) showEditControllerWithReminder(std::make_shared<ZNReminderObject>());
}

void ZNTabViewController::editTopCard() {
    if (const auto top = _cardController->topCardReminder()) showCardEditor(top);
}

// While one reminder is being edited, another that is stored nowhere must not be lost.
void ZNTabViewController::showCardEditor(const ReminderPtr& reminder) {
    const bool isStored = reminder->reminderID().has_value();
    if (_with.screens.editor && (isStored || !topScreen(TopScreen::Editor)))
        return showEditControllerWithReminder(reminder);
    if (isStored) return;
    const bool isKept = _with.keptReminders.keep(*reminder);
    say(isKept ? "URL_Reminder_Kept_Message" : "URL_Reminder_Not_Kept_Message", {quoted(*reminder)});
}

void ZNTabViewController::clickedSettingsButton() {
    if (_with.cards.cards.settings.showInMenubar()) return showSettingsMenu();
    post(ZNSettingsMenuActionNotification);
}

// The panel has no menu bar; what it lacks stands here.
void ZNTabViewController::showSettingsMenu() {
    const auto text = [this](std::string_view key) { return QString::fromStdString(_with.strings.string(key)); };
    auto* menu = new QMenu(text("Settings_Menu_Title"), this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const auto add = [&](std::string_view key, auto action) { menu->addAction(text(key), this, action); };
    add("Zun_About_Label", [this] { showAbout(window(), _with.strings, _with.cards.cards.pictures); });
    menu->addSeparator();
    add("Zun_Preferences_Menu_Label", [this] { post(ZNSettingsMenuActionNotification); });
    menu->addSeparator();
    add("Zun_Help_Support_Label", [] { showHelp(); });
    add("Zun_KeyboardShortcuts_Title", [this] { post(ZNShowKeyboardShortcutsNotification); });
    menu->addSeparator();
    add("Zun_Quit_label", [this] { post(ZNQuitActionNotification); });
    auto& button = _toolbar->settingsButton();
    menu->popup(button.mapToGlobal(QPoint(button.width() - menu->sizeHint().width(), button.height())));
}

void ZNTabViewController::cancelOperation() {
    for (const auto kind : {TopScreen::Editor, TopScreen::Checklist, TopScreen::Share}) {
        if (auto* screen = topScreen(kind)) return screen->cancelOperation();
    }
    if (_activeTab == 1 && _listController && _listController->handleCancelOperation()) return;
    if (_delegate) _delegate->shouldCloseWindowWithCardController();
}

// ---- painting and places

QRect ZNTabViewController::toolbarBorder() const {
    return {0, ShellToolbar::height - 1, width(), 1};
}

// Cards may reach up to the toolbar, and no line shall lie behind them.
bool ZNTabViewController::showsToolbarBorder() const {
    return _activeTab == 1 || _cardController->reminders().empty();
}

void ZNTabViewController::setCornerRadius(double radius) {
    _cornerRadius = radius;
    update();
}

// The veil and what is on it lie under the cards, so that one that flies passes over them.
void ZNTabViewController::paintEvent(QPaintEvent* event) {
    if (_toolbar->isHidden()) return;
    QPainter painter(this);
    painter.setOpacity(_containerAlpha.shown());
    const QRect veil(0, 0, width(), ShellToolbar::height);
    if (_cornerRadius > 0) {
        painter.setRenderHint(QPainter::Antialiasing);
        QPainterPath shape;
        shape.addRoundedRect(QRectF(veil).adjusted(0, 0, 0, _cornerRadius), _cornerRadius, _cornerRadius);
        painter.setClipRect(veil);
        painter.fillPath(shape, QColor::fromRgba(tokens::toolbarGround));
    } else {
        painter.fillRect(event->rect() & veil, QColor::fromRgba(tokens::toolbarGround));
    }
    _toolbar->paintFaces(painter, event->rect());
    if (showsToolbarBorder()) painter.fillRect(event->rect() & toolbarBorder(), QColor::fromRgba(tokens::toolbarRule));
}

void ZNTabViewController::resizeEvent(QResizeEvent* event) {
    ZNView::resizeEvent(event);
    _container->setGeometry(rect());
    _fullWindowContainer->setGeometry(rect());
    _cardController->setGeometry(rect());
    placeList();
    for (auto* screen : _topScreens) {
        if (screen) screen->setGeometry(rect());
    }
    _toolbar->setGeometry(0, 0, width(), ShellToolbar::height);
    _messages->place();
}

}  // namespace zun
