#include "text/URLIntake.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "platform/foundation/ISO8601.h"

namespace zun {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct Answer {
    bool shouldShowEditor;
    ReminderPtr reminder;
    std::string reason;
};

std::vector<Answer> answersTo(std::string_view url) {
    std::vector<Answer> answers;
    reminderFromURL(url, [&](bool shouldShowEditor, const ReminderPtr& reminder, const URLIntakeError* error) {
        answers.push_back({shouldShowEditor, reminder, error ? std::string(error->localizedFailureReason) : ""});
    });
    return answers;
}

ReminderAttributes attributesOf(std::string_view url) {
    const auto answers = answersTo(url);
    EXPECT_EQ(answers.size(), 1u) << url;
    EXPECT_TRUE(answers.front().reminder) << url;
    return answers.front().reminder ? answers.front().reminder->attributes() : ReminderAttributes();
}

TEST(URLIntake, ReadsWhatIsGivenAndNothingElse) {
    const auto date = dateFromInternetFormat("2026-02-01T09:00:00Z");
    const struct {
        const char* url;
        std::function<void(ReminderAttributes&)> changes;
    } cases[] = {
        {"", [](auto&) {}},
        {"n=a%26b+c", [](auto& r) { r.notes = "a&b+c"; }},
        {"c=%5B%20%5Done%5Cn[x]two\\n", [](auto& r) { r.checklist = "[ ]one\n[x]two\n"; }},
        {"n=one%5Cntwo", [](auto& r) { r.notes = "one\\ntwo"; }},
        {"d=2026-02-01T09:00:00Z", [&](auto& r) { r.start_date = r.due_date = r.fire_date = date; }},
        {"d=2026-02-01T10:00:00+01:00", [&](auto& r) { r.start_date = r.due_date = r.fire_date = date; }},
        {"d=2026-02-01T04%3A00%3A00-05%3A00", [&](auto& r) { r.start_date = r.due_date = r.fire_date = date; }},
        {"d=2026-02-01&ed=tomorrow", [](auto&) {}},
        {"ed=2026-02-01T09:00:00Z", [&](auto& r) { r.end_date = date; }},
        {"a=1", [](auto& r) { r.shouldSuppressNotifications = false; }},
        {"a=0&nag=2", [](auto& r) { r.naggingNotifications = true; }},
        {"r=3&rint=2", [](auto& r) { r.repeat_type = 3, r.customRepeatInterval = 2; }},
        {"r=6", [](auto& r) { r.repeat_type = 6; }},
        {"r=1&ord=2,4",
         [](auto& r) {
             r.repeat_type = 2, r.customRepeatDayOrdinals = {2, 4};
         }},
        {"r=1&ord=", [](auto& r) { r.repeat_type = 1; }},
        {"eat=2&eaint=1&d=2026-02-01T09:00:00Z",
         [&](auto& r) {
             r.earlyReminderType = 2, r.earlyReminderInterval = 1;
             r.start_date = r.due_date = r.fire_date = date;
         }},
        // A place takes the place of the date; without all of its parts it is none.
        {"d=2026-02-01T09:00:00Z&r=3&eat=1&n=x&loc=Home&lat=52.5&long=-13.4",
         [](auto& r) {
             r.notes = "x", r.locationName = "Home", r.locationLatitude = 52.5, r.locationLongitude = -13.4;
             r.locationActivationRadius = 300;
         }},
        {"loc=Home&lat=1&long=2&lact=1&lrad=0&r=6",
         [](auto& r) {
             r.repeat_type = 6, r.locationName = "Home", r.locationLatitude = 1, r.locationLongitude = 2;
             r.locationActivation = 1;
         }},
        {"r=3&loc=Home&lat=1", [](auto& r) { r.repeat_type = 3; }},
        {"r=3&lat=1&long=2", [](auto& r) { r.repeat_type = 3; }},
    };
    for (const auto& c : cases) {
        ReminderAttributes expected;
        expected.title = "Pay rent";
        expected.shouldSuppressNotifications = true;
        c.changes(expected);
        EXPECT_EQ(attributesOf(std::string("zun.create://Pay%20rent?") + c.url), expected) << c.url;
    }
}

TEST(URLIntake, BearsEveryNumber) {
    struct Case {
        const char* value;
        std::uint64_t plain, interval, repeatType, earlyType;
    };
    const auto most = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    const Case cases[] = {
        {"4", 4, 4, 4, 4},
        {"%20+5x7", 5, 5, 5, 0},
        {"7", 7, 7, 0, 0},
        {"-3", 0, 0, 0, 0},
        {"1000", 1000, 999, 0, 0},
        {"x", 0, 0, 0, 0},
        {"%EF%BC%95", 0, 0, 0, 0},
        {"--4", 0, 0, 0, 0},
        {"99999999999999999999", most, 999, 0, 0},
        {"-99999999999999999999", 0, 0, 0, 0},
        {"9223372036854775807", most, 999, 0, 0},
        {"0x10", 0, 0, 0, 0},
    };
    for (const auto& c : cases) {
        const auto with = [&](const std::string& parameter) { return parameter + c.value; };
        EXPECT_EQ(attributesOf(with("zun.create://t?r=")).repeat_type, c.repeatType) << c.value;
        EXPECT_EQ(attributesOf(with("zun.create://t?rint=")).customRepeatInterval, c.interval) << c.value;
        EXPECT_EQ(attributesOf(with("zun.create://t?eat=")).earlyReminderType, c.earlyType) << c.value;
        EXPECT_EQ(attributesOf(with("zun.create://t?eaint=")).earlyReminderInterval, c.interval) << c.value;
        const auto place =
            attributesOf(with("zun.create://t?loc=x&lat=1&long=1&lact=" + std::string(c.value) + "&lrad="));
        EXPECT_EQ(place.locationActivation, c.plain) << c.value;
        EXPECT_EQ(place.locationActivationRadius, c.plain) << c.value;
        EXPECT_EQ(attributesOf(with("zun.create://t?a=")).shouldSuppressNotifications, c.plain == 0) << c.value;
        EXPECT_EQ(answersTo(with("zun.create://t?silent=")).front().shouldShowEditor, c.plain != 0) << c.value;
    }
    EXPECT_TRUE(answersTo("zun.create://t").front().shouldShowEditor);
    EXPECT_TRUE(answersTo("zun.create://t?silent=").front().shouldShowEditor);

    const std::pair<const char*, bool> latitudes[] = {
        {"90", true},   {"-90.0", true}, {"%2B1e1", true}, {"52,5", true},   {"90.1", false}, {"1e999", false},
        {"nan", false}, {"inf", false},  {"", false},      {"north", false}, {"0x1p3", true}, {"-", false}};
    for (const auto& [latitude, isPlace] : latitudes) {
        EXPECT_EQ(attributesOf("zun.create://t?loc=x&long=180&lat=" + std::string(latitude)).locationName.has_value(),
                  isPlace)
            << latitude;
        EXPECT_FALSE(attributesOf("zun.create://t?loc=x&long=181&lat=" + std::string(latitude)).locationName)
            << latitude;
    }

    EXPECT_THAT(dayOrdinalsFromString("7, 1,x,8,0,-2,1,99999999999999999999,3").value(), ElementsAre(7, 1, 3));
    for (const auto* none : {"", ",", "0,8", "mon"})
        EXPECT_FALSE(dayOrdinalsFromString(none)) << none;
}

TEST(URLIntake, TakesTheTitleFromTheHostsPlace) {
    const std::pair<std::string, std::string> cases[] = {
        {"zun.create://PAY%20Rent", "PAY Rent"},
        {"ZUN.Create://a", "a"},
        {"zun.create://me@home:9:30", "me@home:9:30"},
        {"zun.create://a/b?n=c#d?e", "a"},
        {"zun.create://a%2Fb%3Fc%23d", "a/b?c#d"},
        {"zun.create://a+b", "a+b"},
        {"zun.create://%20", " "},
        {"zun.create://Café%20%E2%98%95", "Café ☕"},
        {"zun.create://a%C3%28%FFb%00", "a\uFFFD(\uFFFDb\uFFFD"},
        {"zun.create://a\xC3(b", "a\uFFFD(b"},
        {"zun.create://%ED%A0%80", "\uFFFD\uFFFD\uFFFD"},
        {"zun.create://%E2%80%AEabc%07", "\u202Eabc\a"},
        {"zun.create://" + std::string(1 << 20, 't'), std::string(1 << 20, 't')},
    };
    for (const auto& [url, title] : cases)
        EXPECT_EQ(attributesOf(url).title, title) << url.substr(0, 60);
}

TEST(URLIntake, TellsWhatIsWrong) {
    const std::string noURL = "There was an error creating a URL from the given string";
    const std::string noTitle = "There was an error parsing the URL";
    const std::string_view noURLs[] = {
        "",
        "zun.create",
        "zun.create:title",
        "zun.create:/title",
        "https://title",
        "zun.creates://a",
        "zun://a",
        "zun.create://a b",
        "zun.create://a\nb",
        "zun.create://a\x7f",
        "zun.create://%",
        "a",
        "zun.create://100%",
        "zun.create://a?n=%4",
        "zun.create://a?n=%G0",
        " zun.create://a",
    };
    const auto tooLong = "zun.create://" + std::string(maximumURLSize, 'x');
    std::vector<std::string> urls(std::begin(noURLs), std::end(noURLs));
    urls.push_back(tooLong);
    urls.push_back(std::string("zun.create://a\0b", 16));
    for (const auto& url : urls) {
        const auto answers = answersTo(url);
        ASSERT_EQ(answers.size(), 2u) << url.substr(0, 60);
        EXPECT_EQ(answers[0].reason, noURL);
        EXPECT_EQ(answers[1].reason, noTitle);
        for (const auto& answer : answers)
            EXPECT_TRUE(!answer.reminder && !answer.shouldShowEditor) << url.substr(0, 60);
    }
    for (const auto* url : {"zun.create://", "zun.create://?n=1", "zun.create:///title", "zun.create://#title"}) {
        const auto answers = answersTo(url);
        ASSERT_EQ(answers.size(), 1u) << url;
        EXPECT_EQ(answers[0].reason, noTitle) << url;
        EXPECT_FALSE(answers[0].reminder) << url;
    }

    reminderFromURL("zun.create://", [&](bool, const ReminderPtr&, const URLIntakeError* error) {
        EXPECT_EQ(error->domain, "znZunErrorDomainReminders");
        EXPECT_EQ(error->code, 1900);
        EXPECT_EQ(error->localizedDescription, "Unable to create reminder");
        EXPECT_EQ(error->localizedRecoverySuggestion, "Please check your URL parameter names and syntax");
        EXPECT_EQ(
            urlIntakeLogLine(error),
            "Zun was unable to create a reminder using the URL scheme zun.create: There was an error parsing the URL");
    });
    EXPECT_EQ(urlIntakeLogLine(nullptr), "Zun was unable to create a reminder using the URL scheme zun.create");
}

TEST(URLIntake, FindsOneOfSeveralParameters) {
    struct Case {
        const char *query, *value;
    };
    const Case cases[] = {
        {"?n=a", "a"},         {"?x=1&n=a", "a"},     {"?x=1&n=a&n=b", "b"},  // the last one counts
        {"?n=a&n=b", "a"},  // unless the first parameter is one: that form is looked for first
        {"?x=1&n=a?n=b", "b"}, {"?n=a?n=b&n=c", "b"}, {"?n=a=b", "a=b"},
        {"?N=a", ""},          {"?xn=a", ""},         {"?n", ""},
        {"?n=", ""},           {"?n=&n=b", ""},       {"&n=a", ""},
        {"#?n=a", ""},         {"?x=%26n=a", ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(stringForQueryParam("n", std::string("zun.create://t") + c.query).value_or(""), c.value) << c.query;
    }
}

}  // namespace
}  // namespace zun
