#pragma once

// The editor's rows about the date: the switch, day and time, repeat, end. It shows what the model holds and hands what
// the user does to the model; the editor hears that something changed and updates everything. Owned by the editor. Main
// thread.

#include "editor/EditorContext.h"
#include "editor/EditorModel.h"
#include "toolkit/ZNButton.h"
#include "toolkit/ZNDatePicker.h"
#include "toolkit/ZNPopupCalendarView.h"

class QLabel;

namespace zun {

class ZNPopUpButton;
class ZNSwitch;

class DateSection final : public ZNView {
    Q_OBJECT
  public:
    enum class ShouldAnimate { No, Yes };

    DateSection(const EditorContext& context, EditorModel& model, QWidget* parent);
    ~DateSection() override;

    void updateViewsForReminder(EditorModel::Segment segment);
    void configureAccessibilityValues();
    // The zone or the region is another now.
    void surroundingsDidChange();
    [[nodiscard]] bool showsCalendar() const { return _calendarPopout->isVisible() || _endDateCalendar->isVisible(); }
    // Its field keeps the keys.
    void hideCalendars();

    [[nodiscard]] ZNButton& onADateLabel() const { return *_onADateLabel; }
    [[nodiscard]] ZNSwitch& dateToggle() const { return *_dateToggle; }
    [[nodiscard]] ZNDatePicker& datePicker() const { return *_datePicker; }
    [[nodiscard]] ZNDatePicker& timePicker() const { return *_timePicker; }
    [[nodiscard]] ZNButton& setDateButton() const { return *_setDateButton; }
    [[nodiscard]] ZNPopUpButton& repeatSelector() const { return *_repeatSelector; }
    [[nodiscard]] ZNButton& setRepeatButton() const { return *_setRepeatButton; }
    [[nodiscard]] ZNDatePicker& endDatePicker() const { return *_endDatePicker; }
    [[nodiscard]] ZNButton& plusButton() const { return *_plusButton; }
    [[nodiscard]] ZNButton& clearButton() const { return *_clearButton; }
    [[nodiscard]] ZNPopupCalendarView& calendarPopout() const { return *_calendarPopout; }
    [[nodiscard]] ZNPopupCalendarView& endDateCalendar() const { return *_endDateCalendar; }
    [[nodiscard]] QLabel& endDateLabel() const { return *_endDateLabel; }

  signals:
    // The record was written.
    void didChange(zun::DateSection::ShouldAnimate animated);

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    [[nodiscard]] QString text(std::string_view key) const;
    ZNButton* makeButton(const char* icon, std::string_view tooltipKey);
    QLabel* makeLabel(std::string_view key);
    void prepareDateRows();
    void prepareRepeatRows();
    void connectViews();
    void connectPickers();
    void toggleDateOptionsWithVisibility(bool visible);
    void didSelectDayFromPicker();
    void didSelectDayFromCalendar();
    void didSelectEndDay();
    void datePickerDidBecomeActive(ZNDatePicker& picker);
    void addEndDate();

    EditorContext _with;
    EditorModel& _model;
    QLabel* _onADateText;
    ZNButton* _onADateLabel;
    ZNSwitch* _dateToggle;
    QLabel* _dateLabel;
    ZNDatePicker* _datePicker;
    ZNDatePicker* _timePicker;
    ZNButton* _setDateButton;
    ZNPopupCalendarView* _calendarPopout;
    QLabel* _repeatLabel;
    ZNPopUpButton* _repeatSelector;
    ZNButton* _setRepeatButton;
    QLabel* _endDateLabel;
    ZNDatePicker* _endDatePicker;
    ZNPopupCalendarView* _endDateCalendar;
    ZNButton* _plusButton;
    ZNButton* _clearButton;
};

}  // namespace zun
