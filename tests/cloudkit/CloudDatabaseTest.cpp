#include "cloudkit/CloudFixture.h"
#include "platform/cloudkit/CKPushReceiver.h"
#include "platform/cloudprotocol/ProtocolLimits.h"

namespace zun {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class CloudDatabaseTest : public CloudFixture {
  protected:
    void answerWith(cloud::Answer answer) {
        transport.script = [answer](const cloud::Request&) { return answer; };
    }
};

TEST_F(CloudDatabaseTest, WhatNoServiceTakesIsRefusedWithoutAskingOne) {
    answerWith(cloud::ModifiedRecords{});
    for (const std::size_t count : {cloud::mostItems, cloud::mostItems + 1}) {
        std::optional<CKErrorCode> code;
        const auto operation = std::make_shared<CKModifyRecordsOperation>(std::vector{record("saved")},
                                                                          std::vector(count - 1, idOf("deleted")));
        operation->setModifyRecordsCompletionBlock(
            [&](const auto&, const auto&, const OptionalError& error) { code = error ? error->code : CKErrorCode{}; });
        run(operation);
        EXPECT_EQ(code, count > cloud::mostItems ? CKErrorCode::LimitExceeded : CKErrorCode{}) << count;
    }
    EXPECT_THAT(transport.requests, SizeIs(1));
}

TEST_F(CloudDatabaseTest, DatabaseChangesGoOnFromPageToPage) {
    const std::vector<CKRecordZoneID> zones{{"a", "o"}, {"b", "o"}, {"c", "o"}};
    transport.script = [&](const cloud::Request& request) -> cloud::Answer {
        const auto& token = std::get<cloud::FetchDatabaseChanges>(request).previousToken;
        if (token == "t0") return cloud::DatabaseChanges{{zones[0]}, {}, "t1", true};
        if (token == "t1") return cloud::DatabaseChanges{{zones[1]}, {zones[2]}, "t2", false};
        return errorOf(CKErrorCode::ChangeTokenExpired);
    };
    const auto fetch = [&](const OptionalToken& token, bool all) {
        std::vector<std::string> told;
        const auto operation = std::make_shared<CKFetchDatabaseChangesOperation>(token);
        operation->setFetchAllChanges(all);
        operation->setRecordZoneWithIDChangedBlock([&](const auto& zoneID) { told.push_back("+" + zoneID.zoneName); });
        operation->setRecordZoneWithIDWasDeletedBlock(
            [&](const auto& zoneID) { told.push_back("-" + zoneID.zoneName); });
        operation->setChangeTokenUpdatedBlock([&](const auto& interim) { told.push_back("interim " + interim); });
        operation->setFetchDatabaseChangesCompletionBlock(
            [&](const OptionalToken& last, MoreComing more, const OptionalError& error) {
                told.push_back(last.value_or("no token") + (more == MoreComing::Yes ? " more" : "") +
                               (error ? " failed" : ""));
            });
        run(operation);
        return told;
    };
    EXPECT_THAT(fetch("t0", true), ElementsAre("+a", "interim t1", "+b", "-c", "t2"));
    EXPECT_THAT(fetch("t0", false), ElementsAre("+a", "t1 more"));
    EXPECT_THAT(fetch("old", true), ElementsAre("no token failed"));
}

TEST_F(CloudDatabaseTest, AModifiedRecordIsWhatWasSentWithWhatTheServiceAdded) {
    const NSDate stored{std::chrono::microseconds(1767225600000001)};
    const CKReference share{idOf("share")};
    answerWith(cloud::ModifiedRecords{{{idOf("a"), "tag-7", stored, share, std::nullopt}},
                                      {idOf("gone")},
                                      {{idOf("b"), errorOf(CKErrorCode::ServerRecordChanged)}}});
    const auto operation = std::make_shared<CKModifyRecordsOperation>(std::vector{record("a", "x"), record("b", "y")},
                                                                      std::vector{idOf("gone")});
    operation->setSavePolicy(CKRecordSavePolicy::CKRecordSaveAllKeys);
    int calls = 0;
    operation->setModifyRecordsCompletionBlock([&](const auto& saved, const auto& deleted, const OptionalError& error) {
        ++calls;
        auto expected = record("a", "x");
        expected.recordChangeTag = "tag-7";
        expected.modificationDate = stored;
        expected.share = share;
        EXPECT_THAT(saved, ElementsAre(expected));
        EXPECT_THAT(deleted, ElementsAre(idOf("gone")));
        ASSERT_TRUE(error);
        EXPECT_EQ(error->code, CKErrorCode::PartialFailure);
        const auto& items = error->userInfo.CKPartialErrorsByItemIDKey;
        ASSERT_THAT(items, SizeIs(1));
        EXPECT_EQ(items.at(idOf("b")).code, CKErrorCode::ServerRecordChanged);
    });
    run(operation);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(transport.asked<cloud::ModifyRecords>(0).savePolicy, cloud::SavePolicy::AllKeys);
    EXPECT_THAT(transport.deviceTokens, ElementsAre("token-1"));
}

TEST_F(CloudDatabaseTest, CallsAboutOneRecordGiveItsOwnError) {
    const auto failed = std::map<CKRecordID, CKError>{{idOf("a"), errorOf(CKErrorCode::UnknownItem)}};
    auto limited = errorOf(CKErrorCode::RequestRateLimited);
    limited.userInfo.CKErrorRetryAfterKey = 2.5;
    struct Case {
        cloud::Answer modify, fetch;
        CKErrorCode code;
    };
    const std::vector<Case> cases{
        {cloud::ModifiedRecords{{}, {}, failed}, cloud::FetchedRecords{{}, failed}, CKErrorCode::UnknownItem},
        {cloud::ModifiedRecords{}, cloud::FetchedRecords{}, CKErrorCode::InternalError},
        {cloud::Done{}, cloud::Done{}, CKErrorCode::InternalError},
        {limited, limited, CKErrorCode::RequestRateLimited},
    };
    for (const auto& one : cases) {
        transport.script = [&](const cloud::Request& request) {
            return std::holds_alternative<cloud::FetchRecords>(request) ? one.fetch : one.modify;
        };
        std::vector<CKError> errors;
        const auto note = [&](const auto& result, const OptionalError& error) {
            EXPECT_FALSE(result);
            errors.push_back(error.value());
        };
        database().saveRecord(record("a"), note);
        database().fetchRecordWithID(idOf("a"), note);
        database().deleteRecordWithID(idOf("a"), note);
        dispatch.runUntilIdle();
        ASSERT_THAT(errors, SizeIs(3));
        for (const auto& error : errors) {
            EXPECT_EQ(error.code, one.code);
            EXPECT_EQ(error.retryAfter(), one.code == CKErrorCode::RequestRateLimited ? 2.5 : 0);
        }
    }
}

TEST_F(CloudDatabaseTest, AFetchForNoFieldsIsNotOneForAll) {
    answerWith(cloud::FetchedRecords{{record("a")}, {}});
    for (const auto& keys : {std::optional<std::vector<std::string>>(), std::optional(std::vector<std::string>())}) {
        const auto operation = std::make_shared<CKFetchRecordsOperation>(std::vector{idOf("a")});
        operation->setDesiredKeys(keys);
        run(operation);
        EXPECT_EQ(std::get<cloud::FetchRecords>(transport.requests.back()).desiredKeys, keys);
    }
}

TEST_F(CloudDatabaseTest, AQueryGivesItsCursorOnlyWhileThereIsMore) {
    for (const std::string cursor : {"next", ""}) {
        answerWith(cloud::QueriedRecords{{record("a")}, cursor});
        const auto operation = std::make_shared<CKQueryOperation>(CKQuery{"Reminder"}, "before");
        std::vector<std::string> told;
        operation->setRecordFetchedBlock([&](const CKRecord& each) { told.push_back(each.recordID.recordName); });
        operation->setQueryCompletionBlock([&](const auto& next, const OptionalError& error) {
            EXPECT_FALSE(error);
            told.push_back(next.value_or("end"));
        });
        run(operation);
        EXPECT_THAT(told, ElementsAre("a", cursor.empty() ? "end" : cursor));
        EXPECT_EQ(std::get<cloud::QueryRecords>(transport.requests.back()).cursor, "before");
    }
}

TEST_F(CloudDatabaseTest, WithoutAnAccountNothingIsAskedAndAllFails) {
    session.setSession(std::nullopt);
    std::vector<CKErrorCode> codes;
    const auto note = [&](const auto&, const OptionalError& error) { codes.push_back(error.value().code); };
    database().saveRecord(record("a"), note);
    database().fetchAllRecordZonesWithCompletionHandler(note);
    database().saveSubscription(CKSubscription::databaseSubscriptionWithID("s"), note);
    const auto zones = std::make_shared<CKFetchRecordZoneChangesOperation>(
        std::vector{zone}, std::map<CKRecordZoneID, CKFetchRecordZoneChangesOptions>());
    zones->setRecordZoneFetchCompletionBlock([&](const auto& zoneID, const auto&, const auto&, MoreComing,
                                                 const OptionalError& error) { note(zoneID, error); });
    run(zones);
    EXPECT_EQ(codes, std::vector<CKErrorCode>(4, CKErrorCode::NotAuthenticated));
    EXPECT_THAT(transport.requests, IsEmpty());
}

TEST_F(CloudDatabaseTest, ACloseDropsWhatWaitsForAnswers) {
    transport.holdsBack = true;
    answerWith(cloud::Zones{});
    int calls = 0;
    {
        HeldCloudSession other{CloudSession{"ben", "token-2"}};
        CloudContainer closing({transport, other, dispatch, notifications, cache});
        closing.privateCloudDatabase().fetchAllRecordZonesWithCompletionHandler(
            [&](const auto&, const auto&) { ++calls; });
        dispatch.runUntilIdle();
    }
    transport.answerHeld();
    dispatch.runUntilIdle();
    EXPECT_EQ(calls, 0);
}

TEST_F(CloudDatabaseTest, AnotherIdentityIsAnnouncedAndAnotherTokenIsNot) {
    int changes = 0;
    const auto observation =
        notifications.addObserver(NSUbiquityIdentityDidChangeNotification, [&](const NSNotification&) { ++changes; });
    const auto identity = container.ubiquityIdentityToken();
    session.setSession(CloudSession{"anna", "token-9"});
    EXPECT_EQ(changes, 0);
    EXPECT_EQ(container.ubiquityIdentityToken(), identity);
    session.setSession(CloudSession{"ben", "token-9"});
    EXPECT_EQ(changes, 1);
    EXPECT_NE(container.ubiquityIdentityToken(), identity);
    session.setSession(std::nullopt);
    EXPECT_EQ(changes, 2);
    EXPECT_EQ(container.ubiquityIdentityToken(), std::nullopt);
    container.accountStatusWithCompletionHandler(
        [](AccountStatus status) { EXPECT_EQ(status, AccountStatus::NoAccount); });
}

TEST_F(CloudDatabaseTest, AnAccountWhoseSecretIsNotAtHandIsStillTheSame) {
    // Its keyring has not answered yet.
    struct SlowKeyring final : CloudSessionSource {
        [[nodiscard]] std::optional<CloudSession> currentSession() const override { return held.currentSession(); }
        [[nodiscard]] std::optional<CloudSession> knownAccount() const override {
            return CloudSession{"anna", "", "epoch"};
        }
        [[nodiscard]] Observation observeSession(std::function<void()> changed) override {
            return held.observeSession(std::move(changed));
        }
        HeldCloudSession held;
    } keyring;
    CloudContainer starting({transport, keyring, dispatch, notifications, cache});
    int changes = 0;
    const auto observation =
        notifications.addObserver(NSUbiquityIdentityDidChangeNotification, [&](const NSNotification&) { ++changes; });
    EXPECT_EQ(starting.ubiquityIdentityToken(), container.ubiquityIdentityToken());
    EXPECT_EQ(starting.serviceEpoch(), "epoch");
    starting.accountStatusWithCompletionHandler(
        [](AccountStatus status) { EXPECT_EQ(status, AccountStatus::NoAccount); });
    keyring.held.setSession(CloudSession{"anna", "token-1", "epoch"});
    EXPECT_EQ(changes, 0) << "nobody else has come";
    starting.accountStatusWithCompletionHandler(
        [](AccountStatus status) { EXPECT_EQ(status, AccountStatus::Available); });
}

TEST_F(CloudDatabaseTest, AnAnswerThatComesAfterAnotherSignInOrFromBeforeARestoreTellsNothing) {
    answerWith(cloud::Zones{{zone}});
    transport.holdsBack = true;
    std::vector<std::pair<std::size_t, CKErrorCode>> told;
    for (const auto& comes : {session.currentSession(), std::optional(CloudSession{"anna", "token-1", "restored"}),
                              std::optional(CloudSession{"ben", "token-2"})}) {
        const auto operation = CKFetchRecordZonesOperation::fetchAllRecordZonesOperation();
        operation->setFetchRecordZonesCompletionBlock(
            [&](const std::vector<CKRecordZoneID>& zones, const OptionalError& error) {
                told.emplace_back(zones.size(), error ? error->code : CKErrorCode{});
            });
        container.privateCloudDatabase().addOperation(operation);
        dispatch.runUntilIdle();
        session.setSession(comes);
        transport.answerHeld();
        dispatch.runUntilIdle();
    }
    EXPECT_THAT(told, ElementsAre(testing::Pair(1U, CKErrorCode{}), testing::Pair(0U, CKErrorCode::ChangeTokenExpired),
                                  testing::Pair(0U, CKErrorCode::NotAuthenticated)));
}

TEST_F(CloudDatabaseTest, PushesFollowTheDeviceThatIsSignedIn) {
    std::vector<std::pair<CKNotification::Type, std::string>> told;
    CKPushReceiver receiver(transport, session, dispatch, [&](const CKNotification& notification) {
        told.emplace_back(notification.notificationType,
                          notification.recordID ? notification.recordID->recordName : notification.subscriptionID);
    });
    receiver.start();
    ASSERT_THAT(transport.streams, SizeIs(1));
    const auto handlers = transport.streams[0].second;
    using Kind = cloud::Push::Kind;
    handlers.opened(false);
    handlers.push({1, Kind::Query, "s", idOf("a"), cloud::Push::Reason::Deleted});
    handlers.push({2, Kind::Database, "d", std::nullopt, cloud::Push::Reason::Updated});
    handlers.push({3, Kind::None, "", std::nullopt, cloud::Push::Reason::Updated});
    handlers.opened(false);
    handlers.opened(true);
    dispatch.runUntilIdle();
    using Type = CKNotification::Type;
    EXPECT_THAT(told, ElementsAre(testing::Pair(Type::Other, ""), testing::Pair(Type::Query, "a"),
                                  testing::Pair(Type::Database, "d"), testing::Pair(Type::Other, ""),
                                  testing::Pair(Type::Other, "")))
        << "of what came before the first opening nobody told";

    session.setSession(std::nullopt);
    EXPECT_THAT(transport.streams, IsEmpty());
    session.setSession(CloudSession{"ben", "token-2"});
    ASSERT_THAT(transport.streams, SizeIs(1));
    EXPECT_EQ(transport.streams[0].first, "token-2");
}

}  // namespace
}  // namespace zun
