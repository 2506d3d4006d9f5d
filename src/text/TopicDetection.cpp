#include "text/TopicDetection.h"

#include <unicode/regex.h>

#include <algorithm>
#include <array>
#include <mutex>

namespace zun {
namespace {

struct Topic {
    std::string_view key;  // of its two entries in the string table, before the endings below
    std::string_view picture;
};

constexpr std::string_view keywordsEnding = "_Strings";
constexpr std::string_view emojisEnding = "_Emojis";

// The order decides between equals.
constexpr std::array<Topic, TopicDetection::topicCount> topics{{
    {"Mail", "mailImage.jpg"},         {"Trash", "trashImage.jpg"},       {"LunchAndDinner", "dinnerImage.jpg"},
    {"Cleaning", "cleaningImage.jpg"}, {"Coffee", "coffeeImage.jpg"},     {"HappyHour", "happyHourImage.jpg"},
    {"Haircut", "haircutImage.jpg"},   {"Party", "partyImage.jpg"},       {"Meeting", "meetingImage.jpg"},
    {"Errand", "groceryImage.jpg"},    {"Shopping", "shoppingImage.jpg"}, {"Laundry", "laundryImage.jpg"},
    {"Gym", "gymImage.jpg"},           {"Call", "callImage.jpg"},         {"Texting", "textImage.jpg"},
    {"Medical", "medicalImage.jpg"},   {"Leisure", "readingImage.jpg"},   {"Pet", "petsImage.jpg"},
    {"Recipe", "recipeImage.jpg"},     {"Outdoor", "outdoors.jpg"},       {"Travel", "travelImage.jpg"},
    {"Maintenance", "fixImage.jpg"},   {"Media", "mediaImage.jpg"},
}};

bool isCharacterBasedLanguage(const Environment& environment) {
    const auto languages = environment.locale().preferredLanguages;
    if (languages.empty()) return false;
    return languages.front().find("zh") != std::string::npos || languages.front().find("ja") != std::string::npos;
}

icu::UnicodeString lookedAt(std::string_view title) {
    constexpr auto units = static_cast<int32_t>(TopicDetection::charactersLookedAt);
    constexpr std::size_t mostBytesOfUnit = 4;
    const auto size =
        static_cast<int32_t>(std::min(title.size(), mostBytesOfUnit * TopicDetection::charactersLookedAt));
    auto text = icu::UnicodeString::fromUTF8({title.data(), size});
    text.truncate(units);
    return text;
}

// Every emoji of the tables holds a character from here on, a surrogate among them. Most titles hold none, and most
// users none at all: they are spared the patterns, which take as long to compile as the rest together.
constexpr char16_t firstOfEmojis = 0x2000;

bool mayHoldEmoji(const icu::UnicodeString& title) {
    for (int32_t at = 0; at < title.length(); ++at) {
        if (title.charAt(at) >= firstOfEmojis) return true;
    }
    return false;
}

}  // namespace

// Matchers keep their place in a text, so one title at a time.
class TopicDetection::Patterns {
  public:
    explicit Patterns(const LocalizedStrings& strings) : _strings(strings) {}

    std::size_t topicByEmoji(const icu::UnicodeString& title) {
        if (!mayHoldEmoji(title)) return 0;
        const std::lock_guard lock(_mutex);
        prepare(_emojis, emojisEnding, "(", ")", 0);
        for (std::size_t row = 0; row < topicCount; ++row) {
            if (matchCount(_emojis.rows[row].get(), title, 1) > 0) return row + 1;
        }
        return 0;
    }

    std::size_t topicByKeywords(const icu::UnicodeString& title, bool wholeWords) {
        const std::lock_guard lock(_mutex);
        auto& matchers = wholeWords ? _words : _runs;
        if (wholeWords) {
            prepare(matchers, keywordsEnding, "\\b(", ")\\b", UREGEX_UWORD);
        } else {
            prepare(matchers, keywordsEnding, "(", ")", 0);
        }
        std::size_t best = 0;
        std::size_t mostMatches = 0;
        for (std::size_t row = 0; row < topicCount; ++row) {
            const auto matches = matchCount(matchers.rows[row].get(), title, charactersLookedAt);
            if (matches <= mostMatches) continue;
            mostMatches = matches;
            best = row + 1;
        }
        return best;
    }

  private:
    struct Matchers {
        bool areCompiled = false;
        std::array<std::unique_ptr<icu::RegexMatcher>, topicCount> rows;
    };

    void prepare(Matchers& matchers, std::string_view keyEnding, const char* before, const char* after,
                 uint32_t flags) {
        if (matchers.areCompiled) return;
        matchers.areCompiled = true;
        for (std::size_t row = 0; row < topicCount; ++row) {
            const auto body = _strings.string(std::string(topics[row].key).append(keyEnding));
            UErrorCode status = U_ZERO_ERROR;
            auto matcher = std::make_unique<icu::RegexMatcher>(icu::UnicodeString::fromUTF8(before + body + after),
                                                               flags | UREGEX_CASE_INSENSITIVE, status);
            if (U_SUCCESS(status)) matchers.rows[row] = std::move(matcher);
        }
    }

    static std::size_t matchCount(icu::RegexMatcher* matcher, const icu::UnicodeString& title, std::size_t most) {
        if (!matcher) return 0;
        matcher->reset(title);
        UErrorCode status = U_ZERO_ERROR;
        std::size_t count = 0;
        while (count < most && matcher->find(status) && U_SUCCESS(status))
            ++count;
        return count;
    }

    const LocalizedStrings& _strings;
    std::mutex _mutex;
    Matchers _emojis;
    Matchers _words;
    Matchers _runs;
};

TopicDetection::TopicDetection(const Environment& environment, const LocalizedStrings& strings)
    : _environment(environment), _patterns(std::make_unique<Patterns>(strings)) {}

TopicDetection::~TopicDetection() = default;

std::size_t TopicDetection::topicForTitle(std::string_view title) const {
    if (title.empty()) return 0;
    const auto text = lookedAt(title);
    if (const auto topic = _patterns->topicByEmoji(text)) return topic;
    return _patterns->topicByKeywords(text, !isCharacterBasedLanguage(_environment));
}

std::string_view TopicDetection::pictureNameForTopic(std::size_t topic, std::string_view reminderID,
                                                     HasStartDate hasStartDate) {
    if (topic >= 1 && topic <= topicCount) return topics[topic - 1].picture;

    const auto digitAt = [&](std::size_t at) {
        return at < reminderID.size() && reminderID[at] >= '0' && reminderID[at] <= '9' ? reminderID[at] - '0' : -1;
    };
    const int number = digitAt(0) >= 0 && digitAt(1) >= 0 ? digitAt(0) * 10 + digitAt(1) : digitAt(0);
    const bool high = number > 5;
    if (hasStartDate == HasStartDate::Yes) return high ? "defaultImage4.jpg" : "defaultImage3.jpg";
    return high ? "defaultImage2.jpg" : "defaultImage1.jpg";
}

std::string TopicDetection::pictureNameForReminder(const ZNReminderObject& reminder) const {
    const auto attributes = reminder.attributes();
    const auto name = pictureNameForTopic(topicForTitle(attributes.title), attributes.reminderID.value_or(""),
                                          attributes.start_date ? HasStartDate::Yes : HasStartDate::No);
    return std::string(name);
}

}  // namespace zun
