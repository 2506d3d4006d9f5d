#pragma once

// Dates as text for machines and for people who type them: ISO 8601, proleptic Gregorian. Years outside 0001 to 9999,
// which offsets, repeats and early reminders may lead to, have a sign and six digits ("+010000"), so that what is
// written can be read.

#include <optional>
#include <string>
#include <string_view>

#include "platform/foundation/NSDate.h"
#include "platform/foundation/NSTimeZone.h"

namespace zun {

// Reads "2026-02-01T09:00:00+01:00", "...+0100", "...Z", with or without seconds and fractions, or local wall time in
// `zone` where no offset is given ("2026-02-01T09:00", "2026-02-01"). Empty if the text is anything else or no such day
// exists.
[[nodiscard]] OptionalDate dateFromISO8601(std::string_view text, const NSTimeZone& zone);

// Reads exactly "yyyy-MM-dd'T'HH:mm:ssZZZZZ": seconds and an offset ("Z", "+01:00") are required, fractions are not
// read.
[[nodiscard]] OptionalDate dateFromInternetFormat(std::string_view text);

// "2026-02-01T08:00:00Z"; fractions of a second only where there are any, without trailing zeros.
[[nodiscard]] std::string iso8601FromDate(NSDate date);

// "2026-02-01T08:00:00.000Z": always three digits of milliseconds, rounded down.
[[nodiscard]] std::string iso8601WithMillisecondsFromDate(NSDate date);

}  // namespace zun
