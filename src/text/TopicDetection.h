#pragma once

// Which of 23 everyday topics a reminder is about, by its title, and so which picture it gets. The words come from the
// string table: per topic one alternation of emojis and one of keywords, both regular expressions, matched without
// regard to case.
//
//   an emoji    the first topic in the table's order whose emojis occur; beats every word
//   keywords    the topic with the most matches, the earlier one among equals; whole words,
//               except where the user's first language is written without blanks
//   neither     no topic: one of four default pictures, always the same for a reminder
//
// Any thread. The first title takes two or three milliseconds to compile the patterns, later ones a fifth of one; only
// the first `charactersLookedAt` of a title are read, so that none takes more than about ten.

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "ZunDataModel/ZNReminderObject.h"
#include "platform/foundation/Environment.h"
#include "platform/foundation/LocalizedStrings.h"

namespace zun {

enum class HasStartDate { No, Yes };

class TopicDetection {
  public:
    static constexpr std::size_t topicCount = 23;
    static constexpr std::size_t charactersLookedAt = 1000;

    // Both must outlive the detection. Compiles nothing yet.
    TopicDetection(const Environment& environment, const LocalizedStrings& strings);
    ~TopicDetection();
    TopicDetection(const TopicDetection&) = delete;
    TopicDetection& operator=(const TopicDetection&) = delete;

    // 1 to topicCount, or 0 for none. A topic whose entry is no valid pattern matches nothing.
    [[nodiscard]] std::size_t topicForTitle(std::string_view title) const;

    // The picture of a topic; for 0 and anything above topicCount the default picture of the reminder: a function of
    // the first two characters of its identifier and of whether it has a start date.
    [[nodiscard]] static std::string_view pictureNameForTopic(std::size_t topic, std::string_view reminderID,
                                                              HasStartDate hasStartDate);
    [[nodiscard]] std::string pictureNameForReminder(const ZNReminderObject& reminder) const;

  private:
    class Patterns;

    const Environment& _environment;
    std::unique_ptr<Patterns> _patterns;
};

}  // namespace zun
