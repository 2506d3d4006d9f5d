#include "platform/foundation/LocalizedStrings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unicode/locid.h>

#include <algorithm>
#include <regex>
#include <string>
#include <vector>

namespace zun {
namespace {

using testing::Contains;
using testing::IsEmpty;

// The placeholders in the order of their arguments, whichever way they are written.
std::vector<std::string> placeholders(const std::string& text) {
    static const std::regex placeholder("%(%|([1-9])\\$)?(@|lu|ld|d)?");
    std::vector<std::string> found;
    int next = 1;
    for (std::sregex_iterator match(text.begin(), text.end(), placeholder), end; match != end; ++match) {
        if ((*match)[1] == "%" || !(*match)[3].matched) continue;
        const auto argument = (*match)[2].matched ? (*match)[2].str() : std::to_string(next++);
        found.push_back(argument + (*match)[3].str());
    }
    std::sort(found.begin(), found.end());
    return found;
}

bool isPattern(const std::string& key) {
    return key.ends_with("_Strings") || key.ends_with("_Emojis");
}

TEST(LocalizedStrings, EachLanguageHasEachKeyWithTheSamePlaceholders) {
    const LocalizedStrings english({"en"});
    ASSERT_THAT(LocalizedStrings::availableLanguages(), testing::IsSupersetOf({"de", "en", "ja"}));
    EXPECT_THAT(english.keys(), testing::IsSupersetOf({"Reminder_Due_Format", "Mail_Strings", "Mail_Emojis"}));
    EXPECT_THAT(english.keys("DateTools"), testing::SizeIs(14));

    for (const auto& language : LocalizedStrings::availableLanguages()) {
        const LocalizedStrings strings({language});
        ASSERT_EQ(strings.language(), language);
        EXPECT_EQ(strings.keys(), english.keys()) << language;
        EXPECT_EQ(strings.keys("DateTools"), english.keys("DateTools")) << language;
        for (const auto& key : english.keys()) {
            EXPECT_THAT(strings.string(key), Not(IsEmpty())) << language << " " << key;
            if (isPattern(key)) continue;
            EXPECT_EQ(placeholders(strings.string(key)), placeholders(english.string(key))) << language << " " << key;
        }
        for (const auto& key : english.keys("DateTools")) {
            EXPECT_EQ(placeholders(strings.string(key, "DateTools")), placeholders(key)) << language << " " << key;
        }
    }
}

TEST(LocalizedStrings, PicksTheFirstLanguageThatCanBeServed) {
    struct Case {
        std::vector<std::string> preferred;
        const char* language;
    };
    const Case cases[] = {
        {{"de-AT"}, "de"}, {{"fr-FR", "ja-Jpan-JP"}, "ja"},    {{"en-GB", "de-DE"}, "en"}, {{"zh-Hans-CN"}, "en"},
        {{}, "en"},        {{"", "-", "deutsch", "de"}, "de"}, {{"root"}, "en"},           {{"../de"}, "en"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(LocalizedStrings(c.preferred).language(), c.language);
}

TEST(LocalizedStrings, NeverAnswersInTheLanguageOfTheProcess) {
    const icu::Locale before = icu::Locale::getDefault();
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale::setDefault(icu::Locale::getGermany(), status);
    const LocalizedStrings strings({"fr"});
    EXPECT_EQ(strings.string("Cancel_Action"), "Cancel");
    EXPECT_EQ(strings.string("No_Such_Key"), "No_Such_Key");
    EXPECT_EQ(strings.string("Yesterday", "No_Such_Table"), "Yesterday");
    EXPECT_EQ(strings.string("No_Such_Key", "DateTools"), "No_Such_Key");
    EXPECT_EQ(strings.string("DateTools"), "DateTools");  // a table is no text
    EXPECT_THAT(strings.keys("No_Such_Table"), IsEmpty());
    icu::Locale::setDefault(before, status);
}

TEST(StringWithFormat, FillsPlaceholdersAndLeavesTheRest) {
    EXPECT_EQ(stringWithFormat("%@ at %@", {"Friday", "9:00"}), "Friday at 9:00");
    EXPECT_EQ(stringWithFormat("%2$@の%1$@", {"a", "b"}), "bのa");
    EXPECT_EQ(stringWithFormat("%1$lu of %2$ld, %d, %lu", {"3", "5"}), "3 of 5, 3, 5");
    EXPECT_EQ(stringWithFormat("100 %% %@", {"%@ %d"}), "100 % %@ %d");
    EXPECT_EQ(stringWithFormat("%@ and %@ and %3$@", {"one"}), "one and %@ and %3$@");
    EXPECT_EQ(stringWithFormat("50 % off %s %0$@ %1$ %l %", {"x"}), "50 % off %s %0$@ %1$ %l %");
    EXPECT_EQ(stringWithFormat("", {}), "");
}

}  // namespace
}  // namespace zun
