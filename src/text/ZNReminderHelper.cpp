#include "text/ZNReminderHelper.h"

namespace zun {

std::string ZNReminderHelper::format(std::string_view key, std::string_view argument) const {
    return stringWithFormat(_strings.string(key), {argument});
}

std::string ZNReminderHelper::subtitleStringForReminder(const ZNReminderObject& reminder) const {
    return subtitle(reminder.attributes());
}

std::string ZNReminderHelper::dateStringForReminder(const ZNReminderObject& reminder) const {
    return dateString(reminder.attributes());
}

std::string ZNReminderHelper::dateStringFromCompletionDate(const ZNReminderObject& reminder) const {
    const auto completed = reminder.completed_date();
    return completed ? _labels.dateAsRelativeString(*completed) : std::string();
}

std::string ZNReminderHelper::subtitle(const ReminderAttributes& attributes) const {
    if (!isLocationBased(attributes)) return dateString(attributes);
    return format(attributes.locationActivation == 0 ? "Location_Arriving_Format" : "Location_Leaving_Format",
                  attributes.locationName.value_or(""));
}

std::string ZNReminderHelper::dateString(const ReminderAttributes& attributes) const {
    const auto relative = [&](OptionalDate date) { return date ? _labels.dateAsRelativeString(*date) : std::string(); };
    if (isSnoozed(attributes)) return format("Reminder_Due_Format", relative(attributes.fire_date));
    if (attributes.completed_date) return format("Reminder_Completed_Format", relative(attributes.completed_date));
    if (!attributes.start_date) return format("Reminder_Open_Ended", relative(attributes.created_date));
    return format("Reminder_Due_Format", relative(dueDateOf(attributes)));
}

std::string ZNReminderHelper::reminderAsString(const ZNReminderObject& reminder) const {
    const auto attributes = reminder.attributes();
    std::string text = attributes.title;
    const auto append = [&](std::string_view line) { text.append("\n").append(line); };

    if (const auto due = dueDateOf(attributes)) {
        append(format("Reminder_Due_Format", _labels.dateAsShortStringWithWeekdayDayMonthYear(*due)));
    }
    if (attributes.locationName) append(subtitle(attributes));
    if (attributes.notes && !attributes.notes->empty()) append(*attributes.notes);
    if (const auto checklist = formattedChecklistString(attributes.checklist, ShouldUseMarkdownFormatting::Yes)) {
        append(*checklist);
    }
    if (attributes.repeat_type != RepeatType::none) {
        append(stringForRepeatType(attributes.repeat_type, attributes.customRepeatInterval,
                                   attributes.customRepeatDayOrdinals, ShowOrdinals::Yes));
    }
    if (attributes.end_date) {
        append(_strings.string("Card_EndDate_Label_Mac") + " " +
               _labels.dateAsShortStringWithWeekdayDayMonthYear(*attributes.end_date));
    }
    return text;
}

std::optional<std::string> ZNReminderHelper::formattedChecklistString(
    const std::optional<std::string>& checklist, ShouldUseMarkdownFormatting shouldUseMarkdownFormatting) {
    if (!checklist || trimmedOfLineEnds(*checklist).empty()) return std::nullopt;
    const bool markdown = shouldUseMarkdownFormatting == ShouldUseMarkdownFormatting::Yes;
    std::string text;
    for (const auto& item : checklistItems(*checklist)) {
        if (!text.empty()) text += '\n';
        text.append(markdown ? "- " : "")
            .append(item.isDone ? "[x]" : "[ ]")
            .append(markdown ? " " : "")
            .append(item.text);
    }
    return text;
}

std::string ZNReminderHelper::stringForRepeatType(std::uint64_t type) const {
    switch (type) {
        case RepeatType::daily:
            return _strings.string("Repeat_Daily");
        case RepeatType::weekly:
            return _strings.string("Repeat_Weekly");
        case RepeatType::monthly:
            return _strings.string("Repeat_Monthly");
        case RepeatType::yearly:
            return _strings.string("Repeat_Yearly");
        default:
            return _strings.string("Repeat_None");
    }
}

std::string ZNReminderHelper::stringForRepeatType(std::uint64_t type, std::uint64_t withCustomInterval) const {
    const bool plural = withCustomInterval >= 2;
    switch (type) {
        case RepeatType::daily:
            return _strings.string(plural ? "Days_Plural" : "Days_Singular");
        case RepeatType::weekly:
            return _strings.string(plural ? "Weeks_Plural" : "Weeks_Singular");
        case RepeatType::monthly:
            return _strings.string(plural ? "Months_Plural" : "Months_Singular");
        case RepeatType::yearly:
            return _strings.string(plural ? "Years_Plural" : "Years_Singular");
        default:
            return {};
    }
}

std::string ZNReminderHelper::stringForRepeatType(std::uint64_t type, std::uint64_t withCustomInterval,
                                                  const std::optional<DayOrdinals>& withDayOrdinals,
                                                  ShowOrdinals showOrdinals, UseShortStrings useShortStrings) const {
    auto unit = stringForRepeatType(type, withCustomInterval);
    if (withCustomInterval >= 2) unit = stringWithFormat("%lu %@", {std::to_string(withCustomInterval), unit});
    std::string names;
    if (withDayOrdinals && showOrdinals == ShowOrdinals::Yes) {
        const auto symbols = _labels.formatter().standaloneWeekdaySymbols(useShortStrings);
        for (const int ordinal : *withDayOrdinals) {
            // Records of other devices and of older stores may hold anything.
            if (ordinal < 1 || static_cast<std::size_t>(ordinal) > symbols.size()) continue;
            names.append(names.empty() ? "" : ", ").append(symbols[static_cast<std::size_t>(ordinal) - 1]);
        }
    }
    if (names.empty()) return format("Custom_Repeat_Format_Without_Ordinals_Capitalized", unit);
    return stringWithFormat(_strings.string("Custom_Repeat_Format_With_Ordinals_Capitalized"), {unit, names});
}

}  // namespace zun
