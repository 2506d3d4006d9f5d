#include "commands/ReminderFields.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>

#include "ZunDataModel/TextLimits.h"
#include "platform/foundation/ISO8601.h"
#include "text/ChecklistText.h"

namespace zun {
namespace {

constexpr std::uint64_t largestInterval = 999;

std::string lowered(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char c) { return c < 128 ? static_cast<char>(std::tolower(c)) : static_cast<char>(c); });
    return result;
}

std::optional<std::uint64_t> wholeNumber(std::string_view text) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

OptionError notPossible(std::string message) {
    return {std::move(message), false};
}
OptionError wrongUsage(std::string message) {
    return {std::move(message), true};
}

bool isBlank(std::string_view text) {
    return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

// A day without a time means all of it where it ends a series.
OptionalDate endFromText(const std::string& text, const NSTimeZone& zone) {
    const bool isDayAlone = text.size() == 10;
    return dateFromISO8601(isDayAlone ? text + "T23:59:59" : text, zone);
}

// A reminder has either a date or a place.
void becomeDated(ReminderAttributes& attributes) {
    if (!isLocationBased(attributes)) return;
    attributes.locationLatitude = attributes.locationLongitude = 0;
    attributes.locationName.reset();
    attributes.locationActivation = attributes.locationActivationRadius = 0;
    if (attributes.repeat_type == RepeatType::atLocation) attributes.repeat_type = RepeatType::none;
}

std::optional<OptionError> checkCombinations(const ReminderOptions& options, RequiresDate requiresDate) {
    const std::array<std::pair<bool, const char*>, 5> clashes = {{
        {options.notes && options.noNotes, "--notes and --no-notes exclude each other"},
        {options.checklist && options.noChecklist, "--checklist and --no-checklist exclude each other"},
        {options.until && options.noUntil, "--until and --no-until exclude each other"},
        {options.nag && options.noNag, "--nag and --no-nag exclude each other"},
        {options.quiet && options.alerts, "--quiet and --alerts exclude each other"},
    }};
    for (const auto& [clash, message] : clashes) {
        if (clash) return wrongUsage(message);
    }
    const bool namesDate =
        options.date || options.repeat || options.every || options.on || options.until || options.early;
    if (namesDate && options.noDate)
        return wrongUsage("--no-date takes the repeat and the early reminder away with it");
    if (namesDate && !options.date && requiresDate == RequiresDate::Yes) {
        return wrongUsage("--repeat, --every, --on, --until and --early need --date");
    }
    if ((options.every || options.until) && !options.repeat && !options.on && requiresDate == RequiresDate::Yes) {
        return wrongUsage("--every and --until need --repeat or --on");
    }
    return std::nullopt;
}

std::optional<OptionError> readDates(const ReminderOptions& options, const NSTimeZone& zone, ReminderFields& fields) {
    if (options.date && !(fields.date = dateFromISO8601(*options.date, zone))) {
        return notPossible(fmt::format("\"{}\" is not a date.", *options.date));
    }
    if (options.until && !(fields.until = endFromText(*options.until, zone))) {
        return notPossible(fmt::format("\"{}\" is not a date.", *options.until));
    }
    return std::nullopt;
}

std::optional<OptionError> readRepeat(const ReminderOptions& options, ReminderFields& fields) {
    if (options.repeat && !(fields.repeatType = repeatTypeFromText(*options.repeat))) {
        return wrongUsage(fmt::format("\"{}\" is no repeat: none, daily, weekly, monthly or yearly", *options.repeat));
    }
    if (options.every) {
        fields.interval = wholeNumber(*options.every);
        if (!fields.interval || *fields.interval < 1 || *fields.interval > largestInterval) {
            return wrongUsage(fmt::format("\"{}\" is not a number from 1 to {}", *options.every, largestInterval));
        }
    }
    if (options.on) {
        fields.ordinals = dayOrdinalsFromText(*options.on);
        if (!fields.ordinals) return wrongUsage(fmt::format("\"{}\" are not weekdays, such as mon,wed", *options.on));
        if (fields.repeatType) fields.repeatType = RepeatType::weekly;
    }
    if ((fields.interval || fields.until) && fields.repeatType == RepeatType::none) {
        return wrongUsage("--every and --until need a repeat");
    }
    if (options.early && !(fields.early = earlyReminderFromText(*options.early))) {
        return wrongUsage(fmt::format("\"{}\" is not a time ahead, such as 10m, 2h, 1d or 1w", *options.early));
    }
    return std::nullopt;
}

}  // namespace

std::optional<EarlyReminder> earlyReminderFromText(std::string_view text) {
    if (text.size() < 2) return std::nullopt;
    const auto unit = std::string_view("mhdw").find(lowered(text).back());
    const auto amount = wholeNumber(text.substr(0, text.size() - 1));
    if (unit == std::string_view::npos || !amount || *amount < 1 || *amount > largestInterval) return std::nullopt;
    return EarlyReminder{unit + 1, *amount};
}

std::optional<DayOrdinals> dayOrdinalsFromText(std::string_view text) {
    static constexpr std::array<std::string_view, 7> names = {"sunday",   "monday", "tuesday", "wednesday",
                                                              "thursday", "friday", "saturday"};
    DayOrdinals ordinals;
    const auto list = lowered(text);
    for (std::size_t start = 0; start <= list.size();) {
        const auto end = std::min(list.find(',', start), list.size());
        const auto name = std::string_view(list).substr(start, end - start);
        const auto found = std::find_if(names.begin(), names.end(),
                                        [&](std::string_view day) { return name == day || name == day.substr(0, 3); });
        if (found == names.end()) return std::nullopt;
        const int ordinal = static_cast<int>(found - names.begin()) + 1;
        if (std::find(ordinals.begin(), ordinals.end(), ordinal) == ordinals.end()) ordinals.push_back(ordinal);
        start = end + 1;
    }
    return ordinals;
}

std::optional<std::uint64_t> repeatTypeFromText(std::string_view text) {
    static constexpr std::array<std::string_view, 5> names = {"none", "daily", "weekly", "monthly", "yearly"};
    const auto found = std::find(names.begin(), names.end(), lowered(text));
    if (found == names.end()) return std::nullopt;
    return static_cast<std::uint64_t>(found - names.begin());
}

std::variant<ReminderFields, OptionError> readFields(const ReminderOptions& options, const NSTimeZone& zone,
                                                     RequiresDate requiresDate) {
    if (auto error = checkCombinations(options, requiresDate)) return *std::move(error);
    ReminderFields fields;
    if (options.title && isBlank(*options.title)) return notPossible("A reminder needs a title.");
    fields.title = options.title;
    fields.notes = options.notes;
    if (options.checklist) {
        fields.checklist = sanitizeStringForChecklistAndStripSyntax(*options.checklist, StripSyntax::No);
    }
    if (auto error = readDates(options, zone, fields)) return *std::move(error);
    if (auto error = readRepeat(options, fields)) return *std::move(error);
    if (options.nag || options.noNag) fields.nag = options.nag;
    if (options.quiet || options.alerts) fields.suppress = options.quiet;
    fields.clearNotes = options.noNotes;
    fields.clearChecklist = options.noChecklist;
    fields.clearDate = options.noDate;
    fields.clearUntil = options.noUntil;
    return fields;
}

std::optional<OptionError> applyFields(const ReminderFields& fields, ZNReminderObject& reminder) {
    auto attributes = reminder.attributes();
    if (fields.title) attributes.title = *fields.title;
    if (fields.notes) attributes.notes = fields.notes;
    if (fields.clearNotes) attributes.notes.reset();
    if (fields.checklist) attributes.checklist = fields.checklist;
    if (fields.clearChecklist) attributes.checklist.reset();
    if (fields.nag) attributes.naggingNotifications = *fields.nag;
    if (fields.suppress) attributes.shouldSuppressNotifications = *fields.suppress;

    if (fields.clearDate && !isLocationBased(attributes)) {
        attributes.start_date = attributes.due_date = attributes.fire_date = attributes.end_date = std::nullopt;
        attributes.repeat_type = attributes.customRepeatInterval = 0;
        attributes.customRepeatDayOrdinals.reset();
        attributes.earlyReminderType = attributes.earlyReminderInterval = 0;
    }
    if (fields.date) {
        becomeDated(attributes);
        attributes.start_date = attributes.due_date = fields.date;
    }
    if (fields.repeatType) {
        attributes.repeat_type = *fields.repeatType;
        attributes.customRepeatInterval = 0;
        attributes.customRepeatDayOrdinals.reset();
        if (attributes.repeat_type == RepeatType::none) attributes.end_date.reset();
    }
    if (fields.ordinals) {
        attributes.repeat_type = RepeatType::weekly;
        attributes.customRepeatDayOrdinals = fields.ordinals;
        // Weekdays named alone leave the interval as it is.
        attributes.customRepeatInterval = std::max<std::uint64_t>(attributes.customRepeatInterval, 1);
    }
    if (fields.interval) {
        if (attributes.repeat_type == RepeatType::none) return notPossible("The reminder does not repeat.");
        attributes.customRepeatInterval = *fields.interval;
    }
    if (fields.until) attributes.end_date = fields.until;
    if (fields.clearUntil) attributes.end_date.reset();
    if (fields.early) {
        attributes.earlyReminderType = fields.early->type;
        attributes.earlyReminderInterval = fields.early->interval;
    }

    const bool isDated = attributes.start_date.has_value();
    const bool namesRepeat = fields.repeatType.value_or(RepeatType::none) != RepeatType::none || fields.ordinals ||
                             fields.until || fields.early;
    if (namesRepeat && !isDated) return notPossible("The reminder has no date to repeat from or to be early for.");
    if (fields.until && attributes.repeat_type == RepeatType::none) return notPossible("The reminder does not repeat.");
    if ((fields.date || fields.until) && attributes.end_date && *attributes.end_date < *attributes.start_date) {
        return notPossible("The last date lies before the first one.");
    }
    if (fields.date || fields.early) {
        attributes.fire_date = ZNReminderObject(attributes).dateAdjustedForEarlyReminderType(dueDateOf(attributes));
    }
    if (const auto error = textError(attributes)) return error;
    reminder.setAttributes(std::move(attributes));
    return std::nullopt;
}

std::optional<OptionError> textError(const ReminderAttributes& attributes) {
    static_assert(longestReminderText == 1'000'000, "as the sentence says");
    const auto name = tooLongText(attributes);
    if (name.empty()) return std::nullopt;
    const auto* subject = name == "title"       ? "The title is"
                          : name == "notes"     ? "The notes are"
                          : name == "checklist" ? "The checklist is"
                                                : "The name of the place is";
    return notPossible(fmt::format("{} longer than 1,000,000 bytes.", subject));
}

}  // namespace zun
