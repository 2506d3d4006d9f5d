#pragma once

// A reader of date phrases in surroundings that a test sets, and what it read as one line.

#include <fmt/format.h>

#include <string>
#include <string_view>

#include "platform/foundation/ISO8601.h"
#include "support/TemporaryFolder.h"
#include "support/TestEnvironment.h"
#include "text/QuickEntry.h"

namespace zun {

// Wednesday the 14th of January 2026, ten in the morning, in Berlin.
class QuickEntryWorld {
  public:
    explicit QuickEntryWorld(const std::string& locale = "en_US", std::string_view zone = "Europe/Berlin",
                             std::string_view now = "2026-01-14T10:00:00")
        : strings({locale.substr(0, 2)}) {
        environment.setLocale({locale, {locale.substr(0, 2)}});
        environment.setTimeZone(zone);
        environment.setNow(now);
    }

    [[nodiscard]] std::string wall(NSDate date) const {
        const auto local = environment.timeZone()->localTime(date);
        const auto day = std::chrono::floor<std::chrono::days>(local);
        const std::chrono::year_month_day ymd{day};
        const auto minutes = std::chrono::floor<std::chrono::minutes>(local - day).count();
        return fmt::format("{}-{:02}-{:02} {:02}:{:02}", static_cast<int>(ymd.year()),
                           static_cast<unsigned>(ymd.month()), static_cast<unsigned>(ymd.day()), minutes / 60,
                           minutes % 60);
    }

    // "title | 2026-03-06 09:00 | weekly 2 on 2 6 | until 2026-06-01 23:59"; "-" for no phrase.
    [[nodiscard]] std::string read(std::string_view title) const {
        const auto entry = reader.read(title);
        return entry ? summary(*entry) : "-";
    }
    [[nodiscard]] std::string summary(const QuickEntry& entry) const {
        static constexpr const char* names[] = {"", "daily", "weekly", "monthly", "yearly"};
        auto text = entry.title + " | " + wall(entry.start_date);
        if (entry.repeat_type) text += fmt::format(" | {}", names[entry.repeat_type]);
        if (entry.customRepeatInterval) text += fmt::format(" {}", entry.customRepeatInterval);
        if (entry.customRepeatDayOrdinals) text += " on";
        for (const int ordinal : entry.customRepeatDayOrdinals.value_or(DayOrdinals{}))
            text += fmt::format(" {}", ordinal);
        if (entry.end_date) text += " | until " + wall(*entry.end_date);
        return text;
    }

    TestEnvironment environment;
    TemporaryFolder folder;
    ZNUserDefaults defaults{folder.path()};
    ZNSettingsObject settings{defaults, nullptr, nullptr};
    LocalizedStrings strings;
    QuickEntryReader reader{environment, settings, strings};
};

}  // namespace zun
