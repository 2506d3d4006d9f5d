#pragma once

// Reminders from URLs: zun.create://<title>?<name>=<value>&<name>=<value>...
//
// Read from the raw text by these rules.
//
// No URL at all is a text with another scheme (compared without case) or without "//" after it, one that holds a blank,
// a control character or a "%" without two hexadecimal digits behind it, and one above maximumURLSize.
//
// The title runs up to the first "/", "?" or "#"; "@" and ":" in it mean nothing special. A path is passed over, and
// the query ends at "#".
//
// Percent encoding gives UTF-8; what is no UTF-8, and a NUL, reads as U+FFFD. "+" stays a plus.
//
// Integers read like strtoll: leading blanks, a sign, digits, the rest is ignored; no digits are 0. Negative ones count
// as 0. Intervals stop at 999, an unknown repeat_type or earlyReminderType is 0, an ordinal outside 1 to 7 or one that
// was there before is dropped. Coordinates that are no number or lie outside the globe count as absent.
//
// Pure functions, any thread; a title of a megabyte takes some milliseconds. Touches no store: what becomes of the
// reminder is up to the block.

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "ZunDataModel/ZNReminderObject.h"

namespace zun {

inline constexpr std::size_t maximumURLSize = 8u << 20;

// Why there is no reminder. The texts are English and not meant for the user's eyes: they go to the log.
struct URLIntakeError {
    std::string_view domain = "znZunErrorDomainReminders";
    int code = 1900;
    std::string_view localizedDescription = "Unable to create reminder";
    std::string_view localizedFailureReason;
    std::string_view localizedRecoverySuggestion;
};

// Gets the wish for the editor and the reminder, or no reminder and the error.
using URLIntakeBlock =
    std::function<void(bool shouldShowEditor, const ReminderPtr& reminder, const URLIntakeError* error)>;

// Calls the block before it returns: once, or twice for a text that is no URL, first for that and then for the missing
// title.
void reminderFromURL(std::string_view url, const URLIntakeBlock& withCompletion);

// The decoded value of one parameter; empty if it is missing or has no value. "?name=" is looked for before "&name=",
// and with several of the form found the last one counts. A backslash and an "n" in the checklist ("c") become a line
// break.
[[nodiscard]] std::optional<std::string> stringForQueryParam(std::string_view name, std::string_view withURL);

// "2,4" as weekdays; empty without any.
[[nodiscard]] std::optional<DayOrdinals> dayOrdinalsFromString(std::string_view string);

// The line that the log gets for a failed intake; the error may be null.
[[nodiscard]] std::string urlIntakeLogLine(const URLIntakeError* error);

}  // namespace zun
