#include "checklist/ZNChecklistViewController.h"

#include <QKeyEvent>
#include <QPainter>
#include <QScopedValueRollback>
#include <QScrollArea>
#include <cmath>

#include "cards/ScreenBar.h"
#include "cards/ZNCardView.h"
#include "checklist/ChecklistCardParts.h"
#include "checklist/ZNChecklistTextView.h"
#include "toolkit/GroundScrollBar.h"
#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

using namespace std::chrono_literals;

constexpr int sideMargin = 24;
constexpr int titleGap = 4;
constexpr int ruleGap = 12;
constexpr int scrollBarRoom = 12;
constexpr int listEdge = 8;  // above and below the list inside what scrolls
constexpr double marginWithButton = 60;
constexpr double marginWithoutButton = 8;
constexpr auto completeFade = 200ms;

TextStyle titleStyle(double windowWidth) {
    TextStyle style;
    style.font =
        appFontWithSizeStyle(SizeStyle::LargeText, preferredFontSizeForWindowSize(windowWidth), QFont::DemiBold);
    style.color = QColor::fromRgba(tokens::cardTitle);
    style.lineHeight = tokens::titleLineHeight;
    style.lineLimit = 2;
    return style;
}

TextStyle subtitleStyle(double windowWidth) {
    TextStyle style;
    style.font = appFontWithSizeStyle(SizeStyle::AllCaps, preferredFontSizeForWindowSize(windowWidth), QFont::Medium);
    style.color = QColor::fromRgba(tokens::latenessNoneText);
    style.lineHeight = tokens::notesLineHeight;
    style.kerning = tokens::capsKerning;
    style.lineLimit = 1;
    return style;
}

class Rule final : public ZNView {
  public:
    explicit Rule(QWidget* parent) : ZNView(parent) { setAccessibilityElement(false); }

  protected:
    void paintEvent(QPaintEvent*) override { QPainter(this).fillRect(rect(), QColor::fromRgba(tokens::checklistRule)); }
};

}  // namespace

ZNChecklistViewController::ZNChecklistViewController(const CardContext& context, ZNReminderManager& manager,
                                                     const ReminderPtr& reminder, QWidget* parent)
    : ZNBaseViewController(context, parent),
      _manager(manager),
      _reminder(reminder ? reminder : std::make_shared<ZNReminderObject>()) {}

ZNChecklistViewController::~ZNChecklistViewController() {
    flush();
    if (_alert) {
        _alert->content().setPopoverDelegate(nullptr);
        _alert->close();
    }
}

QString ZNChecklistViewController::text(std::string_view key) const {
    return QString::fromStdString(context().texts.text(key));
}

// ---- building

void ZNChecklistViewController::prepareViews() {
    _cardView = new ZNCardView(context().animations, this);
    QWidget* content = &_cardView->additionCard();
    // First in the order of the tab key.
    leftButton().setIconNamed(QStringLiteral("optionsIconToolbar"), 24);
    _reminderTitle = new ChecklistLabel(titleStyle(context().windowSize().width()), content);
    _subtitleField = new ChecklistLabel(subtitleStyle(context().windowSize().width()), content);
    _rule = new Rule(content);
    _scrollView = new QScrollArea(content);
    _scrollView->setFrameShape(QFrame::NoFrame);
    _scrollView->setVerticalScrollBar(new GroundScrollBar(GroundScrollBar::On::Panel, _scrollView));
    _scrollView->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    _scrollView->setFocusPolicy(Qt::NoFocus);
    _scrollView->viewport()->setAutoFillBackground(false);
    auto* page = new QWidget;
    _scrollView->setWidget(page);
    page->setAutoFillBackground(false);
    _checklist = new ZNChecklistTextView(context(), ZNChecklistTextView::ReadOnlyMode::No, page);
    _completeButton = new ChecklistCompleteButton(context().pictures, text("Complete_Action"), content);
    setFocusProxy(_checklist);

    _frames = context().animations.observeFrames([this] { layOutCard(); });
    connect(_completeButton, &QPushButton::clicked, this, [this] { onComplete(); });
    connect(_checklist, &ZNChecklistTextView::textUpdated, this, [this] { checklistCheckUpdated(); });
    connect(_checklist, &ZNChecklistTextView::checkUpdated, this, [this] { checklistCheckUpdated(); });
    connect(_checklist, &ZNChecklistTextView::heightDidChange, this, [this] { layOutChecklist(); });
    connect(_checklist, &ZNChecklistTextView::cursorDidMove, this, [this](QRect cursor) {
        const QPoint middle = _checklist->mapToParent(cursor.center());
        _scrollView->ensureVisible(middle.x(), middle.y(), 0, cursor.height() / 2 + listEdge);
    });
}

void ZNChecklistViewController::customizeViews() {
    rightButton().setText(text("Done_Action"));
    controllerTitle().setText(text("Checklist_Card_Title"));
    setReminderFields();

    const QPointer<ZNChecklistViewController> self(this);
    _layoutMode =
        context().settings.observe({"windowLayoutMode"}, [self, &dispatch = context().dispatch](std::string_view) {
            onMainThread(dispatch, [self] {
                if (self) self->updateViewsForWindowResize();
            });
        });
    // Store notifications come on the store's queue; a guard made here may only be asked on the main thread.
    _updates = context().notifications.addObserver(
        ZNReminderObjectUpdatedNotification, [self, &dispatch = context().dispatch](const NSNotification& posted) {
            const auto* reminder = std::any_cast<ReminderPtr>(&posted.object);
            if (!reminder || !*reminder) return;
            onMainThread(dispatch, [self, updated = *reminder] {
                if (self) self->reminderUpdated(updated);
            });
        });
}

void ZNChecklistViewController::configureAccessibilityValues() {
    setAccessibilityLabel(text("Checklist_Card_Title"));
    const QString options = text("Checklist_Options_Label");
    leftButton().setTexts(options, options);
    leftButton().setAccessibilityRole(QAccessible::ButtonMenu);
}

// ---- what is shown

void ZNChecklistViewController::setReminderFields() {
    if (_reminder->reminderID()) {
        const QString title = displayText(_reminder->title(), 2000);
        _reminderTitle->setText(title, title);
        setChecklistText();
    }
    updateSubText();
    handleCompleteButtonVisibilityWithAnimation(WithAnimation::No);
}

void ZNChecklistViewController::setChecklistText() {
    const QScopedValueRollback<bool> loading(_isLoading, true);
    _checklist->setChecklist(_reminder->checklist().value_or(""));
}

void ZNChecklistViewController::updateSubText() {
    const QString status = _checklist->formattedChecklistStatusString();
    _subtitleField->setText(status.toUpper(), status);
}

void ZNChecklistViewController::handleCompleteButtonVisibilityWithAnimation(WithAnimation animated) {
    const bool isShown = _checklist->numberOfActiveItems() == 0;
    _completeButton->setEnabled(isShown);
    const double alpha = isShown ? 1 : 0;
    const double margin = isShown ? marginWithButton : marginWithoutButton;
    if (animated == WithAnimation::No) {
        _completeAlpha.jump(alpha);
        _bottomMargin.jump(margin);
        return layOutCard();
    }
    if (_completeAlpha.value() == alpha) return;
    const QPointer<ZNChecklistViewController> self(this);
    context().animations.runGroup(
        completeFade, Easing::Out,
        [&](ZNAnimationGroup& group) {
            group.set(_completeAlpha, alpha);
            group.set(_bottomMargin, margin);
        },
        [self] {
            if (self) self->layOutCard();
        });
}

void ZNChecklistViewController::updateViewsForWindowResize() {
    ZNBaseViewController::updateViewsForWindowResize();
    if (!_checklist) return;
    _reminderTitle->setTextStyle(titleStyle(context().windowSize().width()));
    _subtitleField->setTextStyle(subtitleStyle(context().windowSize().width()));
    layOutCard();
}

void ZNChecklistViewController::layOutCard() {
    if (!_completeButton) return;
    const QRect content = _cardView->additionCard().rect();
    const int width = content.width() - 2 * sideMargin;
    int y = toolbar().geometry().bottom() + 1 + titleGap;
    const auto place = [&](ChecklistLabel* label, int gap) {
        const int height = label->layOutWithWidth(width);
        label->setGeometry(sideMargin, y, width, height);
        if (height > 0) y += height + gap;
    };
    place(_reminderTitle, titleGap);
    place(_subtitleField, ruleGap);
    _rule->setGeometry(sideMargin, y, width, 1);
    ++y;
    const int bottom = content.height() - static_cast<int>(std::lround(_bottomMargin.shown()));
    _scrollView->setGeometry(sideMargin, y, width + scrollBarRoom, std::max(0, bottom - y));
    if (layoutDirection() == Qt::RightToLeft) _scrollView->move(sideMargin - scrollBarRoom, y);
    layOutChecklist();

    const QSize button = _completeButton->sizeHint();
    const int buttonTop = content.height() - static_cast<int>((marginWithButton + button.height()) / 2);
    _completeButton->setGeometry(QRect(QPoint((content.width() - button.width()) / 2, buttonTop), button));
    _completeButton->setAlpha(_completeAlpha.shown());
}

// The list is at least as high as what shows it, so that a click below the last item reaches it.
void ZNChecklistViewController::layOutChecklist() {
    QWidget* page = _scrollView->widget();
    const int width = _scrollView->width() - scrollBarRoom;
    const int shown = _scrollView->height();
    // The height depends on the width, so that comes first.
    _checklist->setGeometry(0, listEdge, width, std::max(_checklist->contentHeight(), shown - 2 * listEdge));
    const int height = std::max(_checklist->contentHeight(), shown - 2 * listEdge);
    page->resize(width, height + 2 * listEdge);
    _checklist->setGeometry(0, listEdge, width, height);
}

// ---- saving

void ZNChecklistViewController::checklistCheckUpdated() {
    handleCompleteButtonVisibilityWithAnimation(_isLoading ? WithAnimation::No : WithAnimation::Yes);
    updateSubText();
    if (!_isLoading) beginTimerToSave();
}

void ZNChecklistViewController::beginTimerToSave() {
    const QPointer<ZNChecklistViewController> self(this);
    _timer = NSTimer(context().dispatch.main(), saveDelay, false, [self] {
        if (self) self->saveChecklist();
    });
    _didModifyLocally = true;
    _hasUnsavedChanges = true;
}

// Whether there is a row. Afterwards the reminder is what shall be written: the row's fields with the checks and lines
// that are on the screen.
bool ZNChecklistViewController::takeStoredFields() {
    const auto reminderID = _reminder->reminderID();
    const auto stored = reminderID ? _manager.fetchReminderWithReminderID(reminderID) : nullptr;
    const bool isThere = stored && !stored->shouldDeleteRemote().value_or(false);
    if (isThere) {
        _reminder->setAttributes(stored->attributes());
    } else {
        ReminderAttributes attributes = _reminder->attributes();
        attributes.reminderID.reset();
        attributes.didPersistToiCloud = false;
        attributes.hasLocalChanges = false;
        attributes.shouldDeleteRemote.reset();
        attributes.shareURL.reset();
        attributes.sharedZoneID.reset();
        // The deck's object keeps its identity.
        _reminder = std::make_shared<ZNReminderObject>(std::move(attributes));
    }
    if (_didModifyLocally) _reminder->setChecklist(_checklist->formattedChecklist());
    return isThere;
}

void ZNChecklistViewController::saveChecklist() {
    if (!_didModifyLocally || _hasLeft) return;
    if (takeStoredFields()) {
        _manager.updateReminder(_reminder, ShouldUpdateDateModified::Yes, ShouldSyncWithiCloud::Yes);
    } else if (_hasUnsavedChanges) {
        _manager.saveReminder(_reminder, ShouldSyncWithiCloud::Yes);
    }
    _hasUnsavedChanges = false;
}

void ZNChecklistViewController::flush() {
    if (_hasUnsavedChanges) saveChecklist();
}

void ZNChecklistViewController::reminderUpdated(const ReminderPtr& reminder) {
    if (_didModifyLocally || _hasLeft || !_reminder->reminderID() || reminder->reminderID() != _reminder->reminderID())
        return;
    if (reminder != _reminder) _reminder->setAttributes(reminder->attributes());
    setChecklistText();
    updateSubText();
}

// ---- leaving

void ZNChecklistViewController::leave() {
    if (std::exchange(_hasLeft, true)) return;
    _timer.invalidate();
    dismiss();
}

void ZNChecklistViewController::onRightButtonPress() {
    if (_hasLeft) return;
    saveChecklist();
    leave();
}

void ZNChecklistViewController::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) return onRightButtonPress();
    ZNBaseViewController::keyPressEvent(event);
}

void ZNChecklistViewController::onComplete() {
    if (!_hasLeft) completeAndDismiss();
}

void ZNChecklistViewController::completeAndDismiss() {
    // The record that is completed carries what is on the screen. Nothing is written before: one write does both.
    const bool isThere = takeStoredFields();
    _hasUnsavedChanges = false;
    if (!isThere) {
        // Removed elsewhere, and nothing of the user's is in it.
        if (!_didModifyLocally) return leave();
        _manager.saveReminder(_reminder, ShouldSyncWithiCloud::Yes);
    }
    const QPointer<ZNChecklistViewController> self(this);
    _manager.completeReminder(_reminder, [self, &dispatch = context().dispatch](const ReminderPtr&) {
        onMainThread(dispatch, [self] {
            if (self) self->leave();
        });
    });
}

}  // namespace zun
