#include "text/RecordJSON.h"

#include <gtest/gtest.h>

#include <boost/json/serialize.hpp>
#include <random>

#include "platform/foundation/Base64.h"
#include "text/JSONText.h"

namespace zun {
namespace {

ReminderAttributes randomRecord(std::mt19937_64& random) {
    const auto text = [&] {
        static constexpr std::string_view pieces[] = {"milk",       "\"", "\\", "\n", "\u00e4",
                                                      "\U0001F600", "{}", " ",  "\t"};
        std::string result;
        for (auto n = random() % 6; n > 0; --n)
            result += pieces[random() % std::size(pieces)];
        return result;
    };
    ReminderAttributes record;
    for (const auto& attribute : reminderAttributes()) {
        std::visit(
            [&](auto member) {
                using T = std::remove_reference_t<decltype(record.*member)>;
                if (random() % 4 == 0) return;
                if constexpr (std::is_same_v<T, std::string> || std::is_same_v<T, std::optional<std::string>>) {
                    record.*member = text();
                } else if constexpr (std::is_same_v<T, OptionalDate>) {
                    // Years 1 to 9999, in microseconds.
                    const auto span = static_cast<std::uint64_t>(315'000'000'000'000'000);
                    record.*member = NSDate(
                        std::chrono::microseconds(static_cast<std::int64_t>(random() % span) - 62'000'000'000'000'000));
                } else if constexpr (std::is_same_v<T, std::uint64_t>) {
                    record.*member = random() >> (1 + random() % 60);
                } else if constexpr (std::is_same_v<T, std::int64_t>) {
                    record.*member = static_cast<std::int64_t>(random());
                } else if constexpr (std::is_same_v<T, double>) {
                    record.*member = std::uniform_real_distribution<double>(-180, 180)(random);
                } else if constexpr (std::is_same_v<T, bool> || std::is_same_v<T, std::optional<bool>>) {
                    record.*member = random() % 2 == 0;
                } else if constexpr (std::is_same_v<T, std::optional<DayOrdinals>>) {
                    record.*member = DayOrdinals{static_cast<int>(random() % 7 + 1), 3};
                } else {
                    Bytes bytes(random() % 7);
                    for (auto& byte : bytes)
                        byte = static_cast<std::uint8_t>(random());
                    record.*member = bytes;
                }
            },
            attribute.member);
    }
    record.reminderID = "id " + text();
    return record;
}

TEST(RecordJSON, GivesBackExactlyWhatWasWritten) {
    std::mt19937_64 random(7);
    for (int i = 0; i < 3000; ++i) {
        const auto record = randomRecord(random);
        const auto line = boost::json::serialize(jsonFromRecord(record));
        std::string error;
        const auto value = jsonFromText(line, error);
        ASSERT_TRUE(value) << error << "\n" << line;
        const auto read = recordFromJSON(*value);
        ASSERT_TRUE(std::holds_alternative<ReminderAttributes>(read)) << line;
        ASSERT_EQ(std::get<ReminderAttributes>(read), record) << line;
    }
}

TEST(RecordJSON, WritesDatesInUTCAndNullForWhatIsAbsent) {
    ReminderAttributes record;
    record.reminderID = "a";
    record.due_date = NSDate(std::chrono::seconds(1'769'936'400));
    record.fire_date = NSDate(std::chrono::milliseconds(1'769'936'400'500));
    record.sharedZoneID = Bytes{0, 255, 16};
    const auto object = jsonFromRecord(record);
    EXPECT_EQ(object.at("due_date"), "2026-02-01T09:00:00Z");
    EXPECT_EQ(object.at("fire_date"), "2026-02-01T09:00:00.5Z");
    EXPECT_EQ(object.at("sharedZoneID"), "AP8Q");
    EXPECT_TRUE(object.at("notes").is_null());
    EXPECT_TRUE(object.at("shouldDeleteRemote").is_null());
    EXPECT_EQ(object.at("isSnoozed"), true);
    EXPECT_EQ(object.at("isLocationBased"), false);
}

TEST(RecordJSON, SaysWhatCannotBeRead) {
    const std::pair<const char*, const char*> cases[] = {
        {"[]", "object"},
        {"{}", "reminderID"},
        {R"({"reminderID": ""})", "reminderID"},
        {R"({"reminderID": "a", "title": 3})", "title"},
        {R"({"reminderID": "a", "due_date": "tomorrow"})", "due_date"},
        {R"({"reminderID": "a", "repeat_type": -1})", "repeat_type"},
        {R"({"reminderID": "a", "repeat_type": 1e300})", "repeat_type"},
        {R"({"reminderID": "a", "customRepeatDayOrdinals": [8]})", "customRepeatDayOrdinals"},
        {R"({"reminderID": "a", "sharedZoneID": "*"})", "sharedZoneID"},
        {R"({"reminderID": "a", "naggingNotifications": 1})", "naggingNotifications"},
    };
    for (const auto& [text, word] : cases) {
        std::string error;
        const auto read = recordFromJSON(*jsonFromText(text, error));
        const auto* problem = std::get_if<RecordJSONError>(&read);
        ASSERT_TRUE(problem) << text;
        EXPECT_NE(problem->message.find(word), std::string::npos) << text << ": " << problem->message;
    }
    for (const auto* text :
         {"", "{", "{} {}", "nul", "[[[[[[[[[[[[[[[[[[[[]]]]]]]]]]]]]]]]]]]]", "{\"a\": \"\xff\"}"}) {
        std::string error;
        EXPECT_FALSE(jsonFromText(text, error)) << text;
        EXPECT_FALSE(error.empty());
    }
}

TEST(Base64, RefusesWhatIsNotWrittenByIt) {
    for (const auto* text : {"A", "AB", "ABC", "A===", "====", "AB=C", "AB\nC"})
        EXPECT_FALSE(bytesFromBase64(text)) << text;
    EXPECT_EQ(bytesFromBase64(""), Bytes());
    EXPECT_EQ(bytesFromBase64("/w=="), Bytes{255});
}

}  // namespace
}  // namespace zun
