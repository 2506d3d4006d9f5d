#include <gtest/gtest.h>

#include "text/ZNComplexityAnalyzer.h"

namespace zun {
namespace {

std::string repeated(const std::string& text, int count) {
    std::string all;
    for (int number = 0; number < count; ++number)
        all += text;
    return all;
}

TEST(ComplexityAnalyzer, CountsByTheFirstLanguage) {
    const auto hanzi = [](int count) { return repeated("水", count); };
    const auto words = [](int count) { return "a" + repeated(" a", count - 1); };
    const struct {
        const char* language;
        std::optional<std::string> title, notes;
        bool isComplex;
    } cases[] = {
        {"zh-Hans-CN", hanzi(12), {}, false},
        {"zh-Hans-CN", hanzi(13), {}, true},
        {"zh-Hant-TW", "", hanzi(22), false},
        {"zh-Hant-TW", "", hanzi(23), true},
        {"zh-Hans", repeated("😀", 7), {}, true},  // two units each
        {"en-US", words(7), {}, false},
        {"en-US", words(8), {}, true},
        {"en-US", "a  a a a a a a", {}, true},  // the empty word counts
        {"en-US", "a\u00A0a\u3000a\u2028a\ta\ra a", {}, false},
        {"en-US", "a", words(16), false},
        {"en-US", "a", words(17), true},
        {"ja-JP", hanzi(40), hanzi(60), false},
        {"de-DE", {}, {}, false},
        {"de-DE", "", "", false},
        {"de-DE", "a", "1\n2\n3\n4", false},
        {"de-DE", "a", "1\n2\n3\n4\n", true},
        {"zh-Hans", "a", "1\n2\n3\n4\n5", true},
    };
    for (const auto& one : cases) {
        EXPECT_EQ(ZNComplexityAnalyzer::checkReminderComplexityWithTitle(one.title, one.notes,
                                                                         {.preferredLanguages = {one.language, "en"}}),
                  one.isComplex)
            << one.language << " " << one.title.value_or("none") << " / " << one.notes.value_or("none");
    }
}

}  // namespace
}  // namespace zun
