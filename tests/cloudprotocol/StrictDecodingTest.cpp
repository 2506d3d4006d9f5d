#include <gmock/gmock.h>

#include "platform/cloudprotocol/MessageCodec.h"
#include "platform/cloudprotocol/ProtocolLimits.h"

namespace zun::cloud {
namespace {

using std::string_literals::operator""s;

// "" if the body was taken.
std::string complaint(std::string_view path, std::string_view body) {
    const auto result = decodeRequest(path, body);
    const auto* malformed = std::get_if<Malformed>(&result);
    return malformed ? malformed->reason : "";
}

std::string recordNamed(std::string_view quotedName, std::string_view fields = "{}") {
    return R"({"database":"private","savePolicy":0,"recordIDsToDelete":[],"recordsToSave":[{"recordID":{"recordName":)" +
           std::string(quotedName) +
           R"(,"zoneName":"z","ownerName":"o"},"recordType":"T","recordChangeTag":"","fields":)" + std::string(fields) +
           "}]}";
}

std::string nested(int depth) {
    std::string value = R"({"i":1})";
    for (int i = 0; i < depth; ++i)
        value = R"({"l":[)" + value + "]}";
    return R"({"f":)" + value + "}";
}

TEST(StrictDecoding, RefusesWhatIsNotTheMessage) {
    struct Case {
        std::string path, body, complaint;
    };
    const std::vector<Case> cases{
        {"account/nothing", "{}", "an unknown path"},
        {"account/fetch", "", "no object"},
        {"account/fetch", "[]", "no object"},
        {"account/fetch", "{}{}", "more than one value"},
        {"account/fetch", R"({"more":1})", "an unknown field"},
        {"account/revoke-device", "{}", "a missing field"},
        {"account/revoke-device", R"({"deviceID":"a","deviceID":"b"})", "a field twice"},
        {"account/revoke-device", R"({"deviceID":null})", "no text"},
        {"account/revoke-device", R"({"deviceID":"a",})", "nothing after the comma"},
        {"account/revoke-device", R"({"deviceID" "a"})", "no colon"},
        {"account/revoke-device", R"({"deviceID":"a)", "ends early"},
        {"account/revoke-device", R"({"deviceID":")" + std::string(longestText + 1, 'a') + R"("})", "too long a text"},
        {"zones/fetch", R"({"database":"public"})", "an unknown database"},
        {"records/modify", R"({"savePolicy":3})", "an unknown number"},
        {"records/modify", R"({"savePolicy":0.0})", "no integer"},
        {"records/modify", R"({"savePolicy":00})", "a leading zero"},
        {"records/modify", R"({"savePolicy":1e0})", "no integer"},
        {"shares/metadata", R"({"URLs":["a" "b"]})", "no comma"},
        {"shares/metadata", R"({"shouldFetchRootRecord":1})", "neither true nor false"},
        {"records/modify", recordNamed(R"("")"), "an empty name"},
        {"records/modify", recordNamed('"' + std::string(longestName + 1, 'a') + '"'), "too long a text"},
        {"records/modify", recordNamed(R"("a")", R"({"":{"i":1}})"), "an unfit name"},
        {"records/modify", recordNamed(R"("a")", R"({"f":{"i":1},"f":{"i":1}})"), "a field twice"},
        {"records/modify", recordNamed(R"("a")", R"({"f":{}})"), "no value"},
        {"records/modify", recordNamed(R"("a")", R"({"f":{"i":1,"s":""}})"), "more than one value"},
        {"records/modify", recordNamed(R"("a")", R"({"f":{"q":1}})"), "an unknown type"},
        {"records/modify", recordNamed(R"("a")", R"({"f":{"i":18446744073709551616}})"), "no integer"},
        {"records/modify", recordNamed(R"("a")", R"({"f":{"i":-9223372036854775809}})"), "no integer"},
        {"records/modify", recordNamed(R"("a")", R"({"f":{"t":1.5}})"), "no integer"},
        {"records/modify", recordNamed(R"("a")", R"({"f":{"d":0.5}})"), "no text"},
        {"records/modify", recordNamed(R"("a")", R"({"f":{"d":"0.5 "}})"), "no number"},
        {"records/modify", recordNamed(R"("a")", R"({"f":{"d":"inf"}})"), "no number"},
        {"records/modify", recordNamed(R"("a")", R"({"f":{"d":"nan"}})"), "no number"},
        {"records/modify", recordNamed(R"("a")", R"({"f":{"x":"AP8"}})"), "no Base64"},
        {"records/modify", recordNamed(R"("a")", nested(60)), "too deep"},
    };
    for (const auto& one : cases)
        EXPECT_THAT(complaint(one.path, one.body), testing::StartsWith(one.complaint)) << one.body.substr(0, 400);
}

TEST(StrictDecoding, TakesAnyUTF8AsANameAndNothingElse) {
    const std::string accepted[] = {
        R"("é")",        "\"\xC3\xA9\"",          "\"\xF4\x8F\xBF\xBF\"", R"("\ud83d\ude82")",
        R"("a\u0000b")", R"("\\\"\/\b\f\n\r\t")", "\"\xED\x9F\xBF\""};
    for (const auto& name : accepted)
        EXPECT_EQ(complaint("records/modify", recordNamed(name)), "") << name;

    const std::string refused[] = {"\"\xC0\x80\"",          // a longer form than needed
                                   "\"\xE0\x9F\xBF\"",      //
                                   "\"\xF0\x8F\xBF\xBF\"",  //
                                   "\"\xED\xA0\x80\"",      // half of a pair
                                   "\"\xF4\x90\x80\x80\"",  // beyond the last character
                                   "\"\xE2\x82\"",         "\"\xFF\"",    "\"\x80\"",          "\"a\nb\"",
                                   R"("\ud83d")",          R"("\ude82")", R"("\ud83d\u0041")", R"("\u12g4")",
                                   R"("\u+123")",          R"("\x41")"};
    for (const auto& name : refused)
        EXPECT_NE(complaint("records/modify", recordNamed(name)), "") << name;
}

TEST(StrictDecoding, EveryShorterBodyIsRefused) {
    const auto whole = recordNamed(R"("é\u00e9")", R"({"a":{"l":[{"i":-12},{"b":true}]},"b":{"d":"1.5"}})");
    ASSERT_EQ(complaint("records/modify", whole), "");
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_NE(complaint("records/modify", whole.substr(0, length)), "") << length;
}

TEST(StrictDecoding, AnAnswerToAnotherRequestIsRefused) {
    const auto zones = encode(Answer(Zones{{{}}}));
    EXPECT_TRUE(std::holds_alternative<Answer>(decodeAnswer(FetchZones{}, zones)));
    EXPECT_TRUE(std::holds_alternative<Malformed>(decodeAnswer(FetchAccount{}, zones)));
    EXPECT_TRUE(std::holds_alternative<Malformed>(decodeAnswer(SignOut{}, R"({"error":{"code":1}})")));
    EXPECT_TRUE(std::holds_alternative<Malformed>(decodeAnswer(
        FetchRecords{},
        R"({"records":[],"failed":[{"key":{"recordName":"a","zoneName":"z","ownerName":"o"},"error":{"code":11,)"
        R"("description":"","partialErrors":[]}},{"key":{"recordName":"a","zoneName":"z","ownerName":"o"},)"
        R"("error":{"code":11,"description":"","partialErrors":[]}}]})")));
}

}  // namespace
}  // namespace zun::cloud
