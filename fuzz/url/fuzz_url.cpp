// Any bytes as a URL: the block is called once or twice, and a reminder that comes out of it can be stored and shown.

#include <unicode/utf8.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "text/URLIntake.h"

namespace {

void require(bool holds) {
    if (!holds) std::abort();
}

bool isText(const std::optional<std::string>& text) {
    if (!text) return true;
    const auto* bytes = reinterpret_cast<const uint8_t*>(text->data());
    const auto size = static_cast<int64_t>(text->size());
    for (int64_t at = 0; at < size;) {
        UChar32 character = 0;
        U8_NEXT(bytes, at, size, character);
        if (character <= 0) return false;
    }
    return true;
}

void checkReminder(const zun::ReminderAttributes& reminder) {
    require(!reminder.title.empty() && isText(reminder.title));
    require(isText(reminder.notes) && isText(reminder.checklist) && isText(reminder.locationName));
    require(reminder.repeat_type <= 6 && reminder.earlyReminderType <= 4);
    require(reminder.customRepeatInterval <= 999 && reminder.earlyReminderInterval <= 999);
    require(reminder.locationActivationRadius <= INT64_MAX && reminder.locationActivation <= INT64_MAX);
    require(std::abs(reminder.locationLatitude) <= 90 && std::abs(reminder.locationLongitude) <= 180);
    require(reminder.start_date == reminder.due_date && reminder.due_date == reminder.fire_date);
    if (reminder.customRepeatDayOrdinals) {
        require(!reminder.customRepeatDayOrdinals->empty() && reminder.customRepeatDayOrdinals->size() <= 7);
        require(reminder.repeat_type == 2);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // Half of the inputs get the scheme for free, to reach the parameters sooner.
    std::string url(reinterpret_cast<const char*>(data), size);
    if (size % 2 == 0) url.insert(0, "zun.create://");

    int calls = 0;
    int reminders = 0;
    zun::reminderFromURL(url, [&](bool, const zun::ReminderPtr& reminder, const zun::URLIntakeError* error) {
        ++calls;
        require((reminder == nullptr) == (error != nullptr));
        if (!reminder) return;
        ++reminders;
        checkReminder(reminder->attributes());
    });
    require(calls == 1 || (calls == 2 && reminders == 0));
    return 0;
}
