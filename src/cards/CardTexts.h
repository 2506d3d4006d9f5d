#pragma once

// The words and the picture of a card, from the rooms that know them. Implemented by the wiring; must outlive the
// cards. Main thread.

#include <string>
#include <string_view>

#include "ZunDataModel/ZNReminderObject.h"

namespace zun {

// How late a date is.
enum class Lateness { None, Ahead, Today, Yesterday, Older };

class CardTexts {
  public:
    virtual ~CardTexts() = default;
    // The date line as a sentence, e.g. "Due tomorrow at 9:00".
    [[nodiscard]] virtual std::string dateText(const ZNReminderObject& reminder) const = 0;
    [[nodiscard]] virtual Lateness lateness(const ZNReminderObject& reminder) const = 0;
    // What is read aloud for the whole card.
    [[nodiscard]] virtual std::string accessibilityLabel(const ZNReminderObject& reminder) const = 0;
    // The text of a key of the string table.
    [[nodiscard]] virtual std::string text(std::string_view key) const = 0;
    // The name of the topic picture, e.g. "coffeeImage.jpg".
    [[nodiscard]] virtual std::string topicPictureName(const ZNReminderObject& reminder) const = 0;
};

}  // namespace zun
