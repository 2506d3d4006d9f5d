#include "ZunDataModel/ZNReminderObject.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace zun {

namespace {

// Dates before this cannot be written as text, so moving one earlier stops here.
constexpr NSDate earliestDate{std::chrono::sys_days{std::chrono::year{1} / 1 / 1}};

OptionalDate adjustedForEarlyReminder(const ReminderAttributes& attributes, OptionalDate date) {
    if (!date) return date;
    const auto unit =
        static_cast<std::uint64_t>(std::chrono::microseconds{earlyReminderUnit(attributes.earlyReminderType)}.count());
    std::int64_t lead = 0;
    std::int64_t adjusted = 0;
    const bool overflows = __builtin_mul_overflow(unit, attributes.earlyReminderInterval, &lead) ||
                           __builtin_sub_overflow(date->time_since_epoch().count(), lead, &adjusted);
    const NSDate bound = std::min(*date, earliestDate);
    return overflows ? bound : std::max(NSDate{std::chrono::microseconds{adjusted}}, bound);
}

}  // namespace

std::chrono::seconds earlyReminderUnit(std::uint64_t earlyReminderType) {
    switch (earlyReminderType) {
        case 1:
            return std::chrono::minutes{1};
        case 2:
            return std::chrono::hours{1};
        case 3:
            return std::chrono::days{1};
        case 4:
            return std::chrono::weeks{1};
        default:
            return std::chrono::seconds{0};
    }
}

OptionalDate dueDateOf(const ReminderAttributes& attributes) {
    return attributes.due_date ? attributes.due_date : attributes.start_date;
}

bool isSnoozed(const ReminderAttributes& attributes) {
    if (!attributes.fire_date) return false;
    const OptionalDate due = dueDateOf(attributes);
    if (!due) return true;
    return attributes.fire_date > adjustedForEarlyReminder(attributes, due) && attributes.fire_date != due;
}

bool isLocationBased(const ReminderAttributes& attributes) {
    return attributes.locationLatitude != 0 && attributes.locationLongitude != 0;
}

template <typename T>
void ZNReminderObject::set(T ReminderAttributes::*member, T value, std::string_view key) {
    const bool observed = isObserved();
    bool wasSnoozed = false;
    {
        const std::lock_guard lock(_mutex);
        T& current = _attributes.*member;
        if (observed) {
            if (current == value) return;
            wasSnoozed = zun::isSnoozed(_attributes);
        }
        current = std::move(value);
    }
    if (observed) announce(key, wasSnoozed);
}

// The setters stand in the header, one instance for each type of attribute.
template void ZNReminderObject::set(std::string ReminderAttributes::*, std::string, std::string_view);
template void ZNReminderObject::set(std::optional<std::string> ReminderAttributes::*, std::optional<std::string>,
                                    std::string_view);
template void ZNReminderObject::set(OptionalDate ReminderAttributes::*, OptionalDate, std::string_view);
template void ZNReminderObject::set(std::uint64_t ReminderAttributes::*, std::uint64_t, std::string_view);
template void ZNReminderObject::set(std::int64_t ReminderAttributes::*, std::int64_t, std::string_view);
template void ZNReminderObject::set(double ReminderAttributes::*, double, std::string_view);
template void ZNReminderObject::set(bool ReminderAttributes::*, bool, std::string_view);
template void ZNReminderObject::set(std::optional<bool> ReminderAttributes::*, std::optional<bool>, std::string_view);
template void ZNReminderObject::set(std::optional<DayOrdinals> ReminderAttributes::*, std::optional<DayOrdinals>,
                                    std::string_view);
template void ZNReminderObject::set(std::optional<Bytes> ReminderAttributes::*, std::optional<Bytes>, std::string_view);

void ZNReminderObject::announce(std::string_view key, bool wasSnoozed) {
    didChangeValueForKey(key);
    if (onGetIsSnoozed() != wasSnoozed) didChangeValueForKey("isSnoozed");
}

ReminderPtr ZNReminderObject::copy() const {
    return std::make_shared<ZNReminderObject>(attributes());
}

ReminderAttributes ZNReminderObject::attributes() const {
    const std::lock_guard lock(_mutex);
    return _attributes;
}

void ZNReminderObject::setAttributes(ReminderAttributes attributes) {
    std::vector<std::string_view> changed;
    {
        const std::lock_guard lock(_mutex);
        if (isObserved()) {
            for (const auto& [name, member] : reminderAttributes())
                if (std::visit([&](auto m) { return !(_attributes.*m == attributes.*m); }, member))
                    changed.push_back(name);
            if (zun::isSnoozed(_attributes) != zun::isSnoozed(attributes)) changed.emplace_back("isSnoozed");
        }
        _attributes = std::move(attributes);
    }
    for (const std::string_view key : changed)
        didChangeValueForKey(key);
}

OptionalDate ZNReminderObject::onGetDueDate() const {
    const std::lock_guard lock(_mutex);
    return dueDateOf(_attributes);
}

bool ZNReminderObject::onGetIsSnoozed() const {
    const std::lock_guard lock(_mutex);
    return zun::isSnoozed(_attributes);
}

bool ZNReminderObject::isLocationBased() const {
    const std::lock_guard lock(_mutex);
    return zun::isLocationBased(_attributes);
}

bool ZNReminderObject::hasCustomRepeat() const {
    const std::lock_guard lock(_mutex);
    const auto& ordinals = _attributes.customRepeatDayOrdinals;
    return _attributes.customRepeatInterval >= 2 || (ordinals && !ordinals->empty());
}

bool ZNReminderObject::isFutureReminder(NSDate now) const {
    const std::lock_guard lock(_mutex);
    return _attributes.fire_date && *_attributes.fire_date > now;
}

OptionalDate ZNReminderObject::dateAdjustedForEarlyReminderType(OptionalDate date) const {
    const std::lock_guard lock(_mutex);
    return adjustedForEarlyReminder(_attributes, date);
}

void ZNReminderObject::reset() {
    ReminderAttributes blank = attributes();
    const bool awaitsPlace = blank.repeat_type == RepeatType::atLocation && !zun::isLocationBased(blank);
    blank.start_date = blank.due_date = blank.fire_date = blank.end_date = std::nullopt;
    blank.repeat_type = awaitsPlace ? RepeatType::atLocation : RepeatType::none;
    blank.customRepeatInterval = 0;
    blank.customRepeatDayOrdinals = std::nullopt;
    blank.earlyReminderType = blank.earlyReminderInterval = 0;
    blank.locationLatitude = blank.locationLongitude = 0;
    blank.locationName = std::nullopt;
    blank.locationActivation = blank.locationActivationRadius = 0;
    setAttributes(std::move(blank));
}

}  // namespace zun
