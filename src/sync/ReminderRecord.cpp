#include "sync/ReminderRecord.h"

#include <cmath>
#include <string>

#include "ZunDataModel/ZNReminderObject.h"

namespace zun {

namespace {

// Attributes that a record holds under their own names, in the order of its fields, which makes each quick to add. The
// four with a rule of their own are written out below.
constexpr std::tuple plainFields{
    std::pair{"checklist", &ReminderAttributes::checklist},
    std::pair{"completed_date", &ReminderAttributes::completed_date},
    std::pair{"created_date", &ReminderAttributes::created_date},
    std::pair{"customRepeatDayOrdinals", &ReminderAttributes::customRepeatDayOrdinals},
    std::pair{"customRepeatInterval", &ReminderAttributes::customRepeatInterval},
    std::pair{"earlyReminderInterval", &ReminderAttributes::earlyReminderInterval},
    std::pair{"earlyReminderType", &ReminderAttributes::earlyReminderType},
    std::pair{"end_date", &ReminderAttributes::end_date},
    std::pair{"fire_date", &ReminderAttributes::fire_date},
    std::pair{"locationActivation", &ReminderAttributes::locationActivation},
    std::pair{"locationActivationRadius", &ReminderAttributes::locationActivationRadius},
    std::pair{"locationLatitude", &ReminderAttributes::locationLatitude},
    std::pair{"locationLongitude", &ReminderAttributes::locationLongitude},
    std::pair{"locationName", &ReminderAttributes::locationName},
    std::pair{"modified_date", &ReminderAttributes::modified_date},
    std::pair{"naggingNotifications", &ReminderAttributes::naggingNotifications},
    std::pair{"notes", &ReminderAttributes::notes},
    std::pair{"rank", &ReminderAttributes::rank},
    std::pair{"repeat_type", &ReminderAttributes::repeat_type},
    std::pair{"shareParticipantsCanEdit", &ReminderAttributes::shareParticipantsCanEdit},
    std::pair{"shareURL", &ReminderAttributes::shareURL},
    std::pair{"shouldSuppressNotifications", &ReminderAttributes::shouldSuppressNotifications},
    std::pair{"snoozeCount", &ReminderAttributes::snoozeCount},
    std::pair{"start_date", &ReminderAttributes::start_date},
    std::pair{"title", &ReminderAttributes::title},
};

constexpr std::string_view keyOfIdentifier = "reminderID";
constexpr std::string_view keyOfDueDate = "due_date";
constexpr std::string_view keyOfIsSnoozed = "isSnoozed";
constexpr std::string_view keyOfDidPersist = "didPersistToiCloud";
constexpr std::size_t numberOfFields = 29;
static_assert(std::tuple_size_v<decltype(plainFields)> + 4 == numberOfFields);

template <typename Function>
void forEachPlainField(Function function) {
    std::apply([&](const auto&... field) { (function(field.first, field.second), ...); }, plainFields);
}

using FieldValue = std::optional<CKRecordValue>;

FieldValue fieldOf(const std::string& text) {
    return CKRecordValue(text);
}
FieldValue fieldOf(std::uint64_t number) {
    return CKRecordValue(number);
}
FieldValue fieldOf(std::int64_t number) {
    return CKRecordValue(number);
}
FieldValue fieldOf(double number) {
    // Such a number cannot travel, and no place is there.
    return CKRecordValue(std::isfinite(number) ? number : 0.0);
}
FieldValue fieldOf(bool yes) {
    return CKRecordValue(yes);
}
FieldValue fieldOf(NSDate date) {
    return CKRecordValue(date);
}
FieldValue fieldOf(const DayOrdinals& ordinals) {
    CKList list;
    list.reserve(ordinals.size());
    for (const int ordinal : ordinals)
        list.emplace_back(std::int64_t{ordinal});
    return CKRecordValue(std::move(list));
}
template <typename T>
FieldValue fieldOf(const std::optional<T>& value) {
    return value ? fieldOf(*value) : std::nullopt;
}

std::optional<std::int64_t> signedNumber(const CKRecordValue& value) {
    if (const auto* number = std::get_if<std::int64_t>(&value.value)) return *number;
    if (const auto* number = std::get_if<std::uint64_t>(&value.value)) return static_cast<std::int64_t>(*number);
    return std::nullopt;
}

// Reads what is of the wanted type and leaves the attribute alone otherwise.
template <typename T>
void take(const CKRecordValue& value, T& attribute) {
    if (const auto* found = std::get_if<T>(&value.value)) attribute = *found;
}
void take(const CKRecordValue& value, std::int64_t& attribute) {
    if (const auto number = signedNumber(value)) attribute = *number;
}
void take(const CKRecordValue& value, std::uint64_t& attribute) {
    if (const auto number = signedNumber(value)) attribute = static_cast<std::uint64_t>(*number);
}
void take(const CKRecordValue& value, double& attribute) {
    if (const auto* number = std::get_if<double>(&value.value))
        attribute = *number;
    else if (const auto whole = signedNumber(value))
        attribute = static_cast<double>(*whole);
}
void take(const CKRecordValue& value, std::optional<DayOrdinals>& attribute) {
    const auto* list = std::get_if<CKList>(&value.value);
    if (!list) return;
    DayOrdinals ordinals;
    for (const auto& each : *list) {
        const auto number = signedNumber(each);
        if (number && *number >= 1 && *number <= 7) ordinals.push_back(static_cast<int>(*number));
    }
    attribute = std::move(ordinals);
}
template <typename T>
void take(const CKRecordValue& value, std::optional<T>& attribute) {
    if (const auto* found = std::get_if<T>(&value.value)) attribute = *found;
}

}  // namespace

void combineCloudKitRecord(CKRecord& record, const ReminderAttributes& reminder) {
    record.fields.reserve(numberOfFields);
    forEachPlainField([&](const char* key, auto member) { record.setObject(key, fieldOf(reminder.*member)); });
    record.setObject(keyOfIdentifier, fieldOf(reminder.reminderID));
    record.setObject(keyOfDueDate, fieldOf(dueDateOf(reminder)));
    record.setObject(keyOfIsSnoozed, fieldOf(isSnoozed(reminder)));
    // What is in the cloud is there.
    record.setObject(keyOfDidPersist, fieldOf(true));
}

ReminderAttributes reminderWithRecord(const CKRecord& record) {
    ReminderAttributes reminder;
    const auto read = [&](std::string_view key, auto& attribute) {
        if (const auto* value = record.objectForKey(key)) take(*value, attribute);
    };
    forEachPlainField([&](const char* key, auto member) { read(key, reminder.*member); });
    read(keyOfDueDate, reminder.due_date);
    read(keyOfDidPersist, reminder.didPersistToiCloud);
    // The name is what the service goes by; a field that says otherwise must not reach another reminder.
    reminder.reminderID = record.recordID.recordName;
    return reminder;
}

bool differsFromRemoteRecord(const ReminderAttributes& local, const ReminderAttributes& remote) {
    bool differs = dueDateOf(local) != dueDateOf(remote);
    forEachPlainField([&](const char*, auto member) {
        if constexpr (std::is_same_v<decltype(member), OptionalDate ReminderAttributes::*>) {
            if (member == &ReminderAttributes::modified_date) return;
        }
        differs = differs || local.*member != remote.*member;
    });
    return differs;
}

}  // namespace zun
