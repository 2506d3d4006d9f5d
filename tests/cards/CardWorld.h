#pragma once

// A window with a stack of cards over a deck that the test owns, in virtual time. The controller here does to its deck
// what a real one does and writes down what it was asked.

#include <gtest/gtest.h>

#include <QWidget>
#include <memory>
#include <string>
#include <vector>

#include "cards/CardContext.h"
#include "cards/CardControls.h"
#include "cards/ZNStackView.h"
#include "cards/ZNStackViewItem.h"
#include "platform/foundation/SimulatedDispatch.h"
#include "settings/ZNUserDefaults.h"
#include "support/TemporaryFolder.h"
#include "toolkit/ZNGradientView.h"

namespace zun {

// Words that show where they came from.
class PlainTexts final : public CardTexts {
  public:
    std::string dateText(const ZNReminderObject& reminder) const override { return "due " + reminder.title(); }
    Lateness lateness(const ZNReminderObject&) const override { return Lateness::Today; }
    std::string accessibilityLabel(const ZNReminderObject& reminder) const override {
        return "card " + reminder.title();
    }
    std::string text(std::string_view key) const override { return std::string(key); }
    std::string topicPictureName(const ZNReminderObject&) const override { return "coffeeImage.jpg"; }
};

class CardWorld : public testing::Test, public ZNStackViewDelegate, public ZNStackViewItemDelegate {
  protected:
    explicit CardWorld(QSize windowSize = {400, 450});
    ~CardWorld() override;

    // Shows a deck with cards of these titles.
    void deal(std::initializer_list<const char*> titles);
    void dealMore(const ReminderPtr& reminder) { deck.push_back(reminder); }
    void advance(int milliseconds) { dispatch.advance(std::chrono::milliseconds(milliseconds)); }
    // Brings what was marked dirty to the screen, and gives what is there.
    QImage screen();
    // The same painted from nothing.
    QImage paintedAnew();

    [[nodiscard]] ZNStackViewItem& item(std::size_t index) const { return *stack->stackViews().at(index); }
    [[nodiscard]] std::string titleOf(std::size_t index) const;
    // Titles of the cards that are shown, front to back.
    [[nodiscard]] std::vector<std::string> shownTitles() const;

    void wheel(Qt::ScrollPhase phase, QPoint pixels, QPoint units = {});
    // A whole gesture of a trackpad.
    void swipe(QPoint way);

    int numberOfItemsInStack() const override { return static_cast<int>(deck.size()); }
    std::unique_ptr<ZNStackViewItem> viewForIndex(int) override {
        return std::make_unique<ZNStackViewItem>(context, this);
    }
    ReminderPtr reminderForObjectAtIndex(int index) const override;
    bool shouldRespondToScrollAndGestures() const override { return respondsToGestures; }
    bool shouldSkipLeft() const override { return skipsLeft; }
    void shouldSkipTopCard() override;
    void shouldSnoozeTopCard() override;
    void shouldCompleteTopCard() override;
    void shouldEditTopCard() override { log.emplace_back("edit"); }
    void shouldShowSnoozeForCell(ZNStackViewItem&, ZNButton&, QPoint) override { log.emplace_back("snooze menu"); }

    TemporaryFolder folder;
    SimulatedDispatch dispatch{1};
    NSNotificationCenter center;
    ZNUserDefaults defaults{folder.path()};
    ZNSettingsObject settings{defaults, nullptr, nullptr};
    Pictures pictures;
    ZNAnimationTimeline animations{dispatch};
    PlainTexts texts;
    ZNGradientView window;
    CardContext context{
        dispatch, center, settings, pictures, animations, texts, [this] { return QSizeF(window.size()); }};
    ZNStackView* stack = nullptr;

    std::vector<ReminderPtr> deck;
    std::vector<std::string> log;
    bool respondsToGestures = true;
    bool skipsLeft = false;
};

}  // namespace zun
