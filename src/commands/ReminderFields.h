#pragma once

// The fields that a command line names for a new or an existing reminder: read from text, checked, and applied as the
// editor would.

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "ZunDataModel/ZNReminderObject.h"
#include "platform/foundation/NSDate.h"
#include "platform/foundation/NSTimeZone.h"

namespace zun {

// As typed; nothing is checked yet. An option that was not given is empty.
struct ReminderOptions {
    std::optional<std::string> title, notes, checklist, date, repeat, every, on, until, early;
    bool nag = false, noNag = false;
    bool quiet = false, alerts = false;
    bool parse = false;  // the title may say when
    bool noNotes = false, noChecklist = false, noDate = false, noUntil = false;
};

struct EarlyReminder {
    std::uint64_t type = 0;      // earlyReminderType
    std::uint64_t interval = 0;  // earlyReminderInterval
};

// The same, read and checked against each other.
struct ReminderFields {
    std::optional<std::string> title, notes, checklist;
    OptionalDate date, until;
    std::optional<std::uint64_t> repeatType, interval;
    std::optional<DayOrdinals> ordinals;
    std::optional<EarlyReminder> early;
    std::optional<bool> nag, suppress;
    bool clearNotes = false, clearChecklist = false, clearDate = false, clearUntil = false;
};

// What is wrong with the options, as one sentence; `isUsage` tells words that no reminder could be given from a date
// that is none and from what this reminder cannot have.
struct OptionError {
    std::string message;
    bool isUsage = false;
};

enum class RequiresDate { No, Yes };

// Reads dates in `zone` where they carry no offset. With RequiresDate::Yes the repeat, its end and the early warning
// need --date in the same call, and the end and the interval a repeat, as for a reminder that has none yet.
[[nodiscard]] std::variant<ReminderFields, OptionError> readFields(const ReminderOptions& options,
                                                                   const NSTimeZone& zone, RequiresDate requiresDate);

// Writes the named fields onto the reminder and leaves the others. A snooze stays unless the date or the early warning
// is named. An error if the result cannot stand (a repeat on a reminder without a date); the reminder is then
// unchanged.
[[nodiscard]] std::optional<OptionError> applyFields(const ReminderFields& fields, ZNReminderObject& reminder);

// An error if one of the texts is longer than a reminder's may be.
[[nodiscard]] std::optional<OptionError> textError(const ReminderAttributes& attributes);

// "10m", "2h", "1d", "1w".
[[nodiscard]] std::optional<EarlyReminder> earlyReminderFromText(std::string_view text);
// "mon,wed": weekday names in English, three letters or whole, any case; in the order given, each once.
[[nodiscard]] std::optional<DayOrdinals> dayOrdinalsFromText(std::string_view text);
// "none", "daily", "weekly", "monthly", "yearly".
[[nodiscard]] std::optional<std::uint64_t> repeatTypeFromText(std::string_view text);

}  // namespace zun
