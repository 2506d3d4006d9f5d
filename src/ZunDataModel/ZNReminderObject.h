#pragma once

// One reminder, or one completed occurrence of a series. An object with identity: shared by pointer, each property read
// and written under the object's own lock, observable by key. Not tied to a thread. A change in memory is stored only
// when the object is given to the manager or the store, which hand out independent copies.

#include <memory>
#include <mutex>
#include <string>

#include "ZunDataModel/ReminderAttributes.h"
#include "platform/foundation/KeyValueObserving.h"
#include "platform/foundation/NSDate.h"

namespace zun {

class ZNReminderObject;
using ReminderPtr = std::shared_ptr<ZNReminderObject>;

// The values of `repeat_type`.
namespace RepeatType {
inline constexpr std::uint64_t none = 0, daily = 1, weekly = 2, monthly = 3, yearly = 4, customUnrefined = 5,
                               atLocation = 6;
}

class ZNReminderObject final : public KeyValueObservable {
  public:
    ZNReminderObject() = default;
    explicit ZNReminderObject(ReminderAttributes attributes) : _attributes(std::move(attributes)) {}
    // All attributes equal, no observers.
    [[nodiscard]] ReminderPtr copy() const;

    // A consistent picture of all attributes at one moment.
    [[nodiscard]] ReminderAttributes attributes() const;
    // Replaces all attributes and tells observers of each that differs.
    void setAttributes(ReminderAttributes attributes);

// One reader and one writer for each attribute: title() and setTitle(), start_date() and ... The date setters that the
// rest of the system calls are the onSet forms below.
#define ZN_PROPERTY(type, name, setter)                          \
    [[nodiscard]] type name() const {                            \
        return get(&ReminderAttributes::name);                   \
    }                                                            \
    void setter(type value) {                                    \
        set(&ReminderAttributes::name, std::move(value), #name); \
    }

    ZN_PROPERTY(std::optional<std::string>, reminderID, setReminderID)
    ZN_PROPERTY(std::string, title, setTitle)
    ZN_PROPERTY(std::optional<std::string>, notes, setNotes)
    ZN_PROPERTY(std::optional<std::string>, checklist, setChecklist)
    ZN_PROPERTY(OptionalDate, created_date, setCreated_date)
    ZN_PROPERTY(OptionalDate, modified_date, setModified_date)
    ZN_PROPERTY(OptionalDate, completed_date, setCompleted_date)
    ZN_PROPERTY(OptionalDate, start_date, onSetStartDate)
    ZN_PROPERTY(OptionalDate, due_date, setDue_date)
    ZN_PROPERTY(OptionalDate, fire_date, onSetFireDate)
    ZN_PROPERTY(OptionalDate, end_date, setEnd_date)
    ZN_PROPERTY(std::uint64_t, repeat_type, setRepeat_type)
    ZN_PROPERTY(std::uint64_t, customRepeatInterval, setCustomRepeatInterval)
    ZN_PROPERTY(std::optional<DayOrdinals>, customRepeatDayOrdinals, setCustomRepeatDayOrdinals)
    ZN_PROPERTY(std::uint64_t, earlyReminderType, setEarlyReminderType)
    ZN_PROPERTY(std::uint64_t, earlyReminderInterval, setEarlyReminderInterval)
    ZN_PROPERTY(std::uint64_t, snoozeCount, setSnoozeCount)
    ZN_PROPERTY(bool, naggingNotifications, setNaggingNotifications)
    ZN_PROPERTY(bool, shouldSuppressNotifications, setShouldSuppressNotifications)
    ZN_PROPERTY(double, locationLatitude, setLocationLatitude)
    ZN_PROPERTY(double, locationLongitude, setLocationLongitude)
    ZN_PROPERTY(std::optional<std::string>, locationName, setLocationName)
    ZN_PROPERTY(std::uint64_t, locationActivation, setLocationActivation)
    ZN_PROPERTY(std::uint64_t, locationActivationRadius, setLocationActivationRadius)
    ZN_PROPERTY(std::int64_t, rank, setRank)
    ZN_PROPERTY(bool, didPersistToiCloud, setDidPersistToiCloud)
    ZN_PROPERTY(bool, hasLocalChanges, setHasLocalChanges)
    ZN_PROPERTY(std::optional<bool>, shouldDeleteRemote, setShouldDeleteRemote)
    ZN_PROPERTY(std::optional<std::string>, shareURL, setShareURL)
    ZN_PROPERTY(bool, shareParticipantsCanEdit, setShareParticipantsCanEdit)
    ZN_PROPERTY(std::optional<Bytes>, sharedZoneID, setSharedZoneID)
#undef ZN_PROPERTY

    // The current occurrence: `due_date`, or `start_date` where only that is there.
    [[nodiscard]] OptionalDate onGetDueDate() const;
    // True if `fire_date` is later than the due date moved by the early reminder and differs from the due date itself,
    // or if there is a `fire_date` and no due date at all.
    [[nodiscard]] bool onGetIsSnoozed() const;
    // Both coordinates differ from 0.
    [[nodiscard]] bool isLocationBased() const;
    // `customRepeatInterval` of 2 or more, or ordinals that are not empty.
    [[nodiscard]] bool hasCustomRepeat() const;
    [[nodiscard]] bool isFutureReminder(NSDate now) const;
    // The date moved earlier by `earlyReminderInterval` units of `earlyReminderType`; an absent date stays absent.
    [[nodiscard]] OptionalDate dateAdjustedForEarlyReminderType(OptionalDate date) const;
    // Clears start, due, fire and end date, repeat, early reminder and location; keeps text, identity, flags and marks,
    // and a `repeat_type` of 6 on a record that has no place yet.
    void reset();

  private:
    template <typename T>
    T get(T ReminderAttributes::*member) const {
        const std::lock_guard lock(_mutex);
        return _attributes.*member;
    }
    template <typename T>
    void set(T ReminderAttributes::*member, T value, std::string_view key);
    void announce(std::string_view key, bool wasSnoozed);

    mutable std::mutex _mutex;
    ReminderAttributes _attributes;
};

// The rules behind the object's derived operations, for those who hold plain attributes.
[[nodiscard]] OptionalDate dueDateOf(const ReminderAttributes& attributes);
[[nodiscard]] bool isSnoozed(const ReminderAttributes& attributes);
[[nodiscard]] bool isLocationBased(const ReminderAttributes& attributes);
// Seconds of one unit of an early reminder: 0, 60, 3600, 86400, 604800; 0 for any other type.
[[nodiscard]] std::chrono::seconds earlyReminderUnit(std::uint64_t earlyReminderType);

}  // namespace zun
