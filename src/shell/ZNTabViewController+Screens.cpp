#include <QGraphicsOpacityEffect>

#include "core/NotificationNames.h"
#include "shell/ShellToolbar.h"
#include "shell/ZNTabViewController.h"

namespace zun {
namespace {

using namespace std::chrono_literals;

constexpr auto fadeOutDuration = 250ms;
constexpr auto fadeInDelay = 100ms;
constexpr auto fadeInDuration = 350ms;

}  // namespace

ZNBaseViewController* ZNTabViewController::topScreen(TopScreen kind) const {
    return _topScreens[static_cast<std::size_t>(kind)];
}

bool ZNTabViewController::hasTopScreen() const {
    return std::any_of(_topScreens.begin(), _topScreens.end(), [](const auto* screen) { return screen != nullptr; });
}

// ---- opening

// True if there is one of its kind already. One that is just leaving makes place: what was asked for last comes then.
bool ZNTabViewController::isTaken(TopScreen kind, Block showOnceFree) {
    const auto* standing = topScreen(kind);
    if (!standing) return false;
    if (standing == _leaving) _showNext = std::move(showOnceFree);
    return true;
}

void ZNTabViewController::showEditControllerWithReminder(const ReminderPtr& reminder) {
    if (isTaken(TopScreen::Editor, [this, reminder] { showEditControllerWithReminder(reminder); })) return;
    auto* controller = _with.screens.editor(_with.cards.cards, reminder, _fullWindowContainer);
    post(ZNDisableCardControllerMenuActionsNotification);
    post(ZNEnableEditControllerMenuActionsNotification);
    post(ZNDisableNewReminderMenuActionsNotification);
    addTopScreen(TopScreen::Editor, controller);
}

void ZNTabViewController::showShareControllerWithReminder(const ReminderPtr& reminder) {
    if (isTaken(TopScreen::Share, [this, reminder] { showShareControllerWithReminder(reminder); })) return;
    auto* controller = _with.screens.share(_with.cards.cards, reminder, _fullWindowContainer);
    post(ZNDisableCardControllerMenuActionsNotification);
    addTopScreen(TopScreen::Share, controller);
}

void ZNTabViewController::showChecklistControllerWithReminder(const ReminderPtr& reminder) {
    if (isTaken(TopScreen::Checklist, [this, reminder] { showChecklistControllerWithReminder(reminder); })) return;
    auto* controller = _with.screens.checklist(_with.cards.cards, reminder, _fullWindowContainer);
    post(ZNDisableCardControllerMenuActionsNotification);
    addTopScreen(TopScreen::Checklist, controller);
}

void ZNTabViewController::showTourIfNecessary() {
    if (!_with.screens.tour || _with.cards.cards.settings.defaults().onGetDidFinishTour()) return;
    post(ZNDisableCardControllerMenuActionsNotification);
    addTopScreen(TopScreen::Tour, _with.screens.tour(_with.cards.cards, _fullWindowContainer));
}

void ZNTabViewController::addTopScreen(TopScreen kind, ZNBaseViewController* controller) {
    _topScreens[static_cast<std::size_t>(kind)] = controller;
    controller->setDelegate(this);
    controller->loadView();
    addController(*controller, true, ShouldHideContainer::Yes);
}

void ZNTabViewController::addController(ZNBaseViewController& controller, bool animated,
                                        ShouldHideContainer shouldHideContainer) {
    _fullWindowContainer->show();
    controller.setGeometry(_fullWindowContainer->rect());
    controller.show();
    controller.raise();
    controller.setFocus();
    controller.animateContentInWithAnimation(animated);
    const QPointer<ZNBaseViewController> opened(&controller);
    fadeContainerTo(0, animated ? fadeOutDuration : 0ms, [this, opened, shouldHideContainer] {
        // It may have been dismissed while it came.
        if (!opened || _leaving == opened || shouldHideContainer == ShouldHideContainer::No) return;
        _container->hide();
        _toolbar->hide();
        update();
    });
}

// ---- going

void ZNTabViewController::didDismissController(ZNBaseViewController& controller) {
    for (const auto kind : {TopScreen::Editor, TopScreen::Checklist, TopScreen::Share}) {
        if (topScreen(kind) == &controller) return dismissTopScreen(controller);
    }
}

void ZNTabViewController::dismissTopScreen(ZNBaseViewController& controller) {
    // A screen asks once, and one that is done cannot be left by any key.
    if (_leaving) return _nextToLeave.push_back(&controller);
    popTopController(controller, true, [this, &controller] {
        std::replace(_topScreens.begin(), _topScreens.end(), &controller, static_cast<ZNBaseViewController*>(nullptr));
        // What called for this may still be inside the screen.
        controller.deleteLater();
        updateViewsForActiveTab();
        focusTopScreen();
        while (!_nextToLeave.empty() && !_leaving) {
            const auto next = _nextToLeave.front();
            _nextToLeave.erase(_nextToLeave.begin());
            if (next) dismissTopScreen(*next);
        }
        if (const auto showNext = std::exchange(_showNext, {})) showNext();
    });
}

// With a screen still there, the keys are its own, and the cards behind it take no commands.
void ZNTabViewController::focusTopScreen() {
    const auto top = std::find_if(_topScreens.begin(), _topScreens.end(),
                                  [this](const auto* screen) { return screen && screen != _leaving; });
    if (top == _topScreens.end()) return;
    post(ZNDisableCardControllerMenuActionsNotification);
    (*top)->setFocus();
}

void ZNTabViewController::flush() {
    for (auto* screen : _topScreens)
        if (screen) screen->flush();
}

void ZNTabViewController::popTopController(ZNBaseViewController& controller, bool animated, Block withCompletion) {
    _leaving = &controller;
    // With another screen still there, the tabs stay hidden behind it.
    const bool isLast = std::count_if(_topScreens.begin(), _topScreens.end(),
                                      [](const auto* screen) { return screen != nullptr; }) == 1;
    _container->setVisible(isLast);
    _toolbar->setVisible(isLast);
    update();
    controller.animateContentOutWithAnimation(animated);
    const QPointer<ZNTabViewController> self(this);
    _with.cards.cards.animations.after(
        animated ? fadeInDelay : 0ms, [self, animated, completion = std::move(withCompletion)] {
            if (!self) return;
            self->fadeContainerTo(1, animated ? fadeInDuration : 0ms, [self, completion] {
                self->_leaving->hide();
                self->_leaving = nullptr;
                completion();
                self->_fullWindowContainer->setVisible(self->hasTopScreen());
            });
        });
}

// ---- fading

void ZNTabViewController::fadeContainerTo(double alpha, std::chrono::microseconds duration, Block completion) {
    const QPointer<ZNTabViewController> self(this);
    _with.cards.cards.animations.runGroup(
        duration, Easing::InOut, [&](ZNAnimationGroup& group) { group.set(_containerAlpha, alpha); },
        [self, completion = std::move(completion)] {
            if (!self) return;
            self->showContainerAlpha();
            completion();
        });
}

// The effect paints the container into a picture each time, so it is there only while it is needed.
void ZNTabViewController::showContainerAlpha() {
    const double alpha = _containerAlpha.shown();
    auto* effect = qobject_cast<QGraphicsOpacityEffect*>(_container->graphicsEffect());
    if (alpha >= 1) {
        if (effect) _container->setGraphicsEffect(nullptr);
    } else {
        if (!effect) {
            effect = new QGraphicsOpacityEffect(_container);
            _container->setGraphicsEffect(effect);
        }
        effect->setOpacity(alpha);
    }
    if (effect && !_toolbar->isHidden()) update(_toolbar->geometry());
}

}  // namespace zun
