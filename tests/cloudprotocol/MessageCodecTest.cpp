#include "platform/cloudprotocol/MessageCodec.h"

#include <gmock/gmock.h>

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <limits>

#include "cloudprotocol/RandomMessages.h"
#include "platform/cloudprotocol/Routes.h"

namespace zun::cloud {
namespace {

// The same JSON as another program would write it: other escapes, other spaces.
std::string rewritten(const std::string& body) {
    return " " + boost::json::serialize(boost::json::parse(body)) + "\n";
}

class EverySeed : public testing::TestWithParam<std::uint64_t> {};

TEST_P(EverySeed, EachRequestComesBackAsItWasSent) {
    RandomMessages random(GetParam());
    const auto send = [&]<class Asks, class Answers>(const Route<Asks, Answers>& route) {
        Asks message;
        random.fill(message);
        const Request request = message;
        const auto body = encode(request);
        for (const auto& arriving : {body, rewritten(body)}) {
            const auto received = decodeRequest(pathOf(request), arriving);
            ASSERT_TRUE(std::holds_alternative<Request>(received)) << route.path << " " << body;
            EXPECT_EQ(std::get<Request>(received).index(), request.index());
            EXPECT_EQ(encode(std::get<Request>(received)), body);
        }
    };
    std::apply([&](const auto&... route) { (send(route), ...); }, routes);
}

TEST_P(EverySeed, EachAnswerAndErrorComesBackToTheOneWhoAsked) {
    RandomMessages random(GetParam());
    const auto answer = [&]<class Asks, class Answers>(const Route<Asks, Answers>& route) {
        Answers message;
        CKError error;
        random.fill(message);
        random.fill(error);
        for (const Answer& sent : {Answer(message), Answer(error)}) {
            const auto body = encode(sent);
            for (const auto& arriving : {body, rewritten(body)}) {
                const auto received = decodeAnswer(Request(Asks()), arriving);
                ASSERT_TRUE(std::holds_alternative<Answer>(received)) << route.path << " " << body;
                EXPECT_EQ(std::get<Answer>(received).index(), sent.index());
                EXPECT_EQ(encode(std::get<Answer>(received)), body);
            }
        }
    };
    std::apply([&](const auto&... route) { (answer(route), ...); }, routes);
}

TEST_P(EverySeed, RecordsAndPushesComeBackEqual) {
    RandomMessages random(GetParam());
    CKRecord record;
    random.fill(record);
    const auto reread = decodeRecord(encode(record));
    ASSERT_TRUE(std::holds_alternative<CKRecord>(reread)) << std::get<Malformed>(reread).reason << encode(record);
    EXPECT_EQ(std::get<CKRecord>(reread), record) << encode(record);

    Push push;
    random.fill(push);
    const auto received = decodePush(encode(push));
    ASSERT_TRUE(std::holds_alternative<Push>(received));
    EXPECT_EQ(encode(std::get<Push>(received)), encode(push));
}

INSTANTIATE_TEST_SUITE_P(Seeds, EverySeed, testing::Range<std::uint64_t>(1, 201));

TEST(MessageCodec, ValuesAreExact) {
    const std::vector<std::pair<CKRecordValue, std::string_view>> cases{
        {CKRecordValue(std::numeric_limits<std::uint64_t>::max()), R"({"i":18446744073709551615})"},
        {CKRecordValue(std::numeric_limits<std::int64_t>::min()), R"({"i":-9223372036854775808})"},
        {CKRecordValue(std::int64_t(9007199254740993)), R"({"i":9007199254740993})"},
        {CKRecordValue(0.1), R"({"d":"0.1"})"},
        {CKRecordValue(5e-324), R"({"d":"5e-324"})"},
        {CKRecordValue(NSDate(std::chrono::microseconds(1767225600000001))), R"({"t":1767225600000001})"},
        {CKRecordValue(NSDate(std::chrono::microseconds(-1))), R"({"t":-1})"},
        {CKRecordValue(CKList()), R"({"l":[]})"},
        {CKRecordValue(std::string()), R"({"s":""})"},
        {CKRecordValue(Bytes()), R"({"x":""})"},
        {CKRecordValue(Bytes{0, 255}), R"({"x":"AP8="})"},
        {CKRecordValue(true), R"({"b":true})"},
    };
    for (const auto& [value, text] : cases) {
        CKRecord record{"T", {"name", {}}, {}, {}, {}, {}, {}};
        record.setObject("f", value);
        EXPECT_THAT(encode(record), testing::HasSubstr(text));
        const auto reread = decodeRecord(encode(record));
        ASSERT_TRUE(std::holds_alternative<CKRecord>(reread)) << text;
        EXPECT_EQ(std::get<CKRecord>(reread), record) << text;
    }
}

TEST(MessageCodec, AnAbsentListOfKeysIsNotAnEmptyOne) {
    FetchRecords fetch{DatabaseScope::Private, {{"a", {}}}, std::nullopt};
    const auto keysOf = [](const FetchRecords& message) {
        const auto received = decodeRequest("records/fetch", encode(Request(message)));
        return std::get<FetchRecords>(std::get<Request>(received)).desiredKeys;
    };
    EXPECT_EQ(keysOf(fetch), std::nullopt);
    fetch.desiredKeys.emplace();
    EXPECT_EQ(keysOf(fetch), std::vector<std::string>());
}

}  // namespace
}  // namespace zun::cloud
