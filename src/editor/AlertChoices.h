#pragma once

// What the alert popover shows and writes: how far ahead of its date a reminder alerts. The presets are known by unit
// and number together, so 60 minutes are a choice of the user's own and not "1 hour before". Main thread.

#include <string_view>

#include "ZunDataModel/ZNReminderObject.h"

namespace zun {

// What steppers of the editor's popovers can say. A typed text counts by the whole number it begins with, else as 0.
[[nodiscard]] std::uint64_t clippedInterval(std::uint64_t value);
[[nodiscard]] std::uint64_t intervalFromText(std::string_view text);

class AlertChoices {
  public:
    static constexpr int customRow = 5;
    static constexpr int unitRows = 4;

    // Selects the row that the reminder has now. The reminder outlives this.
    explicit AlertChoices(ZNReminderObject& reminder);

    [[nodiscard]] int row() const { return _row; }
    [[nodiscard]] bool isCustom() const { return _row == customRow; }
    [[nodiscard]] std::uint64_t interval() const { return _interval; }
    [[nodiscard]] int unitRow() const { return _unitRow; }
    // The key of a unit's name, in the singular or plural that the number asks for.
    [[nodiscard]] std::string_view unitKey(int row) const;
    [[nodiscard]] static std::string_view rowKey(int row);
    [[nodiscard]] int popoverHeight() const { return isCustom() ? 214 : 180; }

    // Each writes the reminder's early reminder.
    void selectRow(int row);
    void setInterval(std::uint64_t interval);
    void selectUnitRow(int row);

  private:
    void write();
    void configureFields();

    ZNReminderObject& _reminder;
    int _row;
    std::uint64_t _interval = 1;
    int _unitRow = 0;
};

[[nodiscard]] int rowForEarlyReminderType(std::uint64_t type, std::uint64_t interval);

}  // namespace zun
