#include "cards/CardWorld.h"

#include <QScreen>
#include <QWheelEvent>
#include <algorithm>

#include "support/QtApplication.h"

namespace zun {

namespace {

[[maybe_unused]] const auto* application = testing::AddGlobalTestEnvironment(new OneQtApplication);

}  // namespace

CardWorld::CardWorld(QSize windowSize) {
    window.resize(windowSize);
    settings.setWindowLayoutMode(windowSize.width() > 980 ? 3 : windowSize.width() >= 480 ? 2 : 1);
    stack = new ZNStackView(context, &window);
    stack->setGeometry(window.rect());
    window.show();
    // Nothing reaches the screen before the window system says that the window is there.
    QCoreApplication::processEvents();
}

CardWorld::~CardWorld() {
    if (stack != nullptr) stack->onSetDelegate(nullptr);
}

void CardWorld::deal(std::initializer_list<const char*> titles) {
    deck.clear();
    for (const char* title : titles) {
        deck.push_back(std::make_shared<ZNReminderObject>());
        deck.back()->setTitle(title);
    }
    if (stack->stackViews().empty()) {
        stack->onSetDelegate(this);
    } else {
        stack->renderStackWithAnimation(false);
    }
    dispatch.advance(std::chrono::milliseconds(100));
}

QImage CardWorld::screen() {
    QEvent update(QEvent::UpdateRequest);
    QCoreApplication::sendEvent(&window, &update);
    return window.screen()->grabWindow(window.winId()).toImage().convertToFormat(QImage::Format_RGB32);
}

QImage CardWorld::paintedAnew() {
    return window.grab().toImage().convertToFormat(QImage::Format_RGB32);
}

std::string CardWorld::titleOf(std::size_t index) const {
    const ReminderPtr& reminder = item(index).reminder();
    return reminder ? reminder->title() : "";
}

std::vector<std::string> CardWorld::shownTitles() const {
    std::vector<std::string> titles;
    for (std::size_t i = 0; i < stack->stackViews().size(); ++i) {
        if (!item(i).cardHidden) titles.push_back(titleOf(i));
    }
    return titles;
}

void CardWorld::wheel(Qt::ScrollPhase phase, QPoint pixels, QPoint units) {
    const QPointF position = QRectF(stack->rect()).center();
    QWheelEvent event(position, stack->mapToGlobal(position), pixels, units, Qt::NoButton, Qt::NoModifier, phase, true);
    QCoreApplication::sendEvent(stack, &event);
}

void CardWorld::swipe(QPoint way) {
    wheel(Qt::ScrollBegin, {});
    wheel(Qt::ScrollUpdate, way);
    wheel(Qt::ScrollEnd, {});
}

ReminderPtr CardWorld::reminderForObjectAtIndex(int index) const {
    return index < static_cast<int>(deck.size()) ? deck[static_cast<std::size_t>(index)] : nullptr;
}

void CardWorld::shouldSkipTopCard() {
    log.push_back("skip " + deck.front()->title());
    std::rotate(deck.begin(), deck.begin() + 1, deck.end());
    stack->skipTopCard();
}

void CardWorld::shouldSnoozeTopCard() {
    const ReminderPtr top = deck.front();
    deck.erase(deck.begin());
    stack->snoozeTopCardWithCompletion([this, top] { log.push_back("snoozed " + top->title()); });
}

void CardWorld::shouldCompleteTopCard() {
    const ReminderPtr top = deck.front();
    deck.erase(deck.begin());
    stack->completeTopCardWithCompletion([this, top] { log.push_back("completed " + top->title()); });
}

}  // namespace zun
