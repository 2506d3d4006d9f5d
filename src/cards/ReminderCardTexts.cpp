#include "cards/ReminderCardTexts.h"

#include <fmt/format.h>

namespace zun {

std::string ReminderCardTexts::sentence(const ZNReminderObject& reminder, OptionalDate dueDate) const {
    const bool isDated = reminder.start_date().has_value();
    const auto date = isDated ? dueDate : reminder.created_date();
    const auto relative = date ? _labels.dateAsRelativeString(*date) : std::string();
    return stringWithFormat(_strings.string(isDated ? "Reminder_Due_Format" : "Reminder_Open_Ended"), {relative});
}

std::string ReminderCardTexts::dateText(const ZNReminderObject& reminder) const {
    return sentence(reminder, reminder.onGetDueDate());
}

Lateness ReminderCardTexts::lateness(const ZNReminderObject& reminder) const {
    const auto colour = reminder.start_date() ? _labels.colorForDate(reminder.onGetDueDate()) : std::nullopt;
    if (!colour) return Lateness::None;
    if (*colour == "#99c16a") return Lateness::Ahead;
    if (*colour == "#fce57d") return Lateness::Today;
    return *colour == "#ff955b" ? Lateness::Yesterday : Lateness::Older;
}

std::string ReminderCardTexts::accessibilityLabel(const ZNReminderObject& reminder) const {
    // Read aloud, a card tells when it came up; the visible line tells when it was due.
    return fmt::format("{}, {}, {}", sentence(reminder, reminder.fire_date()), reminder.title(),
                       reminder.notes().value_or(""));
}

std::string ReminderCardTexts::topicPictureName(const ZNReminderObject& reminder) const {
    return std::string(_topics.pictureNameForReminder(reminder));
}

}  // namespace zun
