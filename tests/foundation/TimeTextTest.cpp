#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <set>

#include "platform/foundation/ISO8601.h"
#include "platform/foundation/LocaleVariables.h"
#include "platform/foundation/SystemEnvironment.h"

namespace zun {
namespace {

TEST(TimeText, ISO8601IsReadStrictly) {
    const auto zone = NSTimeZone::named("Europe/Berlin");
    struct Case {
        const char* text;
        const char* read;     // as UTC; empty if refused
        bool internetFormat;  // whether the narrow form takes it too
    };
    for (const auto& [text, read, internetFormat] : {
             Case{"2026-02-01T09:00:00+01:00", "2026-02-01T08:00:00Z", true},
             Case{"2026-02-01T09:00:00Z", "2026-02-01T09:00:00Z", true},
             Case{"0001-01-01T00:00:00Z", "0001-01-01T00:00:00Z", true},
             Case{"9999-12-31T23:59:59-23:59", "+010000-01-01T23:58:59Z", true},
             Case{"2024-02-29T00:00:00Z", "2024-02-29T00:00:00Z", true},
             Case{"2026-02-01T09:00", "2026-02-01T08:00:00Z", false},
             Case{"2026-02-01T09:00Z", "2026-02-01T09:00:00Z", false},
             Case{"2026-07-01", "2026-06-30T22:00:00Z", false},
             Case{"2026-07-01T09:00:00", "2026-07-01T07:00:00Z", false},
             Case{"2026-03-29T02:30", "2026-03-29T01:30:00Z", false},
             Case{"2026-10-25T02:30", "2026-10-25T00:30:00Z", false},
             Case{"2026-02-01T09:00:00.1234567Z", "2026-02-01T09:00:00.123456Z", false},
             Case{"2026-02-01T09:00:00.50Z", "2026-02-01T09:00:00.5Z", false},
             Case{"2026-02-01T09:00:00.12345", "2026-02-01T08:00:00.12345Z", false},
             Case{"2026-02-29T00:00:00Z", "", false},
             Case{"2026-13-01T00:00:00Z", "", false},
             Case{"2026-00-01T00:00:00Z", "", false},
             Case{"0000-01-01T00:00:00Z", "", false},
             Case{"2026-02-01T24:00:00Z", "", false},
             Case{"2026-02-01T09:60:00Z", "", false},
             Case{"2026-02-01T09:00:60Z", "", false},
             Case{"2026-02-01T09:00:00.Z", "", false},
             Case{"2026-02-01T09:00:00+0100", "2026-02-01T08:00:00Z", false},
             Case{"2026-02-01T09:00-05", "2026-02-01T14:00:00Z", false},
             Case{"0001-01-01T00:00:00+00:01", "+000000-12-31T23:59:00Z", true},
             Case{"-000019-11-09T23:06:32.5Z", "-000019-11-09T23:06:32.5Z", false},
             Case{"+010000-01-01T00:00:00Z", "+010000-01-01T00:00:00Z", false},
             Case{"+999999-01-01T00:00:00Z", "", false},
             Case{"2026-02-01T09:00:00+01:", "", false},
             Case{"2026-02-01T09:00:00+010", "", false},
             Case{"2026-02-01T09:00:00+24:00", "", false},
             Case{"2026-02-01T09:00:00Zx", "", false},
             Case{"2026-02-01 09:00:00Z", "", false},
             Case{" 2026-02-01T09:00:00Z", "", false},
             Case{"2026-2-1", "", false},
             Case{"2026-02-01T", "", false},
             Case{"+002026-02-01", "", false},
             Case{"-026-02-01", "", false},
             Case{"", "", false},
         }) {
        const auto date = dateFromISO8601(text, *zone);
        EXPECT_EQ(date ? iso8601FromDate(*date) : "", read) << text;
        EXPECT_EQ(dateFromInternetFormat(text), internetFormat ? date : std::nullopt) << text;
    }
}

TEST(TimeText, FractionsAreWrittenOnlyWhereThereAreAny) {
    const auto date = dateFromISO8601("1969-12-31T23:59:59.9996Z", *NSTimeZone::utc()).value();
    EXPECT_EQ(iso8601FromDate(date), "1969-12-31T23:59:59.9996Z");
    EXPECT_EQ(iso8601WithMillisecondsFromDate(date), "1969-12-31T23:59:59.999Z");
    EXPECT_EQ(iso8601WithMillisecondsFromDate(NSDate{}), "1970-01-01T00:00:00.000Z");
}

TEST(TimeText, LocaleFollowsTheVariables) {
    using Variables = std::map<std::string, std::string>;
    struct Case {
        Variables variables;
        const char* formats;
        std::vector<std::string> languages;
    };
    for (const auto& [variables, formats, languages] : {
             Case{{}, "en_US", {"en-US"}},
             Case{{{"LANG", "C"}}, "en_US", {"en-US"}},
             Case{{{"LANG", "C"}, {"LANGUAGE", "de"}}, "en_US", {"en-US"}},
             Case{{{"LANG", "C.UTF-8"}, {"LANGUAGE", "de"}}, "en_US", {"de", "en-US"}},
             Case{{{"LANG", "de_DE.UTF-8"}}, "de_DE", {"de-DE"}},
             Case{{{"LANG", "de_DE.UTF-8"}, {"LC_TIME", "en_GB.UTF-8"}}, "en_GB", {"de-DE"}},
             Case{{{"LANG", "de_DE.UTF-8"}, {"LC_MESSAGES", "ja_JP.UTF-8"}}, "de_DE", {"ja-JP"}},
             Case{{{"LANG", "de_DE"}, {"LC_TIME", "en_GB"}, {"LC_ALL", "fr_FR"}}, "fr_FR", {"fr-FR"}},
             Case{{{"LANG", "de_AT.UTF-8"}, {"LANGUAGE", "zh_TW:zh::de"}},
                  "de_AT",
                  {"zh-Hant-TW", "zh-Hans", "de", "de-AT"}},
             Case{{{"LANG", "zh_CN.GB18030"}}, "zh_CN", {"zh-Hans-CN"}},
             Case{{{"LANG", "sr_RS"}}, "sr_RS", {"sr-Cyrl-RS"}},
             Case{{{"LANG", "sr_RS.UTF-8@latin"}}, "sr_Latn_RS", {"sr-Latn-RS"}},
             Case{{{"LANG", "ca_ES@euro"}}, "ca_ES", {"ca-ES"}},
             Case{{{"LANGUAGE", "ja"}}, "en_US", {"ja"}},
             Case{{{"LANG", "../../etc/passwd"}}, "en_US", {"en-US"}},
             Case{{{"LANG", std::string(5'000, 'x')}}, "en_US", {"en-US"}},
         }) {
        const auto locale = localeFromVariables([&](const char* name) -> std::optional<std::string> {
            const auto found = variables.find(name);
            return found == variables.end() ? std::nullopt : std::optional(found->second);
        });
        EXPECT_EQ(locale.formats, formats) << testing::PrintToString(variables);
        EXPECT_EQ(locale.preferredLanguages, languages) << testing::PrintToString(variables);
    }
}

TEST(TimeText, IdentifiersAreRandomUUIDs) {
    const SystemEnvironment environment;
    const std::regex form("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
    std::set<std::string> seen;
    for (int i = 0; i < 1'000; ++i) {
        const auto identifier = environment.newIdentifier();
        EXPECT_TRUE(std::regex_match(identifier, form)) << identifier;
        EXPECT_TRUE(seen.insert(identifier).second);
    }
    EXPECT_TRUE(environment.timeZone());
}

}  // namespace
}  // namespace zun
