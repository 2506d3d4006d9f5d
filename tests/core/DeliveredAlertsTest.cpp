#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/ManagerWorld.h"

namespace zun {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

// Now is 10:00 on 14 January 2026.
class DeliveredAlerts : public testing::Test {
  protected:
    ManagerWorld world;

    ReminderAttributes nagging(std::string_view start) const {
        auto attributes = world.dated("s", start);
        attributes.naggingNotifications = true;
        return attributes;
    }
    // The ages of what stands delivered, in the list's order, with the reminder's identifier before those of others.
    std::vector<std::string> ages() const {
        std::vector<std::string> all;
        for (const auto& each : world.userNotifications.deliveredNotifications()) {
            const auto age = duration_cast<std::chrono::seconds>(world.environment.now() - each.deliveryDate).count();
            const auto id = each.reminderID().value_or("nobody");
            all.push_back((id == "s" ? "" : id + " ") + std::to_string(age));
        }
        return all;
    }
};

TEST_F(DeliveredAlerts, OfANaggingReminderOneStaysWhereTheOldestStandsFirst) {
    const auto start = world.environment.now();
    world.store(nagging("2026-01-14T10:00"));
    for (const auto delay : {0min, 10min, 20min, 30min}) {
        world.environment.setNow(start + delay);
        world.userNotifications.deliver("s", start + delay, start + delay);
        world.manager.removePreviousNagNotificationsForReminderID("s");
        EXPECT_THAT(ages(), ElementsAre("0")) << delay.count();
    }
}

TEST_F(DeliveredAlerts, TheWalkEndsAtTheFirstThatIsTooYoungOrTooOld) {
    struct Case {
        const char* name;
        std::vector<std::string> delivered;  // ages in the list's order
        std::vector<std::string> left;
    };
    const Case cases[] = {
        {"oldest first", {"1801", "600", "300", "299"}, {"299"}},
        {"the newest first", {"0", "600", "1200"}, {"0", "600", "1200"}},
        {"299 seconds in between", {"600", "299", "1200"}, {"299", "1200"}},
        {"too old", {"1802", "600"}, {"1802", "600"}},
        {"those of others are passed over",
         {"other 10", "600", "other 700", "700", "10"},
         {"other 10", "other 700", "10"}},
    };
    for (const bool isNagging : {true, false}) {
        for (const auto& tested : cases) {
            SCOPED_TRACE(testing::Message() << tested.name << (isNagging ? "" : ", not nagging"));
            for (const auto& each : world.userNotifications.deliveredNotifications())
                world.userNotifications.removeDeliveredNotification(each);
            world.manager.clearCoreData();
            auto attributes = nagging("2026-01-14T09:00");
            attributes.naggingNotifications = isNagging;
            world.store(attributes);
            auto at = world.environment.now();
            for (const auto& entry : tested.delivered) {
                const auto blank = entry.find(' ');
                const auto isOther = blank != std::string::npos;
                const std::chrono::seconds age(std::stoi(isOther ? entry.substr(blank) : entry));
                world.userNotifications.deliver(isOther ? "other" : "s", world.environment.now() - age, at += 1s);
            }
            world.manager.removePreviousNagNotificationsForReminderID("s");
            EXPECT_EQ(ages(), isNagging ? tested.left : tested.delivered);
        }
    }
    world.manager.removePreviousNagNotificationsForReminderID("nobody");
    world.manager.removePreviousNagNotificationsForReminderID(std::nullopt);
}

TEST_F(DeliveredAlerts, OnActivationWhatIsOnTheCardsStays) {
    const auto fired = world.at("2026-01-14T09:00");
    const auto store = [&](const char* id, auto change) {
        auto attributes = world.dated(id, "2026-01-14T09:00");
        change(attributes);
        world.store(attributes);
        world.userNotifications.deliver(id, fired, fired);
    };
    store("due", [](auto&) {});
    store("nagging", [](auto& attributes) { attributes.naggingNotifications = true; });
    world.userNotifications.deliver("nagging", fired + 10min, fired + 10min);
    store("completed", [&](auto& attributes) { attributes.completed_date = fired; });
    store("snoozed", [&](auto& attributes) { attributes.fire_date = world.at("2026-01-14T11:00"); });
    store("moved on, and due again", [&](auto& attributes) { attributes.fire_date = fired + 30min; });
    store("tombstone", [](auto& attributes) { attributes.shouldDeleteRemote = true; });
    world.userNotifications.deliver("gone", fired, fired);
    const auto left = [&] {
        std::vector<std::string> all;
        for (const auto& each : world.userNotifications.deliveredNotifications())
            all.push_back(each.reminderID().value_or("nobody"));
        return all;
    };
    world.manager.clearDeliveredNotifications();
    EXPECT_THAT(left(), ElementsAre("due", "nagging", "gone"));
    EXPECT_EQ(world.userNotifications.deliveredNotifications()[1].deliveryDate, fired);

    world.manager.clearCoreData();
    world.settle();
    world.manager.clearDeliveredNotifications();
    EXPECT_THAT(left(), ElementsAre("due", "nagging", "gone")) << "without their reminders they are left alone";
}

}  // namespace
}  // namespace zun
