#include "account/AccountClient.h"

#include <gtest/gtest.h>

#include <map>

#include "platform/foundation/SimulatedDispatch.h"
#include "support/ScriptedCloudTransport.h"
#include "support/TemporaryFolder.h"

namespace zun {
namespace {

// Services by address. Each lets everybody in, under the account that the name says.
class AccountClientTest : public testing::Test {
  protected:
    std::shared_ptr<ScriptedCloudTransport> service(const ServiceAddress& address) {
        auto& found = services[address.URL + " " + address.certificateFingerprint];
        if (found) return found;
        found = std::make_shared<ScriptedCloudTransport>();
        found->script = [this](const cloud::Request& request) -> cloud::Answer {
            const auto* who = std::get_if<cloud::SignIn>(&request);
            if (!who) return cloud::Done{};
            const auto device = "device-" + std::to_string(++devices);
            return cloud::SignedIn{"id-of-" + who->name, who->name, "", "", device, "token-of-" + device, "epoch"};
        };
        return found;
    }
    void signIn(const ServiceAddress& address, const std::string& name) {
        int answers = 0;
        client.signIn(address, {name, "secret", ""}, [&](const OptionalError& error) { answers += error ? 100 : 1; });
        EXPECT_EQ(answers, 1);
    }

    TemporaryFolder folder;
    SimulatedDispatch dispatch{1};
    std::map<std::string, std::shared_ptr<ScriptedCloudTransport>> services;
    int devices = 0;
    AccountKeeper keeper{{folder.path() / "configuration", folder.path() / "data"}, nullptr, dispatch};
    TransportFactory makeTransport = [this](const ServiceAddress& address) { return service(address); };
    AccountTransport transport{keeper, makeTransport};
    AccountClient client{{keeper, transport, makeTransport}};
};

TEST_F(AccountClientTest, ASignInEndsTheOneThatItReplaces) {
    const ServiceAddress home{"https://home.example", "AA"}, work{"https://work.example", ""};
    auto& atHome = *service(home);
    auto& atWork = *service(work);
    signIn(home, "ada");
    EXPECT_EQ(atHome.requests.size(), 1u) << "nobody was signed in before";

    // The same account: the new sign-in can end the former one, whose secret the keyring may have lost.
    signIn(home, "ada");
    ASSERT_EQ(atHome.requests.size(), 3u);
    EXPECT_EQ(atHome.asked<cloud::RevokeDevice>(2).deviceID, "device-1");
    EXPECT_EQ(atHome.deviceTokens[2], "token-of-device-2.epoch");

    // Also when its service has moved to another address.
    const ServiceAddress moved{"https://moved.example", "AA"};
    auto& atMoved = *service(moved);
    signIn(moved, "ada");
    EXPECT_EQ(atMoved.asked<cloud::RevokeDevice>(1).deviceID, "device-2");
    EXPECT_EQ(atHome.requests.size(), 3u);

    // Another account: with the former token, at its service and nowhere else.
    atMoved.holdsBack = true;
    signIn(work, "bob");
    ASSERT_EQ(atMoved.requests.size(), 3u);
    EXPECT_TRUE(std::holds_alternative<cloud::SignOut>(atMoved.requests[2]));
    EXPECT_EQ(atMoved.deviceTokens[2], "token-of-device-3.epoch");
    EXPECT_EQ(atWork.requests.size(), 1u);
    int told = 0;
    client.whenFormerHaveEnded([&] { ++told; });
    EXPECT_EQ(told, 0);
    atMoved.answerHeld();
    EXPECT_EQ(told, 1);

    // A sign-in that is refused ends nothing.
    atWork.script = [](const cloud::Request&) { return CKError{CKErrorCode::NotAuthenticated, "", {}}; };
    client.signIn(work, {"ada", "wrong", ""}, [](const OptionalError& error) { EXPECT_TRUE(error); });
    EXPECT_EQ(atMoved.requests.size() + atWork.requests.size(), 5u);
    EXPECT_EQ(keeper.currentSession()->deviceToken, "token-of-device-4");
}

}  // namespace
}  // namespace zun
