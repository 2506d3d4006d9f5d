#pragma once

// What the editor's controls do to the record, and which of them are to be seen: everything about the editor that can
// be decided without a widget. Each operation writes straight into the record that it was given; nothing here stores.
//
//   the date        is on exactly when there is a start date; switching it off also drops repeat, end and early alert
//   the repeat      row and repeat_type are the same number; row 5 is a custom one
//   the type        follows the latitude when the editor opens, then the switch; switching drops the other type's data
//
// Main thread. The collaborators outlive the model.

#include <array>
#include <string>

#include "ZunDataModel/ZNReminderObject.h"
#include "dates/ZNDateHelper.h"
#include "platform/foundation/LocalizedStrings.h"
#include "settings/ZNSettingsObject.h"
#include "text/ZNReminderHelper.h"

namespace zun {

class EditorModel {
  public:
    struct Collaborators {
        const Environment& environment;
        const LocalizedStrings& strings;
        const ZNSettingsObject& settings;
    };
    enum class ReminderType { Date = 0, Location = 1 };
    enum class Segment { Notes = 0, Checklist = 1 };

    static constexpr int customRepeatRow = 5;
    static constexpr std::uint64_t minimumActivationDistanceInMeters = 150;

    // Null makes a fresh record.
    EditorModel(const Collaborators& collaborators, ReminderPtr reminder);

    [[nodiscard]] ZNReminderObject& reminder() const { return *_reminder; }
    [[nodiscard]] const ReminderPtr& reminderPtr() const { return _reminder; }
    [[nodiscard]] bool isNew() const { return !_reminder->reminderID().has_value(); }
    [[nodiscard]] ReminderType activeReminderType() const { return _type; }
    // The record was replaced as a whole.
    void adoptTypeOfRecord();

    // The date. What the pickers show while there is none is tomorrow at the morning hour.
    [[nodiscard]] NSDate defaultDate() const;
    [[nodiscard]] NSDate shownDate() const { return _reminder->start_date().value_or(defaultDate()); }
    void toggleDateOptionsWithVisibility(bool visible);
    void onClearDate();
    void didSelectDate(NSDate date);
    void didChangeDateSettings();
    void didChangeNotificationSetting(bool shouldNotify) { _reminder->setShouldSuppressNotifications(!shouldNotify); }
    void didChangeNagSetting(bool shouldNag) { _reminder->setNaggingNotifications(shouldNag); }

    // The repeat.
    void onToggleRepeat(int row);
    void updateEndDateForRepeat();
    [[nodiscard]] int rowForRepeatType() const;
    [[nodiscard]] std::array<std::string, 6> repeatRows() const;

    // The end date.
    [[nodiscard]] NSDate shownEndDate() const { return _reminder->end_date().value_or(_with.environment.now()); }
    void addEndDate() { _reminder->setEnd_date(_with.environment.now()); }
    void setEndDate(NSDate date) { _reminder->setEnd_date(date); }
    void clearEndDate() { _reminder->setEnd_date(std::nullopt); }

    // The place.
    void toggleReminderType();
    void onToggleLocationRepeat(bool repeats) { _reminder->setRepeat_type(repeats ? RepeatType::atLocation : 0); }
    void onChangeLocationActivation(int row) { _reminder->setLocationActivation(row != 0 ? 1 : 0); }
    [[nodiscard]] int locationActivationRow() const { return _reminder->locationActivation() != 0 ? 1 : 0; }
    [[nodiscard]] bool repeatsAtLocation() const { return _reminder->repeat_type() == RepeatType::atLocation; }
    [[nodiscard]] std::string locationText() const;

    // Whether it can be saved: it has a title, and a place if it is to have one.
    [[nodiscard]] bool isValid() const;
    [[nodiscard]] Segment initialSegment() const;

    struct VisibleControls {
        bool notes, checklist, dateSection, locationSection, dateRows, endDateLabel, endDatePicker, plusButton,
            clearButton, endDatePickerEnabled;
        bool operator==(const VisibleControls&) const = default;
    };
    [[nodiscard]] VisibleControls visibleControls(Segment segment) const;
    // Logical pixels.
    [[nodiscard]] int dateContainerHeight() const;
    [[nodiscard]] int onADateLabelHeight() const { return _type == ReminderType::Location ? 0 : 44; }

  private:
    Collaborators _with;
    ZNReminderHelper _texts;
    ReminderPtr _reminder;
    ReminderType _type = ReminderType::Date;
};

}  // namespace zun
