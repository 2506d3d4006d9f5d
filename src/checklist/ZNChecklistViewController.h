#pragma once

// The screen of a card's checklist. It saves by itself: ten seconds after the last change, when it is left, and when it
// is destroyed or flush() is called with something unsaved. Changes that come from elsewhere are shown until the user
// has changed anything here; from then on what is on the screen wins.
//
// Only the checklist is written. Everything else of the record comes from its row as it is stored at that moment, and a
// row that has gone is added anew. Completing writes the checks that are on the screen together with the completion, in
// one write.
//
//   shown -> (complete, done, escape, cards made) -> left: the delegate is told once, and nothing is written afterwards
//
// The record given is the deck's own, not a copy. The manager and the context's objects outlive it. Main thread; each
// save blocks for the fetch of one record.

#include <QMenu>
#include <QPointer>

#include "cards/ZNBaseViewController.h"
#include "core/ZNReminderManager.h"
#include "toolkit/ZNPopover.h"

class QScrollArea;

namespace zun {

class ChecklistCompleteButton;
class ChecklistLabel;
class CreateCardsQuestion;
class ZNChecklistTextView;

class ZNChecklistViewController final : public ZNBaseViewController, private ZNPopoverDelegate {
    Q_OBJECT
  public:
    // Without a reminder it starts a new one.
    ZNChecklistViewController(const CardContext& context, ZNReminderManager& manager, const ReminderPtr& reminder,
                              QWidget* parent = nullptr);
    ~ZNChecklistViewController() override;

    void flush() override;

    void prepareViews() override;
    void customizeViews() override;
    void configureAccessibilityValues() override;
    void updateViewsForWindowResize() override;
    // The options menu.
    void onLeftButtonPress() override;
    // Saves and leaves.
    void onRightButtonPress() override;
    void cancelOperation() override { onRightButtonPress(); }
    [[nodiscard]] bool hasCard() const override { return true; }
    [[nodiscard]] ZNCardView* card() const override { return _cardView; }

    [[nodiscard]] ZNChecklistTextView& checklist() const { return *_checklist; }
    [[nodiscard]] ChecklistCompleteButton& completeButton() const { return *_completeButton; }
    // The menu and the question while they are open.
    [[nodiscard]] QMenu* optionsMenu() const { return _menu; }
    [[nodiscard]] ZNPopover* createCardsQuestion() const { return _alert; }

    static constexpr std::chrono::seconds saveDelay{10};

  protected:
    void keyPressEvent(QKeyEvent* event) override;

  private:
    enum class WithAnimation { No, Yes };

    [[nodiscard]] QString text(std::string_view key) const;
    void setReminderFields();
    void setChecklistText();
    void updateSubText();
    void handleCompleteButtonVisibilityWithAnimation(WithAnimation animated);
    void layOutCard();
    void layOutChecklist();
    void checklistCheckUpdated();
    void beginTimerToSave();
    void saveChecklist();
    bool takeStoredFields();
    void reminderUpdated(const ReminderPtr& reminder);
    void onComplete();
    void completeAndDismiss();
    void leave();

    void moveIncompleteToTopForChecklist();
    void removeCompletedFromChecklist();
    void createCardsForChecklist();
    [[nodiscard]] QStringList itemsForCards() const;
    void createChecklistItems();
    void createChecklistAndComplete();
    void createChecklistAndDelete();
    void closeAlert();
    void setPopoverHeight(ZNBasePopoverViewController& controller, int height) override;
    void dismissPopoverController(ZNBasePopoverViewController& controller) override;

    ZNReminderManager& _manager;
    ReminderPtr _reminder;
    ZNCardView* _cardView = nullptr;
    ChecklistLabel* _reminderTitle = nullptr;
    ChecklistLabel* _subtitleField = nullptr;
    ZNView* _rule = nullptr;
    QScrollArea* _scrollView = nullptr;
    ZNChecklistTextView* _checklist = nullptr;
    ChecklistCompleteButton* _completeButton = nullptr;
    QPointer<QMenu> _menu;
    QPointer<ZNPopover> _alert;
    AnimatedValue _completeAlpha{AnimatedValue::Kind::Fade, 0};
    AnimatedValue _bottomMargin{AnimatedValue::Kind::Movement, 0};
    Observation _frames;
    Observation _updates;
    Observation _layoutMode;
    NSTimer _timer;
    bool _didModifyLocally = false;
    bool _hasUnsavedChanges = false;
    bool _isLoading = false;
    bool _hasLeft = false;
};

}  // namespace zun
