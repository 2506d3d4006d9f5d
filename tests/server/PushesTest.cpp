// Subscriptions and what they bring.

#include <gmock/gmock.h>

#include "support/ServiceWorld.h"

namespace zun::cloud {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Kind = CKSubscriptionData::Kind;

CKSubscriptionData reminders() {
    return {{}, Kind::Query, "Reminder", 7, {"modified_date"}, true};
}
CKSubscriptionData database() {
    return {"shared-changes", Kind::Database, {}, 0, {}, true};
}

// An open stream and what came through it, one line a push.
class Receiver {
  public:
    Receiver(ServiceWorld& world, const TestDevice& device, std::optional<std::uint64_t> last = std::nullopt) {
        world.service->openPushStream(
            device.token, last, {[this](const Push& push) { receive(push); }, [this] { lines.emplace_back("closed"); }},
            [this](auto result) {
                if (auto* stream = std::get_if<OpenedPushStream>(&result)) {
                    opened = std::move(*stream);
                } else {
                    lines.push_back("refused " + std::to_string(static_cast<int>(std::get<CKError>(result).code)));
                }
            });
    }

    std::vector<std::string> lines;
    std::uint64_t lastNumber = 0;
    OpenedPushStream opened;

  private:
    void receive(const Push& push) {
        EXPECT_TRUE(lastNumber == 0 || push.number == lastNumber + 1) << "numbers rise by one";
        lastNumber = push.number;
        auto line = std::to_string(static_cast<int>(push.kind)) + " " + push.subscriptionID;
        if (push.recordID)
            line += " " + push.recordID->recordName + " " + std::to_string(static_cast<int>(push.reason));
        lines.push_back(line);
    }
};

TEST(Subscriptions, AreKeptOnceEach) {
    ServiceWorld world;
    const TestDevice device(world, "anna"), other(world, "bert");
    const auto saved =
        device.ask<SavedSubscription>(SaveSubscription{DatabaseScope::Private, reminders()}).subscription;
    EXPECT_FALSE(saved.subscriptionID.empty());
    const auto again = device.ask<CKError>(SaveSubscription{DatabaseScope::Private, reminders()});
    EXPECT_EQ(again.code, CKErrorCode::ServerRejectedRequest);
    EXPECT_THAT(again.description, HasSubstr("subscription is duplicate"));
    auto sameName = reminders();
    sameName.subscriptionID = saved.subscriptionID;
    sameName.options = 1;
    EXPECT_EQ(device.codeOf(SaveSubscription{DatabaseScope::Private, sameName}), 15);
    EXPECT_EQ(device.codeOf(SaveSubscription{DatabaseScope::Shared, database()}), 0);
    EXPECT_EQ(device.codeOf(SaveSubscription{DatabaseScope::Shared, database()}), 15);
    EXPECT_EQ(device.codeOf(SaveSubscription{DatabaseScope::Shared, reminders()}), 12);
    EXPECT_THAT(device.ask<Subscriptions>(FetchSubscriptions{}).subscriptions, ElementsAre(saved));
    EXPECT_EQ(other.codeOf(DeleteSubscription{DatabaseScope::Private, saved.subscriptionID}), 11);
    EXPECT_EQ(device.codeOf(DeleteSubscription{DatabaseScope::Private, saved.subscriptionID}), 0);
    EXPECT_EQ(device.codeOf(DeleteSubscription{DatabaseScope::Private, saved.subscriptionID}), 11);
    EXPECT_EQ(device.codeOf(SaveSubscription{DatabaseScope::Private, reminders()}), 0);
}

TEST(Pushes, NameTheRecordThatAnotherDeviceChanged) {
    ServiceWorld world;
    const TestDevice writer(world, "anna"), reader(world, "anna"), stranger(world, "bert");
    writer.makeZone();
    const auto id = writer.ask<SavedSubscription>(SaveSubscription{DatabaseScope::Private, reminders()})
                        .subscription.subscriptionID;
    (void)stranger.ask<SavedSubscription>(SaveSubscription{DatabaseScope::Private, reminders()});
    Receiver own(world, writer), there(world, reader), elsewhere(world, stranger);
    (void)writer.save({makeRecord("a", "1")});
    (void)writer.save({makeRecord("a", "2")}, SavePolicy::AllKeys);
    (void)writer.remove({{"a", remindersZone}});
    (void)writer.remove({{"a", remindersZone}});
    auto other = makeRecord("o", "x");
    other.recordType = "Other";
    (void)writer.save({other});
    EXPECT_THAT(there.lines, ElementsAre("1 " + id + " a 1", "1 " + id + " a 2", "1 " + id + " a 3"));
    there.lines.clear();
    (void)writer.save({makeRecord("b", "1"), makeRecord("c", "1")});
    EXPECT_THAT(there.lines, ElementsAre("0 ")) << "many at once are one push";
    EXPECT_THAT(own.lines, IsEmpty());
    EXPECT_THAT(elsewhere.lines, IsEmpty());
    (void)writer.save({makeRecord("b", "old")});
    EXPECT_THAT(there.lines, testing::SizeIs(1)) << "what failed is no news";
}

TEST(Pushes, GoOnAfterABreakAndSayWhatIsLost) {
    auto options = quickOptions();
    options.limits.pushesKept = 4;
    ServiceWorld world(std::make_unique<MemoryStorage>(), options);
    const TestDevice writer(world, "anna"), reader(world, "anna");
    writer.makeZone();
    (void)writer.ask<SavedSubscription>(SaveSubscription{DatabaseScope::Private, reminders()});
    const auto change = [&] { (void)writer.save({makeRecord("a", "x")}, SavePolicy::AllKeys); };
    change();
    {
        Receiver fresh(world, reader);
        EXPECT_THAT(fresh.lines, IsEmpty());
        EXPECT_EQ(fresh.opened.lastNumber, 1U);
    }
    for (int time = 0; time < 4; ++time)
        change();
    world.restart();
    Receiver resumed(world, reader, 1);
    EXPECT_FALSE(resumed.opened.hasGap);
    EXPECT_EQ(resumed.lastNumber, 5U);
    EXPECT_THAT(resumed.lines, testing::SizeIs(4));
    change();
    EXPECT_EQ(resumed.lastNumber, 6U);
    Receiver late(world, reader, 1);
    EXPECT_TRUE(late.opened.hasGap);
    EXPECT_THAT(late.lines, IsEmpty());
    Receiver fromTheFuture(world, reader, 70);
    EXPECT_TRUE(fromTheFuture.opened.hasGap) << "a restored service";
    change();
    EXPECT_EQ(fromTheFuture.lastNumber, 7U);
}

TEST(Pushes, EndWithTheDeviceAndWithTheService) {
    ServiceWorld world;
    const TestDevice first(world, "anna"), second(world, "anna");
    Receiver revoked(world, second), staying(world, first);
    EXPECT_EQ(first.codeOf(RevokeDevice{second.deviceID}), 0);
    EXPECT_THAT(revoked.lines, ElementsAre("closed"));
    Receiver refused(world, second);
    EXPECT_THAT(refused.lines, ElementsAre("refused 9"));
    world.service->stop();
    EXPECT_THAT(staying.lines, ElementsAre("closed"));
    Receiver late(world, first);
    EXPECT_THAT(late.lines, ElementsAre("refused 6"));
}

TEST(Pushes, OfTheSharedDatabaseBearTheirSubscription) {
    ServiceWorld world;
    const TestDevice anna(world, "anna"), bert(world, "bert"), bertsOther(world, "bert");
    anna.makeZone();
    (void)bert.ask<SavedSubscription>(SaveSubscription{DatabaseScope::Shared, database()});
    (void)anna.ask<SavedSubscription>(SaveSubscription{DatabaseScope::Private, reminders()});
    CKRecord share;
    share.recordType = CKRecordTypeShare;
    share.recordID = {"s", remindersZone};
    share.shareDetails = CKShareDetails{{"r", remindersZone}, {}, CKShareParticipantPermission::ReadWrite, {}};
    const auto URL = anna.save({makeRecord("r", "Milk"), share}).saved.at(1).shareDetails->URL;
    Receiver annas(world, anna), accepting(world, bert), berts(world, bertsOther);
    (void)bert.ask<AcceptedShares>(AcceptShares{{URL}});
    EXPECT_THAT(berts.lines, ElementsAre("4 shared-changes"));
    EXPECT_THAT(accepting.lines, IsEmpty());
    (void)anna.save({makeRecord("r", "Bread")}, SavePolicy::AllKeys);
    EXPECT_THAT(accepting.lines, ElementsAre("4 shared-changes"));
    EXPECT_THAT(annas.lines, IsEmpty());
    (void)bert.save({makeRecord("r", "Cheese", {"Reminders", anna.accountID})}, SavePolicy::AllKeys,
                    DatabaseScope::Shared);
    EXPECT_THAT(annas.lines, ElementsAre(HasSubstr(" r 2")));
}

}  // namespace
}  // namespace zun::cloud
