#include "editor/ZNEditViewController.h"

#include <QApplication>
#include <QKeyEvent>
#include <QScrollArea>
#include <QScrollBar>

#include "cards/ScreenBar.h"
#include "cards/ZNCardView.h"
#include "core/NotificationNames.h"
#include "editor/LocationSection.h"
#include "editor/SuggestionChip.h"
#include "editor/ZNEditSegmentControl.h"
#include "editor/ZNSwitch.h"
#include "toolkit/GroundScrollBar.h"
#include "toolkit/Tokens.h"

namespace zun {
namespace {

constexpr int closeIconSide = 24;

QWidget* makeRule(QWidget* parent) {
    auto* rule = new QWidget(parent);
    QPalette colors = rule->palette();
    colors.setColor(QPalette::Window, QColor::fromRgba(tokens::editorRule));
    rule->setPalette(colors);
    rule->setAutoFillBackground(true);
    return rule;
}

}  // namespace

ZNEditViewController::ZNEditViewController(const EditorContext& context, const ReminderPtr& reminder, QWidget* parent)
    : ZNBaseViewController(context.cards, parent),
      _with(context),
      _model({context.environment, context.strings, context.cards.settings}, reminder) {
    // A press beside the controls takes the cursor out of the fields.
    setFocusPolicy(Qt::ClickFocus);
    rememberOpenedRecord();
    _frames = context.cards.animations.observeFrames([this, last = 0.0]() mutable {
        if (std::exchange(last, _containerHeight.shown()) != _containerHeight.shown()) layOutContents();
    });
}

ZNEditViewController::~ZNEditViewController() {
    // Its children go after it, and the one that has the focus gives it up then.
    disconnect(qApp, nullptr, this, nullptr);
    if (!_isFinished && _reminderTitle) keepDraft();
    if (_popover) _popover->content().setPopoverDelegate(nullptr);
    delete _popover;
}

QString ZNEditViewController::text(std::string_view key) const {
    return QString::fromStdString(_with.strings.string(key));
}

// ---- building

void ZNEditViewController::prepareViews() {
    _cardView = new ZNCardView(_with.cards.animations, this);
    _cardView->show();
    QWidget* surface = &_cardView->additionCard();
    surface->installEventFilter(this);
    leftButton().setIconNamed(QStringLiteral("closeIcon"), closeIconSide);
    rightButton().setText(text("Save_Action"));

    _scrollView = new QScrollArea(surface);
    _scrollView->setFrameShape(QFrame::NoFrame);
    _scrollView->setFocusPolicy(Qt::NoFocus);
    _scrollView->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    _scrollView->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    _scrollView->viewport()->setAutoFillBackground(false);
    _scrollContentView = new QWidget;
    _scrollView->setWidget(_scrollContentView);
    _scrollContentView->setAutoFillBackground(false);  // which the area has just switched on
    // Beside the texts, whose width must not hang on whether they need to scroll.
    _scrollBar = new GroundScrollBar(GroundScrollBar::On::Panel, surface);
    _scrollBar->standFor(*_scrollView->verticalScrollBar());

    _reminderTitle = new ZNTextView(ZNTextView::AllowsReturn::No, _scrollContentView);
    _chip = new SuggestionChip(_with.strings, _scrollContentView);
    _dateContainer = new QWidget(_scrollContentView);
    _dateSection = new DateSection(_with, _model, _dateContainer);
    _locationSection = new LocationSection(_with, _model, _dateContainer);
    _segmentControl =
        new ZNEditSegmentControl(text("Card_Notes_Label"), text("Card_Checklist_Label"), _scrollContentView);
    _reminderNotes = new ZNTextView(ZNTextView::AllowsReturn::Yes, _scrollContentView);
    _checklist = new ZNChecklistTextView(_with.cards, ZNChecklistTextView::ReadOnlyMode::No, _scrollContentView);
    _toggleTypeButton = new ZNBarButton(surface);
    _rules = {makeRule(_scrollContentView), makeRule(_scrollContentView), makeRule(surface)};
}

void ZNEditViewController::setConstraints() {
    updateFontsAndSizing();
}

void ZNEditViewController::customizeViews() {
    controllerTitle().setText(text(_model.isNew() ? "Add_Card_Title" : "Edit_Card_Title"));
    leftButton().setTexts(text("Close_Action"), text("Close_Action"));
    _reminderTitle->setPlaceholderText(text("Card_Title_Placeholder"));
    _reminderNotes->setPlaceholderText(text("Card_Note_Placeholder"));
    _reminderTitle->setZnDelegate(this);
    _reminderNotes->setZnDelegate(this);
    _checklist->setZnDelegate(this);
    _toggleTypeButton->setCheckable(true);
    _toggleTypeButton->setChecked(_model.activeReminderType() == EditorModel::ReminderType::Location);
    setReminderFields();
    _locationSection->setLocationFields();
    setKeyViews();
    connectViews();
    addObservers();
    updateViewsForReminder(false);
}

void ZNEditViewController::configureAccessibilityValues() {
    setAccessibilityLabel(controllerTitle().text());
    _reminderTitle->setAccessibleName(text("Editor_Title_Accessibility_Label"));
    _reminderNotes->setAccessibleName(text("Card_Notes_Label"));
    _checklist->setAccessibleName(text("Card_Checklist_Label"));
    _segmentControl->setAccessibilityLabel(text("Editor_Content_Accessibility_Label"));
    _dateSection->configureAccessibilityValues();
    _locationSection->configureAccessibilityValues();
}

void ZNEditViewController::connectViews() {
    connect(_dateSection, &DateSection::didChange, this, [this](DateSection::ShouldAnimate animated) {
        updateViewsForReminder(animated == DateSection::ShouldAnimate::Yes);
        keepDraftSoon();
    });
    connect(&_dateSection->setDateButton(), &ZNButton::clicked, this, [this] { showDatePopup(); });
    connect(&_dateSection->setRepeatButton(), &ZNButton::clicked, this, [this] { showCustomRepeatPopup(); });
    connect(_segmentControl, &ZNEditSegmentControl::didChange, this, [this] {
        updateViewsForReminder(false);
        // A hand that chooses the text wants to write there; keys go on from the segments.
        if (!_segmentControl->selectedButton().underMouse()) return;
        QWidget* chosen = segment() == EditorModel::Segment::Checklist ? static_cast<QWidget*>(_checklist)
                                                                       : static_cast<QWidget*>(_reminderNotes);
        chosen->setFocus(Qt::MouseFocusReason);
        _scrollView->ensureWidgetVisible(chosen, 0, 0);
    });
    connect(_toggleTypeButton, &QPushButton::clicked, this, [this] { toggleReminderType(); });
    connect(_chip, &QPushButton::clicked, this, [this] { acceptSuggestion(); });
    connect(_reminderTitle, &QTextEdit::textChanged, this, [this] { titleDidChange(); });
    connect(_reminderNotes, &QTextEdit::textChanged, this, [this] { textDidChange(); });
    for (auto* view : {_reminderTitle, _reminderNotes}) {
        connect(view, &QTextEdit::cursorPositionChanged, this,
                [this, view] { scrollToCursor(*view, view->cursorRect()); });
    }
    const auto updateChecklistField = [this] {
        _model.reminder().setChecklist(_checklist->formattedChecklist());
        textDidChange();
    };
    connect(_checklist, &ZNChecklistTextView::textUpdated, this, updateChecklistField);
    connect(_checklist, &ZNChecklistTextView::checkUpdated, this, updateChecklistField);
    connect(_checklist, &ZNChecklistTextView::heightDidChange, this, [this] { layOutContents(); });
    connect(_checklist, &ZNChecklistTextView::cursorDidMove, this,
            [this](const QRect& cursor) { scrollToCursor(*_checklist, cursor); });
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) {
        const bool isText = now == _reminderTitle || now == _reminderNotes || now == _checklist;
        if (now && !isText && _scrollContentView->isAncestorOf(now)) _scrollView->ensureWidgetVisible(now, 0, 16);
    });
}

void ZNEditViewController::addObservers() {
    Dispatch& dispatch = _with.cards.dispatch;
    const auto onMain = [this, &dispatch](std::function<void()> action) {
        return [self = QPointer(this), &dispatch, action = std::move(action)](std::string_view) {
            onMainThread(dispatch, [self, action] {
                if (self) action();
            });
        };
    };
    _observations.push_back(_with.cards.notifications.addObserver(
        ZNSaveCardMenuActionNotification, [this](const NSNotification&) { onRightButtonPress(); }));
    _observations.push_back(
        _with.cards.settings.observe({"windowLayoutMode"}, onMain([this] { updateViewsForWindowResize(); })));
    _observations.push_back(_model.reminder().observe({"locationName", "locationActivationRadius"},
                                                      onMain([this] { _locationSection->setLocationFields(); })));
}

void ZNEditViewController::setKeyViews() {
    QWidget* previous = nullptr;
    const std::initializer_list<QWidget*> order = {&leftButton(),
                                                   _toggleTypeButton,
                                                   &rightButton(),
                                                   this,
                                                   _reminderTitle,
                                                   &_dateSection->dateToggle(),
                                                   &_dateSection->datePicker(),
                                                   &_dateSection->timePicker(),
                                                   &_dateSection->setDateButton(),
                                                   &_dateSection->repeatSelector(),
                                                   &_dateSection->setRepeatButton(),
                                                   &_dateSection->plusButton(),
                                                   &_dateSection->endDatePicker(),
                                                   &_dateSection->clearButton(),
                                                   &_locationSection->setLocationButton(),
                                                   &_locationSection->activationButton(),
                                                   &_locationSection->repeatLocationToggle(),
                                                   _reminderNotes,
                                                   _checklist,
                                                   &_segmentControl->segment(0),
                                                   &_segmentControl->segment(1)};
    for (QWidget* each : order) {
        if (previous) setTabOrder(previous, each);
        previous = each;
    }
}

// ---- the record on the screen

void ZNEditViewController::setReminderFields() {
    const ReminderAttributes record = _model.reminder().attributes();
    _reminderTitle->setString(QString::fromStdString(record.title));
    _reminderNotes->setString(QString::fromStdString(record.notes.value_or(std::string())));
    _checklist->setChecklist(record.checklist.value_or(std::string()));
    _titleAtOpening = _reminderTitle->string();
    _notesAtOpening = _reminderNotes->string();
}

void ZNEditViewController::animateContentInWithAnimation(bool animated) {
    configureAccessibilityValues();
    _segmentControl->setSelectedSegment(static_cast<int>(_model.initialSegment()));
    updateViewsForReminder(false);
    if (_model.isNew()) {
        _draft = _with.drafts.draftForNewReminder([this](const std::string& reminderID) {
            const auto row = _with.manager.fetchReminderWithReminderID(reminderID);
            return row && !row->shouldDeleteRemote().value_or(false);
        });
        _reminderTitle->setFocus(Qt::OtherFocusReason);
    } else {
        _draft = _with.drafts.draftForReminder(*_model.reminder().reminderID());
        setFocus(Qt::OtherFocusReason);
    }
    textDidChange();
    ZNBaseViewController::animateContentInWithAnimation(animated);
}

EditorModel::Segment ZNEditViewController::segment() const {
    return _segmentControl->selectedSegment() == 1 ? EditorModel::Segment::Checklist : EditorModel::Segment::Notes;
}

void ZNEditViewController::updateViewsForReminder(bool animated) {
    const auto visible = _model.visibleControls(segment());
    _reminderNotes->setVisible(visible.notes);
    _checklist->setVisible(visible.checklist);
    _dateSection->updateViewsForReminder(segment());
    _locationSection->setLocationFields();
    const bool isLocation = _model.activeReminderType() == EditorModel::ReminderType::Location;
    _toggleTypeButton->setText(text(isLocation ? "Switch_to_date_Label_Mac" : "Switch_to_location_Label_Mac"));
    _with.cards.animations.runGroup(
        animated && isVisible() ? tokens::editorHeights : tokens::editorHeights.zero(), Easing::InOut,
        [this](ZNAnimationGroup& group) { group.set(_containerHeight, _model.dateContainerHeight()); });
    layOutContents();
}

void ZNEditViewController::toggleReminderType() {
    _model.toggleReminderType();
    _toggleTypeButton->setChecked(_model.activeReminderType() == EditorModel::ReminderType::Location);
    updateViewsForReminder(true);
    textDidChange();
}

// ---- popovers

void ZNEditViewController::showPopover(ZNBasePopoverViewController* controller, QSize size, QWidget& anchor) {
    if (_popover) _popover->close();
    controller->setPopoverDelegate(this);
    _popover = new ZNPopover(_with.cards.animations, controller, ZNPopover::Behavior::Transient, window());
    _popover->setContentSize(size);
    connect(_popover, &ZNPopover::didClose, this, [this, closing = _popover.data()] {
        if (_popover == closing) _popover = nullptr;
    });
    _popover->showRelativeTo(anchor, ZNPopover::Edge::Below);
}

void ZNEditViewController::showDatePopup() {
    auto* controller = new ZNDatePopoverViewController(_model.reminderPtr(), _with.strings, this);
    showPopover(controller, {ZNDatePopoverViewController::contentWidth, controller->wantedHeight()},
                _dateSection->setDateButton());
}

void ZNEditViewController::showCustomRepeatPopup() {
    auto* controller = new ZNRepeatPopoverViewController(_model.reminderPtr(), _with.environment, _with.strings, this);
    showPopover(controller, {ZNRepeatPopoverViewController::contentWidth, ZNRepeatPopoverViewController::contentHeight},
                _dateSection->setRepeatButton());
}

void ZNEditViewController::setPopoverHeight(ZNBasePopoverViewController& controller, int height) {
    if (!_popover || &_popover->content() != &controller) return;
    const bool isRepeat = qobject_cast<ZNRepeatPopoverViewController*>(&controller) != nullptr;
    _popover->setContentSize(
        {isRepeat ? ZNRepeatPopoverViewController::contentWidth : ZNDatePopoverViewController::contentWidth, height});
}

void ZNEditViewController::dismissPopoverController(ZNBasePopoverViewController& controller) {
    if (_popover && &_popover->content() == &controller) _popover->close();
}

void ZNEditViewController::didChangeNotificationSetting(bool shouldNotify) {
    _model.didChangeNotificationSetting(shouldNotify);
    keepDraftSoon();
}

void ZNEditViewController::didChangeNagSetting(bool shouldNag) {
    _model.didChangeNagSetting(shouldNag);
    keepDraftSoon();
}

void ZNEditViewController::didChangeDateSettings() {
    _model.didChangeDateSettings();
    keepDraftSoon();
}

void ZNEditViewController::didSelectRepeatInterval(std::uint64_t, const std::optional<DayOrdinals>&, std::uint64_t) {
    _model.updateEndDateForRepeat();
    updateViewsForReminder(true);
    keepDraftSoon();
}

// ---- keys

bool ZNEditViewController::saveOrContinue() {
    if (!_with.cards.settings.shouldUseReturnKeyToSave()) return true;
    onRightButtonPress();
    return false;
}

bool ZNEditViewController::shouldContinueOnPressReturn(ZNTextView&) {
    return saveOrContinue();
}

bool ZNEditViewController::checklistCommandShouldContinueOnPressReturn(ZNChecklistTextView&) {
    return saveOrContinue();
}

void ZNEditViewController::shouldSelectNextKeyView() {
    focusNextChild();
}

bool ZNEditViewController::event(QEvent* event) {
    if (event->type() == QEvent::ShortcutOverride && isOwnKey(static_cast<const QKeyEvent&>(*event))) {
        event->accept();
        return true;
    }
    return ZNBaseViewController::event(event);
}

// Escape closes what lies on top first: the month, then the suggestion, then the screen.
bool ZNEditViewController::isOwnKey(const QKeyEvent& key) const {
    const bool suggests = _suggestion != Suggestion::None;
    if (key.key() == Qt::Key_Escape) return suggests || _dateSection->showsCalendar();
    const bool isReturn = key.key() == Qt::Key_Return || key.key() == Qt::Key_Enter;
    return suggests && isReturn && key.modifiers().testFlag(Qt::ControlModifier);
}

void ZNEditViewController::keyPressEvent(QKeyEvent* event) {
    if (!isOwnKey(*event)) return ZNBaseViewController::keyPressEvent(event);
    if (event->key() != Qt::Key_Escape) return acceptSuggestion();
    _dateSection->showsCalendar() ? _dateSection->hideCalendars() : dropSuggestion();
}

}  // namespace zun
