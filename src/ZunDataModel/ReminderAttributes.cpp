#include "ZunDataModel/ReminderAttributes.h"

namespace zun {

const std::array<AttributeDescription, 31>& reminderAttributes() {
    using A = ReminderAttributes;
    static const std::array<AttributeDescription, 31> all{{
        {"reminderID", &A::reminderID},
        {"title", &A::title},
        {"notes", &A::notes},
        {"checklist", &A::checklist},
        {"created_date", &A::created_date},
        {"modified_date", &A::modified_date},
        {"completed_date", &A::completed_date},
        {"start_date", &A::start_date},
        {"due_date", &A::due_date},
        {"fire_date", &A::fire_date},
        {"end_date", &A::end_date},
        {"repeat_type", &A::repeat_type},
        {"customRepeatInterval", &A::customRepeatInterval},
        {"customRepeatDayOrdinals", &A::customRepeatDayOrdinals},
        {"earlyReminderType", &A::earlyReminderType},
        {"earlyReminderInterval", &A::earlyReminderInterval},
        {"snoozeCount", &A::snoozeCount},
        {"naggingNotifications", &A::naggingNotifications},
        {"shouldSuppressNotifications", &A::shouldSuppressNotifications},
        {"locationLatitude", &A::locationLatitude},
        {"locationLongitude", &A::locationLongitude},
        {"locationName", &A::locationName},
        {"locationActivation", &A::locationActivation},
        {"locationActivationRadius", &A::locationActivationRadius},
        {"rank", &A::rank},
        {"didPersistToiCloud", &A::didPersistToiCloud},
        {"hasLocalChanges", &A::hasLocalChanges},
        {"shouldDeleteRemote", &A::shouldDeleteRemote},
        {"shareURL", &A::shareURL},
        {"shareParticipantsCanEdit", &A::shareParticipantsCanEdit},
        {"sharedZoneID", &A::sharedZoneID},
    }};
    return all;
}

}  // namespace zun
