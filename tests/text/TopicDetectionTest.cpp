#include "text/TopicDetection.h"

#include <gtest/gtest.h>
#include <unicode/regex.h>

#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "support/TestEnvironment.h"

namespace zun {
namespace {

// Numbers of some topics.
constexpr std::size_t none = 0, trash = 2, meal = 3, coffee = 5, errand = 10, call = 14, medical = 16;

struct Reader {
    explicit Reader(const char* tableLanguage, const char* firstLanguage) : strings({tableLanguage}) {
        environment.setLocale({"en_US", {firstLanguage}});
    }
    TestEnvironment environment;
    LocalizedStrings strings;
    TopicDetection detection{environment, strings};
};

TEST(TopicDetection, CountsWordsAndPutsEmojisFirst) {
    const Reader reader("en", "en-US");
    const std::pair<std::string, std::size_t> cases[] = {
        {"", none},
        {"Zxcvb qwrt", none},
        {"coffee", coffee},
        {"COFFEE", coffee},
        {"coffee and lunch", meal},            // one each: the earlier row
        {"coffee, coffee and lunch", coffee},  // the most
        {"lunch, coffee, lunch", meal},
        {"milkmaids", none},  // whole words only
        {"(milk)", errand},
        {"買milk", errand},        // a word begins where the script changes
        {"lunch ☕", coffee},       // an emoji of a later row beats the word
        {"☕ then 🗑", trash},  // the earliest emoji row, wherever it stands
        {std::string("☕").insert(0, "\xff\xfe"), coffee},
        {std::string("lunch\0coffee coffee", 19), coffee},
        {"coffee" + std::string(1 << 20, '\n'), coffee},
        {std::string(TopicDetection::charactersLookedAt, ' ') + "coffee", none},
        {std::string(1 << 20, '\xf0'), none},
    };
    for (const auto& [title, topic] : cases)
        EXPECT_EQ(reader.detection.topicForTitle(title), topic) << title.substr(0, 40);
}

TEST(TopicDetection, AsksForTheFirstLanguageEachTime) {
    Reader reader("en", "en-US");
    EXPECT_EQ(reader.detection.topicForTitle("xmilkx"), none);
    for (const auto* withoutBlanks : {"zh-Hans-CN", "ja-JP", "kzh"}) {
        reader.environment.setLocale({"en_US", {withoutBlanks, "en"}});
        EXPECT_EQ(reader.detection.topicForTitle("xmilkx"), errand) << withoutBlanks;
    }
    for (const auto& withBlanks : std::vector<std::vector<std::string>>{{"en", "ja"}, {}}) {
        reader.environment.setLocale({"en_US", withBlanks});
        EXPECT_EQ(reader.detection.topicForTitle("xmilkx"), none);
    }

    const Reader japanese("ja", "ja-JP");
    EXPECT_EQ(japanese.detection.topicForTitle("今日のランチを予約"), meal);
    const Reader german("de", "de-DE");
    EXPECT_EQ(german.detection.topicForTitle("Zahnarzt"), medical);
}

// A pattern that cannot be read, or that finds something everywhere, would pass unnoticed: the topic would only never
// come up, or always.
TEST(TopicDetection, HasSoundPatternsInEachLanguage) {
    icu::UnicodeString belowEmojis;
    for (char16_t each = 1; each < 0x2000; ++each)
        belowEmojis.append(each);
    for (const auto& language : LocalizedStrings::availableLanguages()) {
        const LocalizedStrings strings({language});
        std::size_t patterns = 0;
        for (const auto& key : strings.keys()) {
            if (!key.ends_with("_Strings") && !key.ends_with("_Emojis")) continue;
            ++patterns;
            UErrorCode status = U_ZERO_ERROR;
            icu::RegexMatcher matcher(icu::UnicodeString::fromUTF8("(" + strings.string(key) + ")"),
                                      UREGEX_CASE_INSENSITIVE, status);
            ASSERT_TRUE(U_SUCCESS(status)) << language << " " << key;
            const icu::UnicodeString blank = icu::UnicodeString::fromUTF8(" -, ");
            EXPECT_FALSE(matcher.reset(blank).find()) << language << " " << key;
            // Titles of letters and signs alone are not searched for emojis.
            if (key.ends_with("_Emojis")) {
                EXPECT_FALSE(matcher.reset(belowEmojis).find()) << language << " " << key;
            }
        }
        EXPECT_EQ(patterns, 2 * TopicDetection::topicCount) << language;
    }
}

TEST(TopicDetection, HasAPictureForEachTopicAndReminder) {
    const auto pictureFile = [](std::string_view name) {
        return std::filesystem::path(ZUN_PICTURES) / std::filesystem::path(name).replace_extension(".svg");
    };
    for (std::size_t topic = 0; topic <= TopicDetection::topicCount; ++topic) {
        EXPECT_TRUE(exists(pictureFile(TopicDetection::pictureNameForTopic(topic, "6", HasStartDate::No)))) << topic;
    }
    EXPECT_EQ(TopicDetection::pictureNameForTopic(23, "", HasStartDate::No), "mediaImage.jpg");

    const std::pair<const char*, bool> identifiers[] = {{"5A", false}, {"6A", true},  {"05", false}, {"06", true},
                                                        {"12", true},  {"A9", false}, {"5.", false}, {"5E9", false},
                                                        {"6", true},   {"", false},   {"٦٦", false}, {"-9", false}};
    for (const auto& [identifier, isHigh] : identifiers) {
        ReminderAttributes attributes;
        attributes.reminderID = identifier;
        const Reader reader("en", "en");
        EXPECT_EQ(reader.detection.pictureNameForReminder(ZNReminderObject(attributes)),
                  isHigh ? "defaultImage2.jpg" : "defaultImage1.jpg")
            << identifier;
        attributes.start_date = referenceDate;
        EXPECT_EQ(reader.detection.pictureNameForReminder(ZNReminderObject(attributes)),
                  isHigh ? "defaultImage4.jpg" : "defaultImage3.jpg")
            << identifier;
        attributes.title = "coffee";
        EXPECT_EQ(reader.detection.pictureNameForReminder(ZNReminderObject(attributes)), "coffeeImage.jpg");
    }
}

TEST(TopicDetection, ServesSeveralThreads) {
    const Reader reader("en", "en");
    const auto detect = [&] {
        for (int i = 0; i < 20; ++i) {
            EXPECT_EQ(reader.detection.topicForTitle("milk"), errand);
            EXPECT_EQ(reader.detection.topicForTitle("☎"), call);
        }
    };
    std::thread other(detect);
    detect();
    other.join();
}

}  // namespace
}  // namespace zun
