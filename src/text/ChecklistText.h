#pragma once

// A checklist is one plain string: lines separated by a single line feed, each a three-character marker and the item's
// text.
//
//   stored   [ ]Buy milk          open
//            [x]Buy milk          done
//   export   - [ ] Buy milk       the Markdown task list; accepted on the way in, never stored
//
// Text comes from people, other programs and other devices, so nothing here fails: any bytes give a result, and bytes
// that are not UTF-8 stay where they are. Pure functions, any thread.

#include <string>
#include <string_view>
#include <vector>

namespace zun {

enum class StripSyntax { No, Yes };
enum class ShouldUseMarkdownFormatting { No, Yes };
enum class IsChecked { No, Yes };
enum class ShouldAppendLineBreak { No, Yes };

struct ChecklistItem {
    bool isDone = false;
    std::string text;

    bool operator==(const ChecklistItem&) const = default;
};

// One item a line. The first three characters are the marker, whatever they are: "[x]" means done, anything else open.
// A line of fewer than three characters, which only other programs can write, is an open item with the whole line as
// its text. No items for the empty string.
[[nodiscard]] std::vector<ChecklistItem> checklistItems(std::string_view checklist);

// Without blanks and line ends at both ends, and with one line feed for each run of them inside.
[[nodiscard]] std::string removeExraneousNewLinesAndWhiteSpace(std::string_view text);

// One line. A marker anywhere in the text wins over isChecked and is not doubled, except in Markdown, which always adds
// one.
[[nodiscard]] std::string stringWithChecklistFormatting(std::string_view line,
                                                        ShouldUseMarkdownFormatting shouldUseMarkdownFormatting,
                                                        IsChecked isChecked,
                                                        ShouldAppendLineBreak shouldAppendLineBreak);

// Any text as a checklist: the export form becomes the stored one, plain lines become open items, empty lines go. With
// StripSyntax the markers go instead and plain text remains.
[[nodiscard]] std::string sanitizeStringForChecklistAndStripSyntax(std::string_view text, StripSyntax stripSyntax);

// Every "[x]" open again, also one inside an item's text.
[[nodiscard]] std::string resetChecklist(std::string checklist);

// Without line ends (not blanks) at both ends.
[[nodiscard]] std::string_view trimmedOfLineEnds(std::string_view text);

}  // namespace zun
