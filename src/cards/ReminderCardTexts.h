#pragma once

// The words and the picture of a card, from the rooms that know them. Main thread.

#include "cards/CardTexts.h"
#include "dates/DateLabels.h"
#include "platform/foundation/Environment.h"
#include "platform/foundation/LocalizedStrings.h"
#include "text/TopicDetection.h"

namespace zun {

class ReminderCardTexts final : public CardTexts {
  public:
    ReminderCardTexts(const Environment& environment, const LocalizedStrings& strings, const DateLabels& labels,
                      const TopicDetection& topics)
        : _environment(environment), _strings(strings), _labels(labels), _topics(topics) {}

    [[nodiscard]] std::string dateText(const ZNReminderObject& reminder) const override;
    [[nodiscard]] Lateness lateness(const ZNReminderObject& reminder) const override;
    [[nodiscard]] std::string accessibilityLabel(const ZNReminderObject& reminder) const override;
    [[nodiscard]] std::string text(std::string_view key) const override { return _strings.string(key); }
    [[nodiscard]] std::string topicPictureName(const ZNReminderObject& reminder) const override;

  private:
    [[nodiscard]] std::string sentence(const ZNReminderObject& reminder, OptionalDate dueDate) const;

    const Environment& _environment;
    const LocalizedStrings& _strings;
    const DateLabels& _labels;
    const TopicDetection& _topics;
};

}  // namespace zun
