#pragma once

// What the repeat popover shows and writes: every so many days, weeks, months or years, weeks also on certain weekdays.
// It writes straight into the reminder, and opening it already does: a repeat that was only marked as a custom one
// becomes every 2 days, none becomes every day. Main thread.

#include <string_view>
#include <vector>

#include "ZunDataModel/ZNReminderObject.h"
#include "dates/RepeatEngine.h"

namespace zun {

class RepeatChoices {
  public:
    static constexpr int unitRows = 4;

    // Writes what opening means. Both outlive this.
    RepeatChoices(ZNReminderObject& reminder, const Environment& environment);

    [[nodiscard]] std::uint64_t interval() const;
    [[nodiscard]] int unitRow() const;
    // The key of a unit's name, in the singular or plural that the number asks for.
    [[nodiscard]] std::string_view unitKey(int row) const;
    // 1 Sunday to 7 Saturday.
    [[nodiscard]] bool isDaySelected(int ordinal) const;
    // The occurrence after now; absent while the reminder has no date.
    [[nodiscard]] OptionalDate nextAlertDate() const;

    void onRepeatOptionsChange(std::uint64_t interval, int unitRow);
    void onChangeDays(int ordinal, bool isOn);

  private:
    void updateViewsForReminder();

    ZNReminderObject& _reminder;
    const Environment& _environment;
    RepeatEngine _engine;
    DayOrdinals _selectedDayOrdinals;
};

}  // namespace zun
