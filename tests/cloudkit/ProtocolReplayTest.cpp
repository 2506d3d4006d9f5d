// The requests that the page about the protocol shows, asked of a service in this process: each is answered as the page
// says, or refused with the code that it gives.

#include <gmock/gmock.h>

#include <boost/json/parse.hpp>
#include <fstream>
#include <map>
#include <set>

#include "platform/cloudprotocol/MessageCodec.h"
#include "platform/cloudprotocol/Routes.h"
#include "support/ServiceWorld.h"

namespace zun::cloud {
namespace {

// The page's examples by path and kind: "records/modify request".
std::map<std::string, std::string> examples() {
    std::ifstream page(ZUN_PROTOCOL_DOCUMENT);
    std::map<std::string, std::string> found;
    const std::string before = "### POST /v1/";
    std::string line, path;
    while (std::getline(page, line)) {
        if (line.starts_with("### ")) path = line.starts_with(before) ? line.substr(before.size()) : "";
        if (!line.starts_with("```json ") || path.empty()) continue;
        auto& text = found[path + " " + line.substr(8)];
        while (std::getline(page, line) && line != "```")
            text += line + "\n";
    }
    return found;
}

std::vector<std::string> keysOf(const std::string& json) {
    std::vector<std::string> keys;
    const auto parsed = boost::json::parse(json);
    for (const auto& [key, value] : parsed.as_object())
        keys.emplace_back(key);
    return keys;
}

class ProtocolReplay : public testing::Test {
  protected:
    Request documented(const std::string& path) const {
        auto decoded = decodeRequest(path, page.at(path + " request"));
        EXPECT_TRUE(std::holds_alternative<Request>(decoded)) << path;
        return std::get<Request>(std::move(decoded));
    }
    Answer ask(const std::string& path) { return world.ask(token, documented(path)); }

    // Asks what the page asks, and is answered with what it answers.
    Answer expectAnswer(const std::string& path) {
        const auto request = documented(path);
        auto answer = world.ask(token, request);
        withRoute(request, [&]<class Asks, class Answers>(const Route<Asks, Answers>&) {
            EXPECT_TRUE(std::holds_alternative<Answers>(answer)) << path << ": " << encode(answer);
        });
        EXPECT_THAT(keysOf(encode(answer)), testing::UnorderedElementsAreArray(keysOf(page.at(path + " answer"))))
            << path;
        replayed.insert(path);
        return answer;
    }
    // Or refused with the code that it shows.
    void expectError(const std::string& path) {
        const auto shown = decodeAnswer(documented(path), page.at(path + " error"));
        const auto answer = ask(path);
        const auto* error = std::get_if<CKError>(&answer);
        ASSERT_NE(error, nullptr) << path << ": " << encode(answer);
        EXPECT_EQ(error->code, std::get<CKError>(std::get<Answer>(shown)).code) << path << ": " << error->description;
        EXPECT_FALSE(error->description.empty()) << path;
        replayed.insert(path);
    }
    void signUp() {
        const auto answer = expectAnswer("account/create");
        if (const auto* signedIn = std::get_if<SignedIn>(&answer)) token = signedIn->deviceToken;
    }
    void make(const std::string& zoneName) {
        const CKRecordZoneID zone{zoneName, std::string(CKCurrentUserDefaultName)};
        const auto answer = world.ask(token, ModifyZones{DatabaseScope::Private, {zone}, {}});
        EXPECT_TRUE(std::holds_alternative<ModifiedZones>(answer)) << zoneName;
    }

    const std::map<std::string, std::string> page = examples();
    ServiceWorld world;
    std::string token;
    std::set<std::string> replayed;
};

TEST_F(ProtocolReplay, EveryRequestIsAnsweredOrRefusedAsThePageSays) {
    expectError("account/fetch");  // by nobody
    signUp();
    expectError("account/create");  // a second time
    expectAnswer("account/sign-in");
    expectAnswer("account/fetch");
    expectAnswer("account/devices");
    expectError("account/revoke-device");  // which there is not

    make("Old");
    expectAnswer("zones/modify");
    expectError("zones/modify");  // the zone to be deleted is gone
    expectAnswer("zones/fetch");

    const auto doomed = std::get<ModifyRecords>(documented("records/modify")).recordIDsToDelete.at(0).recordName;
    (void)world.ask(token,
                    ModifyRecords{DatabaseScope::Private, SavePolicy::AllKeys, {makeRecord(doomed, "to go")}, {}});
    const auto saved = expectAnswer("records/modify");
    ASSERT_TRUE(std::holds_alternative<ModifiedRecords>(saved));
    EXPECT_EQ(std::get<ModifiedRecords>(saved).saved.size(), 1u) << encode(saved);
    EXPECT_EQ(std::get<ModifiedRecords>(saved).deleted.size(), 1u) << encode(saved);
    const auto fetched = expectAnswer("records/fetch");
    ASSERT_TRUE(std::holds_alternative<FetchedRecords>(fetched));
    EXPECT_EQ(std::get<FetchedRecords>(fetched).records.size(), 1u) << encode(fetched);
    expectAnswer("records/query");

    expectError("changes/database");  // the page's token is none of this service's
    expectAnswer("changes/database");
    (void)ask("changes/zones");
    const auto changes = expectAnswer("changes/zones");
    ASSERT_TRUE(std::holds_alternative<ZoneChanges>(changes));
    ASSERT_EQ(std::get<ZoneChanges>(changes).zones.size(), 2u);
    EXPECT_EQ(std::get<ZoneChanges>(changes).zones[0].changed.size(), 1u);
    EXPECT_EQ(std::get<ZoneChanges>(changes).zones[1].error->code, CKErrorCode::ZoneNotFound);

    expectAnswer("subscriptions/save");
    expectError("subscriptions/save");  // a duplicate
    expectAnswer("subscriptions/fetch");
    expectAnswer("subscriptions/delete");
    expectError("subscriptions/delete");  // there is none any more

    expectAnswer("shares/metadata");
    expectAnswer("shares/accept");

    expectAnswer("account/change-password");
    expectError("account/sign-in");  // with the former one
    const auto change = std::get<ChangePassword>(documented("account/change-password"));
    (void)world.ask(token, ChangePassword{change.newPassword, change.oldPassword});
    const auto again = expectAnswer("account/sign-in");
    expectAnswer("account/sign-out");
    expectError("account/fetch");
    token = std::get<SignedIn>(again).deviceToken;
    expectAnswer("account/delete");
    expectError("account/fetch");

    const auto isReplayed = [&](const auto& route) {
        EXPECT_TRUE(replayed.contains(std::string(route.path))) << route.path;
    };
    std::apply([&](const auto&... route) { (isReplayed(route), ...); }, routes);
}

TEST_F(ProtocolReplay, AHastyDeviceIsToldHowLongToWait) {
    world.options.limits.requestsPerSecond = world.options.limits.requestsAtOnce = 1;
    world.restart();
    signUp();
    make("Reminders");
    expectError("records/modify");
}

}  // namespace
}  // namespace zun::cloud
