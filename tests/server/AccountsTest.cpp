// Accounts, devices, and that nobody learns what another one has.

#include <gmock/gmock.h>

#include "server/model/Administration.h"
#include "support/ServiceWorld.h"

namespace zun::cloud {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

int codeOf(const Answer& answer) {
    const auto* error = std::get_if<CKError>(&answer);
    return error ? static_cast<int>(error->code) : 0;
}

TEST(Accounts, AreMadeAsTheRegistrationAllows) {
    for (auto registration : {Registration::Open, Registration::Invite, Registration::Closed}) {
        auto options = quickOptions();
        options.registration = registration;
        ServiceWorld world(std::make_unique<MemoryStorage>(), options);
        Administration administration(*world.storage, world.environment, world.random, options.passwordCost);
        const auto invitation = administration.invite(std::chrono::hours(24));
        const auto late = administration.invite(std::chrono::hours(1));
        world.environment.advance(std::chrono::hours(2));
        const auto make = [&](std::string name, std::string code) {
            return codeOf(world.ask({}, CreateAccount{std::move(name), "", "", "a password", std::move(code), ""}));
        };
        const bool isOpen = registration == Registration::Open, isClosed = registration == Registration::Closed;
        EXPECT_EQ(make("one", ""), isOpen ? 0 : 10);
        EXPECT_EQ(make("two", late), isOpen ? 0 : 10);
        EXPECT_EQ(make("three", invitation), isClosed ? 10 : 0);
        EXPECT_EQ(make("four", invitation), isOpen ? 0 : 10) << "an invitation is for one";
        if (isOpen) {
            EXPECT_EQ(make("ONE", ""), 19);
            EXPECT_EQ(make("a b", ""), 12);
            EXPECT_EQ(make("", ""), 12);
            EXPECT_EQ(codeOf(world.ask({}, CreateAccount{"five", "", "", "short", "", ""})), 12);
        }
        EXPECT_THAT(administration.check().complaints, IsEmpty());
    }
}

TEST(Accounts, AreOpenedByTheirPasswordOnly) {
    ServiceWorld world;
    const TestDevice first(world, "anna");
    const auto signIn = [&](const char* name, const char* password) {
        return codeOf(world.ask({}, SignIn{name, password, "d"}));
    };
    EXPECT_EQ(signIn("Anna", "password of anna"), 0);
    EXPECT_EQ(signIn("anna", "password of bert"), 9);
    EXPECT_EQ(signIn("nobody", "password of anna"), 9);
    EXPECT_EQ(first.codeOf(ChangePassword{"wrong password", "new password"}), 9);
    EXPECT_EQ(first.codeOf(ChangePassword{"password of anna", "new"}), 12);
    EXPECT_EQ(first.codeOf(ChangePassword{"password of anna", "new password"}), 0);
    EXPECT_EQ(signIn("anna", "password of anna"), 9);
    EXPECT_EQ(signIn("anna", "new password"), 0);
    Administration administration(*world.storage, world.environment, world.random, world.options.passwordCost);
    administration.setDisabled("anna", true);
    EXPECT_EQ(signIn("anna", "new password"), 9);
    EXPECT_EQ(first.codeOf(FetchAccount{}), 9);
    administration.setDisabled("anna", false);
    EXPECT_EQ(first.codeOf(FetchAccount{}), 0);
    administration.setPassword("anna", "third password");
    EXPECT_EQ(first.codeOf(FetchAccount{}), 9);
    EXPECT_EQ(signIn("anna", "third password"), 0);
}

TEST(Accounts, ListAndRevokeTheirDevices) {
    ServiceWorld world;
    const TestDevice first(world, "anna"), second(world, "anna"), stranger(world, "bert");
    const auto listed = first.ask<Devices>(FetchDevices{}).devices;
    ASSERT_EQ(listed.size(), 2U);
    EXPECT_TRUE(listed[0].isThisOne);
    EXPECT_EQ(listed[1].name, "another");
    EXPECT_EQ(stranger.codeOf(RevokeDevice{second.deviceID}), 11);
    EXPECT_EQ(stranger.codeOf(RevokeDevice{"never"}), 11);
    EXPECT_EQ(first.codeOf(RevokeDevice{second.deviceID}), 0);
    EXPECT_EQ(second.codeOf(FetchAccount{}), 9);
    EXPECT_EQ(first.codeOf(SignOut{}), 0);
    EXPECT_EQ(first.codeOf(FetchAccount{}), 9);
    for (const std::string& token :
         {std::string("x"), std::string(".."), stranger.accountID + "." + stranger.deviceID + ".x",
          stranger.token + "x", first.accountID + stranger.token.substr(17)})
        EXPECT_EQ(codeOf(world.ask(token, FetchAccount{})), 9) << token;
}

TEST(Accounts, WhenDeletedLeaveNothing) {
    ServiceWorld world;
    const TestDevice anna(world, "anna");
    anna.makeZone();
    (void)anna.save({makeRecord("r", "x")});
    EXPECT_EQ(anna.codeOf(DeleteAccount{"wrong password"}), 9);
    EXPECT_EQ(anna.codeOf(DeleteAccount{"password of anna"}), 0);
    EXPECT_EQ(anna.codeOf(FetchAccount{}), 9);
    world.storage->dump([&](std::string_view account, Table table, std::string_view, std::string_view) {
        EXPECT_TRUE(account.empty() && table == Table::Service);
    });
    const TestDevice again(world, "anna");
    EXPECT_NE(again.accountID, anna.accountID);
}

// Whatever a stranger asks about, the answer is the same whether it exists or not.
TEST(Accounts, LearnNothingOfOthers) {
    ServiceWorld world;
    const TestDevice anna(world, "anna", "anna@example.org"), bert(world, "bert", "bert@example.org");
    anna.makeZone();
    auto root = makeRecord("r", "secret");
    CKRecord share;
    share.recordType = CKRecordTypeShare;
    share.recordID = {"s", remindersZone};
    share.shareDetails = CKShareDetails{root.recordID, {}, CKShareParticipantPermission::None, {}};
    const auto URL = anna.save({root, share}).saved.at(1).shareDetails->URL;
    const auto cursorOrToken = anna.changes().token;
    const CKRecordZoneID real{"Reminders", anna.accountID}, none{"Nothing", anna.accountID},
        nobody{"Reminders", "uNobody"};
    for (auto scope : {DatabaseScope::Private, DatabaseScope::Shared}) {
        const auto ask = [&](const CKRecordZoneID& zone, const std::string& name) {
            auto record = makeRecord(name, "x", zone);
            std::vector<int> codes;
            const auto add = [&](const Answer& answer) {
                if (const auto* modified = std::get_if<ModifiedRecords>(&answer)) {
                    for (const auto& [recordID, error] : modified->failed)
                        codes.push_back(static_cast<int>(error.code));
                } else if (const auto* fetched = std::get_if<FetchedRecords>(&answer)) {
                    for (const auto& [recordID, error] : fetched->failed)
                        codes.push_back(static_cast<int>(error.code));
                } else if (const auto* changes = std::get_if<ZoneChanges>(&answer)) {
                    codes.push_back(static_cast<int>(changes->zones.at(0).error.value_or(CKError{}).code));
                } else {
                    codes.push_back(codeOf(answer));
                }
            };
            for (auto policy : {SavePolicy::AllKeys, SavePolicy::IfServerRecordUnchanged})
                add(world.ask(bert.token, ModifyRecords{scope, policy, {record}, {}}));
            add(world.ask(bert.token, ModifyRecords{scope, SavePolicy::AllKeys, {}, {record.recordID}}));
            add(world.ask(bert.token, FetchRecords{scope, {record.recordID}, std::nullopt}));
            add(world.ask(bert.token, QueryRecords{scope, zone, "Reminder", {}}));
            add(world.ask(bert.token, FetchZoneChanges{scope, {{zone, cursorOrToken}}}));
            add(world.ask(bert.token, ModifyZones{scope, {zone}, {}}));
            add(world.ask(bert.token, ModifyZones{scope, {}, {zone}}));
            return codes;
        };
        const auto expected = ask(nobody, "r");
        EXPECT_THAT(expected, testing::Each(testing::Ne(0)));
        EXPECT_EQ(ask(real, "r"), expected);
        EXPECT_EQ(ask(real, "nothing"), expected);
        EXPECT_EQ(ask(none, "r"), expected);
    }
    for (const auto& address : {URL, URL + "x"}) {
        EXPECT_EQ(bert.ask<ShareMetadataAnswer>(FetchShareMetadata{{address}, true}).items.at(0).error->code,
                  CKErrorCode::UnknownItem);
        EXPECT_EQ(bert.ask<AcceptedShares>(AcceptShares{{address}}).failed.at(address).code, CKErrorCode::UnknownItem);
    }
    EXPECT_THAT(bert.ask<Zones>(FetchZones{DatabaseScope::Shared}).zones, IsEmpty());
}

TEST(Accounts, AreThrottledBothAsDevicesAndAsStrangers) {
    auto options = quickOptions();
    options.limits.requestsPerSecond = 2;
    options.limits.requestsAtOnce = 3;
    options.limits.strangersPerSecond = 0.5;
    options.limits.strangersAtOnce = 4;
    ServiceWorld world(std::make_unique<MemoryStorage>(), options);
    const TestDevice anna(world, "anna"), bert(world, "bert");
    for (int time = 0; time < 3; ++time)
        EXPECT_EQ(anna.codeOf(FetchAccount{}), 0);
    const auto refused = anna.ask<CKError>(FetchAccount{});
    EXPECT_EQ(refused.code, CKErrorCode::RequestRateLimited);
    EXPECT_DOUBLE_EQ(refused.retryAfter(), 0.5);
    EXPECT_EQ(codeOf(world.ask(anna.token + ".another epoch", FetchAccount{})), 7) << "it is the same device";
    EXPECT_EQ(bert.codeOf(FetchAccount{}), 0) << "another one's haste is its own";
    world.environment.advance(std::chrono::milliseconds(500));
    EXPECT_EQ(anna.codeOf(FetchAccount{}), 0);
    EXPECT_EQ(codeOf(world.ask({}, SignIn{"anna", "wrong password", ""})), 9);
    EXPECT_EQ(codeOf(world.ask({}, SignIn{"anna", "wrong password", ""})), 9);
    EXPECT_EQ(codeOf(world.ask({}, SignIn{"anna", "password of anna", ""})), 7);
    world.service->stop();
    const auto stopping = anna.ask<CKError>(FetchAccount{});
    EXPECT_EQ(stopping.code, CKErrorCode::ServiceUnavailable);
    EXPECT_GT(stopping.retryAfter(), 0);
}

}  // namespace
}  // namespace zun::cloud
