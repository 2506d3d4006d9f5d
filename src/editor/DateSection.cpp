#include "editor/DateSection.h"

#include <QLabel>
#include <algorithm>

#include "editor/PopoverControls.h"
#include "editor/ZNSwitch.h"
#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

constexpr int switchRowHeight = 44;
constexpr int rowHeight = 36;
constexpr int controlHeight = tokens::minimumHitSize + 2 * FocusRing::room;
constexpr int buttonSide = tokens::minimumHitSize + 2 * ZNButton::ringMargin;
constexpr int iconSide = 24;
constexpr int labelGap = 10;
constexpr int pickerGap = 2;
constexpr int widestSelector = 260;

}  // namespace

DateSection::DateSection(const EditorContext& context, EditorModel& model, QWidget* parent)
    : ZNView(parent), _with(context), _model(model) {
    setAccessibilityElement(false);
    _onADateText = makeLabel("Card_Date_Switch_Label");
    _onADateText->setFont(appFont(13, QFont::Medium));
    // Over the words; for assistive technology the switch bears their name.
    _onADateLabel = new ZNButton(_with.cards.pictures, ZNButton::Shape::Text, this);
    _onADateLabel->setToolTip(text("Edit_Date_Toggle_Tooltip"));
    _onADateLabel->setFocusPolicy(Qt::NoFocus);
    _onADateLabel->setAccessibilityElement(false);
    _dateToggle = new ZNSwitch(_with.cards.animations, this);
    _dateToggle->setToolTip(text("Edit_Date_Toggle_Tooltip"));
    prepareDateRows();
    prepareRepeatRows();
    connectViews();
    connectPickers();
}

DateSection::~DateSection() {
    // They lie in the window while they are shown.
    delete _calendarPopout;
    delete _endDateCalendar;
}

QString DateSection::text(std::string_view key) const {
    return QString::fromStdString(_with.strings.string(key));
}

QLabel* DateSection::makeLabel(std::string_view key) {
    auto* label = new QLabel(text(key), this);
    label->setFont(appFont(13));
    label->setTextFormat(Qt::PlainText);
    alignToLayout(*label);
    QPalette colors = label->palette();
    colors.setColor(QPalette::WindowText, QColor::fromRgba(tokens::editorLabel));
    label->setPalette(colors);
    return label;
}

ZNButton* DateSection::makeButton(const char* icon, std::string_view tooltipKey) {
    auto* button = new ZNButton(_with.cards.pictures, ZNButton::Shape::Round, this);
    button->setIconNamed(QString::fromLatin1(icon), iconSide);
    button->setTexts(text(tooltipKey), text(tooltipKey));
    return button;
}

void DateSection::prepareDateRows() {
    _dateLabel = makeLabel("Card_Date_Label_Mac");
    _datePicker = new ZNDatePicker(_with.environment, ZNDatePicker::Elements::YearMonthDay, this);
    _datePicker->setToolTip(text("Edit_DatePicker_Tooltip"));
    _timePicker = new ZNDatePicker(_with.environment, ZNDatePicker::Elements::HourMinute, this);
    _timePicker->setToolTip(text("Edit_DatePicker_Time_Tooltip"));
    _setDateButton = makeButton("moreIcon", "Edit_Date_Button_Tooltip");
    _calendarPopout = new ZNPopupCalendarView(_with.environment, _with.strings, this);
}

void DateSection::prepareRepeatRows() {
    _repeatLabel = makeLabel("Card_Repeat_Label_Mac");
    _repeatSelector = new ZNPopUpButton(this);
    _repeatSelector->setToolTip(text("Edit_Repeat_Selector_Tooltip"));
    _repeatSelector->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    _setRepeatButton = makeButton("moreIcon", "Edit_Repeat_Button_Tooltip");
    _endDateLabel = makeLabel("Card_EndDate_Label_Mac");
    _endDatePicker = new ZNDatePicker(_with.environment, ZNDatePicker::Elements::YearMonthDay, this);
    _endDatePicker->setToolTip(text("Edit_EndDatePicker_Tooltip"));
    _endDateCalendar = new ZNPopupCalendarView(_with.environment, _with.strings, this);
    _plusButton = makeButton("plusIcon", "Edit_End_Date_Button_Tooltip");
    _clearButton = makeButton("clearIcon", "Edit_Clear_End_Date_Button_Tooltip");
}

void DateSection::configureAccessibilityValues() {
    _dateToggle->setAccessibleName(_onADateText->text());
    _datePicker->setAccessibleName(_dateLabel->text());
    _timePicker->setAccessibleName(text("Editor_Time_Accessibility_Label"));
    _repeatSelector->setAccessibleName(_repeatLabel->text());
    _endDatePicker->setAccessibleName(_endDateLabel->text());
}

// ---- what the user does

void DateSection::connectViews() {
    connect(_dateToggle, &QAbstractButton::clicked, this, [this](bool isOn) { toggleDateOptionsWithVisibility(isOn); });
    // The words do not flip the switch by themselves.
    connect(_onADateLabel, &ZNButton::clicked, this,
            [this] { toggleDateOptionsWithVisibility(!_dateToggle->isChecked()); });
    connect(_repeatSelector, &QComboBox::activated, this, [this](int row) {
        _model.onToggleRepeat(row);
        emit didChange(ShouldAnimate::No);
    });
    connect(_plusButton, &ZNButton::clicked, this, [this] { addEndDate(); });
    connect(_clearButton, &ZNButton::clicked, this, [this] {
        _model.clearEndDate();
        emit didChange(ShouldAnimate::No);
        _plusButton->setFocus(Qt::TabFocusReason);
    });
}

void DateSection::connectPickers() {
    for (auto* picker : {_datePicker, _timePicker})
        connect(picker, &ZNDatePicker::didChange, this, [this] { didSelectDayFromPicker(); });
    connect(&_calendarPopout->calendarPicker(), &ZNCalendarPicker::didChange, this,
            [this] { didSelectDayFromCalendar(); });
    connect(_endDatePicker, &ZNDatePicker::didChange, this, [this] {
        // The month follows its field, and the day is read from the month.
        _endDateCalendar->calendarPicker().setDateValue(_endDatePicker->dateValue());
        didSelectEndDay();
    });
    connect(&_endDateCalendar->calendarPicker(), &ZNCalendarPicker::didChange, this, [this] {
        _endDatePicker->clearFocus();
        didSelectEndDay();
    });
    for (auto* picker : {_datePicker, _endDatePicker}) {
        connect(picker, &ZNDatePicker::didBecomeActive, this, [this, picker] { datePickerDidBecomeActive(*picker); });
        connect(picker, &ZNDatePicker::didResignActive, this, [this] { hideCalendars(); });
    }
    hideCalendars();
}

void DateSection::toggleDateOptionsWithVisibility(bool visible) {
    _dateToggle->setChecked(visible);
    configureAccessibilityValues();
    _model.toggleDateOptionsWithVisibility(visible);
    emit didChange(ShouldAnimate::Yes);
}

void DateSection::didSelectDayFromPicker() {
    const NSDate merged = mergeDateWithTime(_datePicker->dateValue(), _timePicker->dateValue(), _with.environment);
    _datePicker->setDateValue(merged);
    _model.didSelectDate(merged);
    emit didChange(ShouldAnimate::Yes);
}

void DateSection::didSelectDayFromCalendar() {
    _datePicker->clearFocus();
    const NSDate merged =
        mergeDateWithTime(_calendarPopout->calendarPicker().dateValue(), _timePicker->dateValue(), _with.environment);
    _datePicker->setDateValue(merged);
    _model.didSelectDate(merged);
    emit didChange(ShouldAnimate::Yes);
}

void DateSection::didSelectEndDay() {
    const NSDate day = _endDateCalendar->calendarPicker().dateValue();
    _endDatePicker->setDateValue(day);
    _model.setEndDate(day);
    emit didChange(ShouldAnimate::No);
}

void DateSection::datePickerDidBecomeActive(ZNDatePicker& picker) {
    auto* popup = &picker == _datePicker ? _calendarPopout : _endDateCalendar;
    popup->calendarPicker().setEnabled(true);
    popup->showBeside(picker);
}

void DateSection::hideCalendars() {
    for (auto* popup : {_calendarPopout, _endDateCalendar}) {
        popup->hide();
        popup->calendarPicker().setEnabled(false);
    }
}

void DateSection::addEndDate() {
    _model.addEndDate();
    emit didChange(ShouldAnimate::No);
    _endDatePicker->setFocus(Qt::TabFocusReason);
}

// ---- what is shown

void DateSection::updateViewsForReminder(EditorModel::Segment segment) {
    const auto visible = _model.visibleControls(segment);
    _dateToggle->setChecked(_model.reminder().start_date().has_value());
    _datePicker->setDateValue(_model.shownDate());
    _timePicker->setDateValue(_datePicker->dateValue());
    _calendarPopout->calendarPicker().setDateValue(_datePicker->dateValue());
    const NSDate now = _with.environment.now();
    _endDatePicker->setMinDate(now);
    _endDatePicker->setDateValue(_model.shownEndDate());
    _endDateCalendar->calendarPicker().setMinDate(now);
    _endDateCalendar->calendarPicker().setDateValue(_endDatePicker->dateValue());

    QStringList rows;
    for (const auto& row : _model.repeatRows())
        rows.append(QString::fromStdString(row));
    setRows(*_repeatSelector, rows, _model.rowForRepeatType());

    for (auto* each : std::initializer_list<QWidget*>{_dateLabel, _datePicker, _timePicker, _setDateButton,
                                                      _repeatLabel, _repeatSelector, _setRepeatButton}) {
        each->setVisible(visible.dateRows);
        if (visible.dateRows) each->setEnabled(true);
    }
    _endDateLabel->setVisible(visible.endDateLabel);
    _endDatePicker->setVisible(visible.endDatePicker);
    _endDatePicker->setEnabled(visible.endDatePickerEnabled);
    _plusButton->setVisible(visible.plusButton);
    _clearButton->setVisible(visible.clearButton);
    setVisible(visible.dateSection);
}

void DateSection::surroundingsDidChange() {
    for (auto* picker : {_datePicker, _timePicker, _endDatePicker})
        picker->surroundingsDidChange();
    for (auto* popup : {_calendarPopout, _endDateCalendar})
        popup->calendarPicker().surroundingsDidChange();
}

void DateSection::resizeEvent(QResizeEvent*) {
    const int left = sectionSideRoom;
    const int right = width() - sectionSideRoom;
    const int switchWidth = _dateToggle->sizeHint().width();
    const int switchLeft = right - switchWidth + FocusRing::room;
    placeInParent(*_onADateText, {left, 0, switchLeft - left, switchRowHeight});
    placeInParent(*_onADateLabel, {left, 4, switchLeft - left - 4, switchRowHeight - 8});
    placeInParent(*_dateToggle, {switchLeft, 6, switchWidth, tokens::minimumHitSize});

    int start = 0;
    for (auto* label : {_dateLabel, _repeatLabel, _endDateLabel})
        start = std::max(start, label->sizeHint().width());
    // The icons end where the lines do.
    const int iconRoom = (buttonSide - iconSide) / 2;
    const int buttonLeft = right + iconRoom - buttonSide;
    const int pickersWidth = _datePicker->sizeHint().width() + pickerGap + _timePicker->sizeHint().width();
    start = std::max(left, std::min(left + start + labelGap, buttonLeft - pickersWidth)) - FocusRing::room;

    int top = switchRowHeight;
    const auto place = [&](QWidget& child, int from, int childWidth, int height) {
        placeInParent(child, {from, top + (rowHeight - height) / 2, childWidth, height});
    };
    const auto placeLabel = [&](QLabel& label) { place(label, left, start - left, rowHeight); };
    placeLabel(*_dateLabel);
    place(*_datePicker, start, _datePicker->sizeHint().width(), controlHeight);
    place(*_timePicker, start + _datePicker->sizeHint().width() + pickerGap, _timePicker->sizeHint().width(),
          controlHeight);
    place(*_setDateButton, buttonLeft, buttonSide, buttonSide);
    top += rowHeight;
    placeLabel(*_repeatLabel);
    place(*_repeatSelector, start, std::min(std::max(pickersWidth, widestSelector), buttonLeft - start), controlHeight);
    place(*_setRepeatButton, buttonLeft, buttonSide, buttonSide);
    top += rowHeight;
    placeLabel(*_endDateLabel);
    place(*_endDatePicker, start, _endDatePicker->sizeHint().width(), controlHeight);
    place(*_plusButton, start + FocusRing::room - iconRoom, buttonSide, buttonSide);
    place(*_clearButton, buttonLeft, buttonSide, buttonSide);
}

}  // namespace zun
