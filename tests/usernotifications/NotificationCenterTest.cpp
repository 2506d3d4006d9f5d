#include <gmock/gmock.h>

#include <set>
#include <thread>

#include "support/MemoryNotificationCenter.h"
#include "usernotifications/StoredAlerts.h"

namespace zun {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;

// What a centre of either kind needs so that alerts come up.
struct StoredWorld {
    NSUserNotificationCenter& center() { return device.center; }
    void deliver(const std::string&, NSDate, NSDate at) { device.deliver(at); }

    TestEnvironment environment;
    TemporaryFolder folder;
    AlertDevice device{folder.path(), environment};
};

struct MemoryWorld {
    NSUserNotificationCenter& center() { return memory; }
    void deliver(const std::string& reminderID, NSDate date, NSDate at) { memory.deliver(reminderID, date, at); }

    TestEnvironment environment;
    MemoryNotificationCenter memory;
};

template <typename World>
class NotificationCenter : public testing::Test {
  protected:
    NSDate at(std::chrono::microseconds time) const { return world.environment.date("2026-01-14T00:00:00Z") + time; }
    void schedule(const std::string& reminderID, std::chrono::microseconds time) {
        world.center().scheduleNotification(alertFor(reminderID, at(time)));
    }
    std::vector<std::string> scheduled() { return lines(world.center().scheduledNotifications()); }
    std::vector<std::string> delivered() { return lines(world.center().deliveredNotifications()); }

    World world;
};

using Worlds = testing::Types<StoredWorld, MemoryWorld>;
TYPED_TEST_SUITE(NotificationCenter, Worlds);

TYPED_TEST(NotificationCenter, ListsWhatIsScheduledByItsDateAsOftenAsItWasScheduled) {
    auto& center = this->world.center();
    this->schedule("b", 11h);
    this->schedule("a", 10h);
    this->schedule("", 12h);
    this->schedule("a", 10h);
    EXPECT_THAT(this->scheduled(), ElementsAre("a 10:00", "a 10:00", "b 11:00", "nobody 12:00"));
    EXPECT_THAT(lines(center.scheduledNotificationsForReminderID("a")), ElementsAre("a 10:00", "a 10:00"));
    EXPECT_THAT(lines(center.scheduledNotificationsForReminderID("")), ElementsAre("nobody 12:00"));
    EXPECT_THAT(center.scheduledNotificationsForReminderID("c"), IsEmpty());
    using Scheduled = NSUserNotificationCenter::ScheduledReminder;
    EXPECT_THAT(center.scheduledReminders(std::nullopt, 10),
                ElementsAre(Scheduled{"", 1}, Scheduled{"a", 2}, Scheduled{"b", 1}));
    EXPECT_THAT(center.scheduledReminders("", 1), ElementsAre(Scheduled{"a", 2}));
    EXPECT_THAT(center.scheduledReminders("b", 10), IsEmpty());

    std::set<std::int64_t> identifiers;
    for (const auto& one : center.scheduledNotifications())
        identifiers.insert(one.identifier);
    EXPECT_THAT(identifiers, SizeIs(4));
    EXPECT_FALSE(identifiers.contains(0));
}

TYPED_TEST(NotificationCenter, GivesAnAlertBackAsItWas) {
    auto& center = this->world.center();
    auto silent = alertFor("a", this->at(10h));
    silent.hasActionButton = false;
    silent.actionButtonTitle.clear();
    silent.soundName.clear();
    silent.subtitle.clear();
    auto rich = alertFor("b", this->at(11h) + 1us);
    rich.title = "Ünï 👩‍🚀 \n\"quoted\" 'and' <b>bold</b>";
    rich.deliveryTimeZone = "Pacific/Auckland";
    for (const auto& one : {silent, rich})
        center.scheduleNotification(one);
    auto back = center.scheduledNotifications();
    ASSERT_THAT(back, SizeIs(2));
    const auto identifier = back.front().identifier;
    for (auto& one : back)
        one.identifier = 0;
    EXPECT_THAT(back, ElementsAre(silent, rich));

    this->world.deliver("a", this->at(10h), this->at(10h) + 5s);
    auto delivered = center.deliveredNotifications();
    ASSERT_THAT(delivered, SizeIs(1));
    EXPECT_EQ(delivered.front().identifier, identifier);
    EXPECT_EQ(delivered.front().actualDeliveryDate, this->at(10h) + 5s);
    delivered.front().identifier = 0;
    delivered.front().actualDeliveryDate.reset();
    EXPECT_EQ(delivered.front(), silent);
}

TYPED_TEST(NotificationCenter, RemovesWhatItWasAskedToAndNothingElse) {
    auto& center = this->world.center();
    for (const auto time : {10h, 10h, 13h})
        this->schedule("a", time);
    this->schedule("b", 11h);
    this->schedule("", 12h);
    const auto first = center.scheduledNotifications().front();
    center.removeScheduledNotification(first);
    EXPECT_THAT(this->scheduled(), ElementsAre("a 10:00", "b 11:00", "nobody 12:00", "a 13:00"));
    // It has gone; neither it nor a delivered one of that number is there.
    center.removeScheduledNotification(first);
    center.removeDeliveredNotification(first);
    center.removeScheduledNotificationsForReminderID("nobody");
    EXPECT_THAT(this->scheduled(), SizeIs(4));
    center.removeScheduledNotificationsForReminderID("a");
    EXPECT_THAT(this->scheduled(), ElementsAre("b 11:00", "nobody 12:00"));
    center.removeScheduledNotificationsForReminderID("");
    // In their order: what is scheduled after a removal stays.
    this->schedule("b", 14h);
    center.removeScheduledNotificationsForReminderID("b");
    this->schedule("b", 15h);
    EXPECT_THAT(this->scheduled(), ElementsAre("b 15:00"));
}

TYPED_TEST(NotificationCenter, MovesWhatComesUpToTheDeliveredOnes) {
    auto& center = this->world.center();
    this->schedule("a", 10h);
    this->schedule("a", 10h);
    this->schedule("b", 11h);
    this->schedule("later", 23h);
    this->world.deliver("a", this->at(10h), this->at(10h));
    this->world.deliver("b", this->at(11h), this->at(11h));
    EXPECT_THAT(this->delivered(), ElementsAre("a 10:00", "b 11:00"));
    EXPECT_THAT(this->scheduled(), ElementsAre("later 23:00"));
    EXPECT_TRUE(center.wasDelivered("a", this->at(10h)));
    EXPECT_FALSE(center.wasDelivered("a", this->at(10h) + 1us));
    EXPECT_FALSE(center.wasDelivered("b", this->at(10h)));
    EXPECT_FALSE(center.wasDelivered("later", this->at(23h)));

    center.removeDeliveredNotification(center.deliveredNotifications().front());
    EXPECT_THAT(this->delivered(), ElementsAre("b 11:00"));
    EXPECT_TRUE(center.wasDelivered("a", this->at(10h))) << "it is not forgotten";
    EXPECT_THAT(this->scheduled(), SizeIs(1));
}

TYPED_TEST(NotificationCenter, TakesChangesFromManyThreads) {
    auto& center = this->world.center();
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([this, &center, thread] {
            for (int number = 0; number < 20; ++number) {
                const auto own = std::to_string(thread);
                this->schedule(own, std::chrono::hours(number));
                if (number % 5 == 4) center.synchronize();
                EXPECT_THAT(center.scheduledNotificationsForReminderID(own), SizeIs(number % 10 + 1));
                if (number % 10 == 9) center.removeScheduledNotificationsForReminderID(own);
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_THAT(this->scheduled(), IsEmpty());
}

}  // namespace
}  // namespace zun
