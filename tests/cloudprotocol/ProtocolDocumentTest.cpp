#include <gmock/gmock.h>

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <fstream>
#include <sstream>

#include "platform/cloudprotocol/MessageCodec.h"
#include "platform/cloudprotocol/Routes.h"

namespace zun::cloud {
namespace {

struct Example {
    std::string heading, kind, text;
};

// The fenced blocks of the page whose language is "json" and a word, with the headings that they stand under.
std::vector<Example> examples() {
    std::ifstream page(ZUN_PROTOCOL_DOCUMENT);
    std::vector<Example> found;
    std::string line, heading;
    while (std::getline(page, line)) {
        if (line.starts_with("### ")) heading = line.substr(4);
        if (!line.starts_with("```json ")) continue;
        Example example{heading, line.substr(8), ""};
        while (std::getline(page, line) && line != "```")
            example.text += line + "\n";
        found.push_back(std::move(example));
    }
    return found;
}

// What a message says; equal whatever the order of its fields.
template <class Whole>
boost::json::value rewritten(const std::variant<Whole, Malformed>& result) {
    if (const auto* malformed = std::get_if<Malformed>(&result)) return {{"malformed", malformed->reason}};
    return boost::json::parse(encode(std::get<Whole>(result)));
}

TEST(ProtocolDocument, ShowsEveryRequestWithItsAnswersAsTheyAreWritten) {
    std::map<std::string, int> shown;
    for (const auto& example : examples()) {
        ++shown[example.heading + " " + example.kind];
        const auto expected = boost::json::parse(example.text);
        if (example.heading == "GET /v1/push") {
            EXPECT_EQ(rewritten(decodePush(example.text)), expected);
            continue;
        }
        const auto path = example.heading.substr(std::string_view("POST /v1/").size());
        if (example.kind == "request") {
            EXPECT_EQ(rewritten(decodeRequest(path, example.text)), expected) << path;
            continue;
        }
        const auto answer = [&]<class Asks, class Answers>(const Route<Asks, Answers>& route) {
            if (route.path != path) return;
            const auto received = decodeAnswer(Request(Asks()), example.text);
            EXPECT_EQ(rewritten(received), expected) << path;
            const bool isError = example.kind == "error";
            ASSERT_TRUE(std::holds_alternative<Answer>(received)) << path;
            EXPECT_EQ(std::holds_alternative<CKError>(std::get<Answer>(received)), isError) << path;
        };
        std::apply([&](const auto&... route) { (answer(route), ...); }, routes);
    }
    const auto isShown = [&](const auto& route) {
        for (const std::string kind : {" request", " answer"})
            EXPECT_EQ(shown["POST /v1/" + std::string(route.path) + kind], 1) << route.path << kind;
    };
    std::apply([&](const auto&... route) { (isShown(route), ...); }, routes);
    EXPECT_EQ(shown["GET /v1/push push"], 3);
    EXPECT_GE(shown["POST /v1/records/modify error"], 1);
}

}  // namespace
}  // namespace zun::cloud
