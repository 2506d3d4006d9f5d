#pragma once

// The one list of a record's attributes. Names are exact and the same everywhere: C++, SQL column, predicate key, JSON
// key, cloud record key. ReminderAttributes is the plain value; ZNReminderObject gives it identity, guards and
// observers.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/foundation/Bytes.h"
#include "platform/foundation/NSDate.h"

namespace zun {

// Weekdays, 1 Sunday to 7 Saturday, in the order stored.
using DayOrdinals = std::vector<int>;

struct ReminderAttributes {
    std::optional<std::string> reminderID;  // absent until the record is added
    std::string title;
    std::optional<std::string> notes;
    std::optional<std::string> checklist;
    OptionalDate created_date;
    OptionalDate modified_date;
    OptionalDate completed_date;
    OptionalDate start_date;
    OptionalDate due_date;
    OptionalDate fire_date;
    OptionalDate end_date;
    std::uint64_t repeat_type = 0;
    std::uint64_t customRepeatInterval = 0;
    std::optional<DayOrdinals> customRepeatDayOrdinals;
    std::uint64_t earlyReminderType = 0;
    std::uint64_t earlyReminderInterval = 0;
    std::uint64_t snoozeCount = 0;
    bool naggingNotifications = false;
    bool shouldSuppressNotifications = false;
    double locationLatitude = 0;
    double locationLongitude = 0;
    std::optional<std::string> locationName;
    std::uint64_t locationActivation = 0;
    std::uint64_t locationActivationRadius = 0;
    std::int64_t rank = 0;
    bool didPersistToiCloud = false;
    bool hasLocalChanges = false;
    std::optional<bool> shouldDeleteRemote;
    std::optional<std::string> shareURL;
    bool shareParticipantsCanEdit = false;
    std::optional<Bytes> sharedZoneID;

    bool operator==(const ReminderAttributes&) const = default;
};

// A pointer to one member, typed; what generic code (SQL, JSON, fuzzing) walks.
using AttributeMember =
    std::variant<std::string ReminderAttributes::*, std::optional<std::string> ReminderAttributes::*,
                 OptionalDate ReminderAttributes::*, std::uint64_t ReminderAttributes::*,
                 std::int64_t ReminderAttributes::*, double ReminderAttributes::*, bool ReminderAttributes::*,
                 std::optional<bool> ReminderAttributes::*, std::optional<DayOrdinals> ReminderAttributes::*,
                 std::optional<Bytes> ReminderAttributes::*>;

struct AttributeDescription {
    std::string_view name;
    AttributeMember member;
};

// In the order of the table above, which is the order of columns and JSON keys.
[[nodiscard]] const std::array<AttributeDescription, 31>& reminderAttributes();

}  // namespace zun
