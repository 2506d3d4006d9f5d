#pragma once

// The screen on which a reminder is written or changed. It edits the record that it was given in place: each control
// writes at once, title and notes when they are saved, and saving only decides whether it is stored.
//
//   saving      by the right button, by the menu's notification, or by the return key where the user wants that. What
//               cannot be saved shakes the card. Fields that the user did not touch are taken from the row as it is
//               stored by then; a row that has gone is saved as a new one.
//   leaving     by the left button, which is also the escape key. Text that was written is kept as a draft, also when
//               the screen goes with the program; a program that is killed leaves one that is some seconds old.
//   suggestion  below the title: a date that the title speaks of, or a draft to go on with. Ctrl+Return or a click
//               accepts it; Escape drops it first and leaves the screen only then. Undoing an accepted date in the
//               title takes the date back too.
//
// Owned by its parent widget. Main thread; opening, saving and leaving block for a query or a small durable write.

#include <QPointer>

#include "cards/ZNBaseViewController.h"
#include "checklist/ZNChecklistTextView.h"
#include "editor/DateSection.h"
#include "editor/EditorContext.h"
#include "editor/EditorModel.h"
#include "editor/ZNDatePopoverViewController.h"
#include "editor/ZNRepeatPopoverViewController.h"
#include "toolkit/ZNPopover.h"
#include "toolkit/ZNTextView.h"

class QScrollArea;

namespace zun {

class GroundScrollBar;
class LocationSection;
class SuggestionChip;
class ZNEditSegmentControl;

class ZNEditViewControllerDelegate {
  public:
    virtual ~ZNEditViewControllerDelegate() = default;
    virtual void didUpdateReminder(const ReminderPtr& reminder) = 0;
};

class ZNEditViewController final : public ZNBaseViewController,
                                   private ZNTextViewDelegate,
                                   private ZNChecklistTextViewDelegate,
                                   private ZNPopoverDelegate,
                                   private ZNDatePopoverDelegate,
                                   private ZNRepeatPopoverDelegate {
    Q_OBJECT
  public:
    // Without a reminder it makes a fresh one.
    ZNEditViewController(const EditorContext& context, const ReminderPtr& reminder, QWidget* parent = nullptr);
    ~ZNEditViewController() override;

    void setEditDelegate(ZNEditViewControllerDelegate* delegate) { _editDelegate = delegate; }

    void prepareViews() override;
    void setConstraints() override;
    void customizeViews() override;
    void configureAccessibilityValues() override;
    void updateViewsForWindowResize() override;
    void onLeftButtonPress() override;
    void onRightButtonPress() override;
    void animateContentInWithAnimation(bool animated) override;
    void flush() override;
    [[nodiscard]] bool hasCard() const override { return _cardView != nullptr; }
    [[nodiscard]] ZNCardView* card() const override { return _cardView; }

    [[nodiscard]] const ReminderPtr& reminder() const { return _model.reminderPtr(); }
    [[nodiscard]] const EditorModel& model() const { return _model; }
    [[nodiscard]] ZNTextView& reminderTitle() const { return *_reminderTitle; }
    [[nodiscard]] ZNTextView& reminderNotes() const { return *_reminderNotes; }
    [[nodiscard]] ZNChecklistTextView& checklist() const { return *_checklist; }
    [[nodiscard]] ZNEditSegmentControl& segmentControl() const { return *_segmentControl; }
    [[nodiscard]] DateSection& dateSection() const { return *_dateSection; }
    [[nodiscard]] LocationSection& locationSection() const { return *_locationSection; }
    [[nodiscard]] ZNBarButton& toggleTypeButton() const { return *_toggleTypeButton; }
    [[nodiscard]] SuggestionChip& suggestionChip() const { return *_chip; }
    // Null while none is open.
    [[nodiscard]] ZNPopover* openPopover() const { return _popover; }

    // How far the draft on the disk may be behind what is typed. Shorter costs a write each time.
    static constexpr std::chrono::seconds draftDelay{2};

  protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    enum class Suggestion { None, Phrase, Draft };
    struct AcceptedPhrase {
        QString titleBefore;
        ReminderAttributes before, after;
    };

    // Views.
    [[nodiscard]] QString text(std::string_view key) const;
    void connectViews();
    void addObservers();
    void setKeyViews();
    void setReminderFields();
    void updateViewsForReminder(bool animated);
    void updateFontsAndSizing();
    void layOutContents();
    void scrollToCursor(QWidget& view, const QRect& cursor);
    void toggleReminderType();
    [[nodiscard]] EditorModel::Segment segment() const;
    [[nodiscard]] int margin() const;
    [[nodiscard]] int textFieldWidth() const;

    // Popovers.
    void showDatePopup();
    void showCustomRepeatPopup();
    void showPopover(ZNBasePopoverViewController* controller, QSize size, QWidget& anchor);
    void setPopoverHeight(ZNBasePopoverViewController& controller, int height) override;
    void dismissPopoverController(ZNBasePopoverViewController& controller) override;
    void didChangeNotificationSetting(bool shouldNotify) override;
    void didChangeNagSetting(bool shouldNag) override;
    void didChangeDateSettings() override;
    void didSelectRepeatInterval(std::uint64_t interval, const std::optional<DayOrdinals>& withOrdinals,
                                 std::uint64_t repeatType) override;

    // Keys.
    bool shouldContinueOnPressReturn(ZNTextView& view) override;
    void shouldSelectNextKeyView() override;
    bool checklistCommandShouldContinueOnPressReturn(ZNChecklistTextView& view) override;
    bool saveOrContinue();

    // Saving and leaving.
    void rememberOpenedRecord();
    [[nodiscard]] ReminderAttributes editedRecord() const;
    void explainRefusal();
    void saveReminder();
    void updateReminder();
    void finish();
    void keepDraft();
    void keepDraftSoon();
    void keepDraftForNow();
    void removeKeptDraft();
    [[nodiscard]] bool hasTouchedText(const ReminderAttributes& edited) const;

    // Suggestions.
    void titleDidChange();
    void textDidChange();
    void updateSuggestion();
    void acceptSuggestion();
    void dropSuggestion();
    [[nodiscard]] bool isOwnKey(const QKeyEvent& key) const;
    void acceptPhrase();
    void takeBackPhraseIfUndone();
    void continueDraft();
    [[nodiscard]] QString draftName() const;

    EditorContext _with;
    EditorModel _model;
    ZNEditViewControllerDelegate* _editDelegate = nullptr;
    ReminderAttributes _opened;  // the row as the user found it; blank for a new one
    QString _titleAtOpening;     // as the fields gave them back
    QString _notesAtOpening;
    bool _isFinished = false;

    std::optional<EditorDraft> _draft;  // the one to offer
    std::string _keptDraftID;           // the one that this editor goes on with; empty for none
    NSTimer _draftTimer;
    std::optional<QuickEntry> _phrase;
    QString _phraseTitle;  // the title that the phrase was read in
    QString _droppedPhrase;
    bool _isDraftDropped = false;
    std::optional<AcceptedPhrase> _acceptedPhrase;
    Suggestion _suggestion = Suggestion::None;

    ZNCardView* _cardView = nullptr;
    QScrollArea* _scrollView = nullptr;
    GroundScrollBar* _scrollBar = nullptr;
    QWidget* _scrollContentView = nullptr;
    ZNTextView* _reminderTitle = nullptr;
    SuggestionChip* _chip = nullptr;
    QWidget* _dateContainer = nullptr;
    DateSection* _dateSection = nullptr;
    LocationSection* _locationSection = nullptr;
    ZNEditSegmentControl* _segmentControl = nullptr;
    ZNTextView* _reminderNotes = nullptr;
    ZNChecklistTextView* _checklist = nullptr;
    ZNBarButton* _toggleTypeButton = nullptr;
    std::array<QWidget*, 3> _rules{};
    QPointer<ZNPopover> _popover;

    AnimatedValue _containerHeight{AnimatedValue::Kind::Movement, 44};
    Observation _frames;
    std::vector<Observation> _observations;
};

}  // namespace zun
