#pragma once

// A date phrase inside a title, in English or German: "call mum tomorrow at 9", "Müll raus jeden Freitag um 18 Uhr". It
// is only read here; the caller shows what was understood and applies it when the user agrees.
//
// One phrase at most: at the start or the end of the title, or set off in its middle. A word that a title may hold for
// another reason ("May", "Sun", "Meeting 9") is left alone: rather no phrase than a wrong one. Impossible and past
// dates are no phrase, nor is a title of which nothing else would be left.
//
//   a date without a time   the user's morning hour
//   a time without a date   today, or tomorrow if it has passed
//   a date without a year   the next such day
//   a weekday               the next such day; today only if its time lies ahead
//   a series                starts with its first occurrence; a day that ends it counts to its last second
//
// Any thread; keeps nothing between calls. Some tens of microseconds for a usual title; of very long ones only the
// first and last kilobytes are looked at.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "ZunDataModel/ZNReminderObject.h"
#include "platform/foundation/Environment.h"
#include "platform/foundation/LocalizedStrings.h"
#include "platform/foundation/NSDate.h"
#include "settings/ZNSettingsObject.h"

namespace zun {

// What a title says about when.
struct QuickEntry {
    std::string title;            // without the phrase, never blank
    std::size_t phraseStart = 0;  // bytes in the given title (UTF-8), whole characters
    std::size_t phraseLength = 0;
    NSDate start_date{};            // never before now
    std::uint64_t repeat_type = 0;  // RepeatType::none to RepeatType::yearly
    // 0 for a plain repeat; at least 1 with weekdays, at least 2 without.
    std::uint64_t customRepeatInterval = 0;
    std::optional<DayOrdinals> customRepeatDayOrdinals;  // Monday first: 2 to 7, then 1
    OptionalDate end_date;

    bool operator==(const QuickEntry&) const = default;
};

class QuickEntryReader {
  public:
    // All must outlive the reader.
    QuickEntryReader(const Environment& environment, const ZNSettingsObject& settings, const LocalizedStrings& strings)
        : _environment(environment), _settings(settings), _strings(strings) {}

    // Absent if no phrase is recognised with confidence.
    [[nodiscard]] std::optional<QuickEntry> read(std::string_view title) const;
    // Writes title, dates and repeat; the early reminder that is set moves the fire date. A reminder with a place
    // becomes a dated one.
    void apply(const QuickEntry& entry, ZNReminderObject& reminder) const;
    // For the user: "Every 2 weeks on Mon, Fri · from Tue, Mar 3, 9:00 AM".
    [[nodiscard]] std::string description(const QuickEntry& entry) const;

  private:
    const Environment& _environment;
    const ZNSettingsObject& _settings;
    const LocalizedStrings& _strings;
};

}  // namespace zun
