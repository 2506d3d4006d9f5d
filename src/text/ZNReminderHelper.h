#pragma once

// A reminder as the short lines of list, calendar and card, and as plain text for the pasteboard. Free of side effects;
// any thread, since each call works on one consistent picture of the reminder.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "ZunDataModel/ZNReminderObject.h"
#include "dates/DateLabels.h"
#include "text/ChecklistText.h"

namespace zun {

enum class ShowOrdinals { No, Yes };

class ZNReminderHelper {
  public:
    // Both must outlive the helper.
    ZNReminderHelper(const Environment& environment, const LocalizedStrings& strings)
        : _strings(strings), _labels(environment, strings) {}

    // Where it will show up (a place), else dateStringForReminder.
    [[nodiscard]] std::string subtitleStringForReminder(const ZNReminderObject& reminder) const;
    // The first that holds: when a snooze ends, when it was completed, when an open-ended one was created, when it is
    // due.
    [[nodiscard]] std::string dateStringForReminder(const ZNReminderObject& reminder) const;
    // Title, due date, place, notes, checklist, repeat and end date, each on lines of its own, absent ones left out.
    [[nodiscard]] std::string reminderAsString(const ZNReminderObject& reminder) const;

    // The completion date as the user reads it, seen from now; empty for an open one.
    [[nodiscard]] std::string dateStringFromCompletionDate(const ZNReminderObject& reminder) const;

    // One line an item, as Markdown or as stored. Empty if there is nothing but line ends.
    [[nodiscard]] static std::optional<std::string> formattedChecklistString(
        const std::optional<std::string>& checklist, ShouldUseMarkdownFormatting shouldUseMarkdownFormatting);

    // "Daily".
    [[nodiscard]] std::string stringForRepeatType(std::uint64_t type) const;
    // The unit's name, "day" or "days"; empty for a type without unit.
    [[nodiscard]] std::string stringForRepeatType(std::uint64_t type, std::uint64_t withCustomInterval) const;
    // "Every 2 weeks on Monday, Friday", the weekdays in the order stored.
    [[nodiscard]] std::string stringForRepeatType(std::uint64_t type, std::uint64_t withCustomInterval,
                                                  const std::optional<DayOrdinals>& withDayOrdinals,
                                                  ShowOrdinals showOrdinals,
                                                  UseShortStrings useShortStrings = UseShortStrings::No) const;

  private:
    [[nodiscard]] std::string format(std::string_view key, std::string_view argument) const;
    [[nodiscard]] std::string subtitle(const ReminderAttributes& attributes) const;
    [[nodiscard]] std::string dateString(const ReminderAttributes& attributes) const;

    const LocalizedStrings& _strings;
    DateLabels _labels;
};

}  // namespace zun
