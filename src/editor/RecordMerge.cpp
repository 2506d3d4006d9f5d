#include "editor/RecordMerge.h"

#include "ZunDataModel/ZNReminderObject.h"

namespace zun {
namespace {

bool isSame(const std::optional<std::string>& left, const std::optional<std::string>& right) {
    return left.value_or(std::string()) == right.value_or(std::string());
}
template <typename T>
bool isSame(const T& left, const T& right) {
    return left == right;
}

template <typename... Members>
bool isTouched(const ReminderAttributes& opened, const ReminderAttributes& edited, Members... members) {
    return (!isSame(opened.*members, edited.*members) || ...);
}

template <typename... Members>
void take(ReminderAttributes& merged, const ReminderAttributes& source, Members... members) {
    ((merged.*members = source.*members), ...);
}

template <typename... Members>
void takeTogether(ReminderAttributes& merged, const ReminderAttributes& opened, const ReminderAttributes& edited,
                  Members... members) {
    if (isTouched(opened, edited, members...)) take(merged, edited, members...);
}

}  // namespace

ReminderAttributes mergeEdits(const ReminderAttributes& opened, const ReminderAttributes& edited,
                              const ReminderAttributes& fresh) {
    using A = ReminderAttributes;
    ReminderAttributes merged = fresh;
    for (const auto& attribute : reminderAttributes())
        std::visit([&](auto member) { takeTogether(merged, opened, edited, member); }, attribute.member);

    takeTogether(merged, opened, edited, &A::repeat_type, &A::customRepeatInterval, &A::customRepeatDayOrdinals);
    takeTogether(merged, opened, edited, &A::locationName, &A::locationLatitude, &A::locationLongitude,
                 &A::locationActivation, &A::locationActivationRadius);
    const bool setsAlert = isTouched(opened, edited, &A::earlyReminderType, &A::earlyReminderInterval);
    takeTogether(merged, opened, edited, &A::earlyReminderType, &A::earlyReminderInterval);
    if (isTouched(opened, edited, &A::start_date)) {
        take(merged, edited, &A::start_date, &A::due_date, &A::fire_date);
    } else if (setsAlert || isTouched(opened, edited, &A::fire_date)) {
        take(merged, fresh, &A::start_date, &A::due_date);
        const ZNReminderObject asMerged(merged);
        merged.fire_date = asMerged.dateAdjustedForEarlyReminderType(asMerged.onGetDueDate());
    }
    if (merged.repeat_type == RepeatType::none) merged.end_date.reset();
    return merged;
}

ReminderAttributes asNewRecord(ReminderAttributes attributes) {
    const ReminderAttributes blank;
    using A = ReminderAttributes;
    take(attributes, blank, &A::reminderID, &A::rank, &A::completed_date, &A::didPersistToiCloud, &A::hasLocalChanges,
         &A::shouldDeleteRemote, &A::shareURL, &A::shareParticipantsCanEdit, &A::sharedZoneID);
    return attributes;
}

}  // namespace zun
