// Any bytes as a title: a phrase lies between characters, and what was read of it can be stored, repeated and
// described.

#include <unicode/utf8.h>

#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "support/TemporaryFolder.h"
#include "support/TestEnvironment.h"
#include "text/QuickEntry.h"

namespace {

void require(bool holds) {
    if (!holds) std::abort();
}

struct World {
    World(const char* locale, const char* language, const char* zone) : strings({language}) {
        environment.setLocale({locale, {language}});
        environment.setTimeZone(zone);
    }
    zun::TestEnvironment environment;
    zun::TemporaryFolder folder;
    zun::ZNUserDefaults defaults{folder.path()};
    zun::ZNSettingsObject settings{defaults, nullptr, nullptr};
    zun::LocalizedStrings strings;
    zun::QuickEntryReader reader{environment, settings, strings};
};

void checkRepeat(const zun::QuickEntry& entry) {
    require(entry.repeat_type <= zun::RepeatType::yearly && entry.customRepeatInterval <= 999);
    if (entry.repeat_type == 0) require(entry.customRepeatInterval == 0 && !entry.end_date);
    if (!entry.customRepeatDayOrdinals) return;
    require(entry.repeat_type == zun::RepeatType::weekly && entry.customRepeatInterval >= 1);
    require(!entry.customRepeatDayOrdinals->empty() && entry.customRepeatDayOrdinals->size() <= 7);
}

bool isText(std::string_view text) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    const auto size = static_cast<int64_t>(text.size());
    for (int64_t at = 0; at < size;) {
        UChar32 character = 0;
        U8_NEXT(bytes, at, size, character);
        if (character < 0) return false;
    }
    return true;
}

void check(const World& world, std::string_view title) {
    const auto entry = world.reader.read(title);
    if (!entry) return;
    require(entry->phraseLength > 0 && entry->phraseStart + entry->phraseLength <= title.size());
    if (isText(title)) require(isText(title.substr(0, entry->phraseStart)) && isText(entry->title));
    require(isText(title.substr(entry->phraseStart, entry->phraseLength)));
    require(!entry->title.empty() && entry->title.size() <= title.size());
    require(entry->start_date >= world.environment.now());
    require(!entry->end_date || *entry->end_date >= entry->start_date);
    checkRepeat(*entry);
    require(!world.reader.description(*entry).empty());
    zun::ZNReminderObject reminder;
    world.reader.apply(*entry, reminder);
    require(reminder.fire_date() == entry->start_date);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const World worlds[] = {{"en_US", "en", "America/New_York"}, {"de_DE", "de", "Europe/Berlin"}};
    for (const auto& world : worlds)
        check(world, {reinterpret_cast<const char*>(data), size});
    return 0;
}
