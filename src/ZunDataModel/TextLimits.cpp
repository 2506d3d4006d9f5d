#include "ZunDataModel/TextLimits.h"

#include <array>
#include <utility>

namespace zun {

std::string_view tooLongText(const ReminderAttributes& attributes) {
    const auto length = [](const std::optional<std::string>& text) { return text ? text->size() : 0; };
    const std::array<std::pair<std::string_view, std::size_t>, 4> texts = {{
        {"title", attributes.title.size()},
        {"notes", length(attributes.notes)},
        {"checklist", length(attributes.checklist)},
        {"locationName", length(attributes.locationName)},
    }};
    for (const auto& [name, size] : texts) {
        if (size > longestReminderText) return name;
    }
    return {};
}

}  // namespace zun
