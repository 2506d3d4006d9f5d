#pragma once

// One alert, as it is scheduled and as it stands in the list of the delivered ones. A plain value.

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "platform/foundation/NSDate.h"

namespace zun {

inline constexpr const char* NOTIFICATION_REMINDER_ID = "NOTIFICATION_REMINDER_ID";
inline constexpr const char* NSUserNotificationDefaultSoundName = "NSUserNotificationDefaultSoundName";

// How the user answered a delivered alert; the platform's numbers.
enum class NSUserNotificationActivationType { None = 0, ContentsClicked = 1, ActionButtonClicked = 2 };

struct NSUserNotification {
    // Given by the centre; 0 before. A scheduled alert keeps it when it is delivered.
    std::int64_t identifier = 0;
    std::map<std::string, std::string> userInfo{};
    // When it shall come, by the clock of the zone named: in another zone it comes at the same time on the wall.
    NSDate deliveryDate{};
    std::string deliveryTimeZone{};
    // When it did come; only on delivered ones.
    OptionalDate actualDeliveryDate{};
    std::string title{};
    std::string subtitle{};
    bool hasActionButton = false;
    std::string actionButtonTitle{};
    std::string soundName{};  // empty for silence
    NSUserNotificationActivationType activationType = NSUserNotificationActivationType::None;

    // The reminder that the alert belongs to; null without the key.
    [[nodiscard]] std::optional<std::string> reminderID() const {
        const auto found = userInfo.find(NOTIFICATION_REMINDER_ID);
        return found == userInfo.end() ? std::nullopt : std::optional(found->second);
    }
    bool operator==(const NSUserNotification&) const = default;
};

}  // namespace zun
