// Any bytes as a checklist: nothing fails, no empty line comes out of sanitising, and the ways out keep every item.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "text/ChecklistText.h"
#include "text/ZNReminderHelper.h"

namespace {

void require(bool holds) {
    if (!holds) std::abort();
}

bool contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace zun;
    const std::string text(reinterpret_cast<const char*>(data), size);

    const auto stored = sanitizeStringForChecklistAndStripSyntax(text, StripSyntax::No);
    require(!stored.starts_with('\n') && !stored.ends_with('\n') && !contains(stored, "\n\n"));
    if (!contains(stored, "- [ ] ") && !contains(stored, "- [x] ")) {
        require(sanitizeStringForChecklistAndStripSyntax(stored, StripSyntax::No) == stored);
    }
    const auto stripped = sanitizeStringForChecklistAndStripSyntax(text, StripSyntax::Yes);
    require(stripped.size() <= text.size());
    require(!contains(resetChecklist(text), "[x]"));

    for (const auto& checklist : {text, stored}) {
        const auto items = checklistItems(checklist);
        const auto lines = std::count(checklist.begin(), checklist.end(), '\n') + (checklist.empty() ? 0 : 1);
        require(items.size() == static_cast<std::size_t>(lines));
        for (const auto markdown : {ShouldUseMarkdownFormatting::No, ShouldUseMarkdownFormatting::Yes}) {
            const auto exported = ZNReminderHelper::formattedChecklistString(checklist, markdown);
            require(!exported || checklistItems(*exported).size() == items.size());
            for (const auto checked : {IsChecked::No, IsChecked::Yes}) {
                const auto line =
                    stringWithChecklistFormatting(checklist, markdown, checked, ShouldAppendLineBreak::No);
                require(!contains(line, "\n") && (contains(line, "[x]") || contains(line, "[ ]")));
            }
        }
    }
    return 0;
}
