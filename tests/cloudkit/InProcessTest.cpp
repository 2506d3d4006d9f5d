#include <gmock/gmock.h>

#include "platform/cloudkit/CKPushReceiver.h"
#include "platform/cloudkit/CloudContainer.h"
#include "platform/foundation/SimulatedDispatch.h"
#include "server/storage/MemoryStorage.h"
#include "server/transport/InProcessTransport.h"
#include "support/SimulatedNetwork.h"
#include "support/TestEnvironment.h"

namespace zun {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const CKRecordZoneID reminders{"Reminders", "__defaultOwner__"};

class CheapSecrets final : public cloud::RandomSource {
  public:
    std::string bytes(std::size_t count) override {
        std::string result(count, '\0');
        for (auto& byte : result)
            byte = static_cast<char>(_random());
        return result;
    }

  private:
    std::mt19937_64 _random{7};
};

// A service and the way to it, and one device of the account "anna".
class InProcessTest : public testing::Test {
  protected:
    InProcessTest() {
        cloud::SignedIn signedIn = ask<cloud::SignedIn>(
            cloud::CreateAccount{"anna", "Anna", "anna@example.org", "correct horse battery", "", "desk"});
        session.setSession(CloudSession{signedIn.accountID, signedIn.deviceToken});
        ask<cloud::ModifiedZones>(cloud::ModifyZones{cloud::DatabaseScope::Private, {reminders}, {}});
    }

    static cloud::ServiceOptions options() {
        cloud::ServiceOptions result;
        result.passwordCost = {1, 8192};
        result.limits.requestsPerSecond = 0;
        return result;
    }
    std::unique_ptr<cloud::CloudService> startService() {
        return std::make_unique<cloud::CloudService>(storage, environment, random, options());
    }
    template <class Expected>
    Expected ask(cloud::Request request) {
        std::optional<cloud::Answer> received;
        const auto current = session.currentSession();
        transport.send(current ? current->deviceToken : "", std::move(request),
                       [&](cloud::Answer answer) { received = std::move(answer); });
        dispatch.runUntilIdle();
        if (const auto* error = std::get_if<CKError>(&*received)) ADD_FAILURE() << error->description;
        return std::get<Expected>(*received);
    }
    static CKRecord record(const std::string& name) {
        CKRecord result;
        result.recordType = "Reminder";
        result.recordID = {name, reminders};
        return result;
    }

    SimulatedDispatch dispatch{1};
    TestEnvironment environment{"2026-01-14T10:00:00Z", &dispatch};
    CheapSecrets random;
    cloud::MemoryStorage storage;
    std::unique_ptr<cloud::CloudService> service = startService();
    InProcessTransport transport{service.get(), dispatch};
    HeldCloudSession session;
};

TEST_F(InProcessTest, AServiceThatDiesFailsWhatIsUnderWayAndPushesGoOnAfterwards) {
    ask<cloud::SavedSubscription>(
        cloud::SaveSubscription{cloud::DatabaseScope::Private, CKSubscription::databaseSubscriptionWithID("all").data});
    HeldCloudSession other;
    const auto second = ask<cloud::SignedIn>(cloud::SignIn{"anna", "correct horse battery", "lap"});
    other.setSession(CloudSession{second.accountID, second.deviceToken});

    std::vector<std::string> told;
    CKPushReceiver receiver(transport, session, dispatch,
                            [&](const CKNotification& notification) { told.push_back(notification.subscriptionID); });
    receiver.start();
    dispatch.runUntilIdle();
    EXPECT_THAT(std::exchange(told, {}), ElementsAre("")) << "a look at everything, since the stream is new";
    const auto save = [&](const std::string& name) {
        CKErrorCode code{};
        transport.send(second.deviceToken, cloud::ModifyRecords{{}, {}, {record(name)}, {}}, [&](cloud::Answer answer) {
            if (const auto* error = std::get_if<CKError>(&answer)) code = error->code;
        });
        dispatch.runUntilIdle();
        return code;
    };
    EXPECT_EQ(save("a"), CKErrorCode{});
    EXPECT_THAT(told, ElementsAre("all"));

    transport.setService(nullptr);
    service.reset();
    EXPECT_EQ(save("b"), CKErrorCode::NetworkUnavailable);
    service = startService();
    transport.setService(service.get());
    EXPECT_EQ(save("c"), CKErrorCode{});
    EXPECT_THAT(told, ElementsAre("all"));
    dispatch.advance(std::chrono::minutes(2));
    EXPECT_THAT(told, ElementsAre("all", "all"));
}

TEST_F(InProcessTest, ANetworkWithFaultsAnswersEachRequestOnce) {
    SimulatedNetwork network(transport, dispatch, 3);
    network.setFaults({10, 10, 20, 10, 0, 0, std::chrono::milliseconds(80)});
    NSNotificationCenter notifications;
    RecordCache cache("");
    CloudContainer container({network, session, dispatch, notifications, cache});
    int answers = 0;
    for (int i = 0; i < 200; ++i) {
        auto saved = record("r" + std::to_string(i));
        container.privateCloudDatabase().saveRecord(saved, [&](const auto&, const OptionalError&) { ++answers; });
    }
    dispatch.advance(std::chrono::seconds(30));
    EXPECT_EQ(answers, 200);
    const auto& counts = network.counts();
    EXPECT_GT(counts.lostRequests * counts.lostAnswers * counts.doubled * counts.throttled, 0u);
    EXPECT_EQ(network.arrived().at("records/modify"), 200 - counts.lostRequests - counts.throttled + counts.doubled);
}

}  // namespace
}  // namespace zun
