#include "account/AccountTransport.h"

#include <gmock/gmock.h>

#include "platform/foundation/SimulatedDispatch.h"
#include "support/ScriptedCloudTransport.h"
#include "support/TemporaryFolder.h"

namespace zun {
namespace {

using testing::ElementsAre;

// A service that was set back: it refuses whoever builds on another epoch than the present one.
TEST(AccountTransport, LearnsTheEpochOfAServiceThatWasSetBackBeforeAnythingIsSentWithIt) {
    const TemporaryFolder folder;
    SimulatedDispatch dispatch(1);
    AccountKeeper keeper({folder.path() / "configuration", folder.path() / "data"}, nullptr, dispatch);
    const auto service = std::make_shared<ScriptedCloudTransport>();
    AccountTransport transport(keeper, [service](const ServiceAddress&) { return service; });
    ASSERT_EQ(keeper.signedIn({"https://cloud.example", "id", "ada", "", "", "device", "one", "", ""}, "token"),
              AccountKeeper::SigningIn::Done);
    std::vector<std::string> told;
    const auto willChange = keeper.observeEpoch([&](const std::string& accountID, const std::string& epoch) {
        told.push_back(accountID + " " + epoch + ", still " + keeper.currentSession()->credential());
    });
    const auto didChange = keeper.observeSession([&] { told.push_back(keeper.currentSession()->credential()); });
    service->script = [](const cloud::Request& request) -> cloud::Answer {
        if (std::holds_alternative<cloud::FetchAccount>(request))
            return cloud::Account{"id", "ada", "", "", "two", 0, 0};
        return CKError{CKErrorCode::ChangeTokenExpired, "", {}};
    };

    int refused = 0;
    for (int i = 0; i < 2; ++i)
        transport.send(keeper.currentSession()->credential(), cloud::FetchZones{},
                       [&](const cloud::Answer& answer) { refused += std::holds_alternative<CKError>(answer); });
    EXPECT_EQ(refused, 2);
    EXPECT_THAT(told, ElementsAre("id two, still token.one", "token.two"));
    EXPECT_EQ(keeper.state().account->serviceEpoch, "two");
    EXPECT_EQ(service->deviceTokens[1], "token") << "who asks for the epoch names none";
}

TEST(AccountTransport, SendsATokenToNobodyButTheServiceThatGaveIt) {
    const TemporaryFolder folder;
    SimulatedDispatch dispatch(1);
    AccountKeeper keeper({folder.path() / "configuration", folder.path() / "data"}, nullptr, dispatch);
    const auto service = std::make_shared<ScriptedCloudTransport>();
    AccountTransport transport(keeper, [service](const ServiceAddress&) { return service; });
    ASSERT_EQ(keeper.signedIn({"https://one.example", "id-1", "ada", "", "", "first", "one", "", ""}, "token-1"),
              AccountKeeper::SigningIn::Done);
    const auto former = keeper.currentSession()->credential();
    ASSERT_EQ(keeper.signedIn({"https://two.example", "id-2", "ada", "", "", "second", "one", "", ""}, "token-2"),
              AccountKeeper::SigningIn::Done);
    std::vector<CKErrorCode> refused;
    const auto note = [&](const cloud::Answer& answer) { refused.push_back(std::get<CKError>(answer).code); };
    transport.send(former, cloud::FetchZones{}, note);
    EXPECT_THAT(service->deviceTokens, ElementsAre());
    transport.send(keeper.currentSession()->credential(), cloud::FetchZones{}, note);
    EXPECT_THAT(service->deviceTokens, ElementsAre("token-2.one"));
    EXPECT_THAT(refused, ElementsAre(CKErrorCode::NotAuthenticated, CKErrorCode::InternalError));
}

}  // namespace
}  // namespace zun
