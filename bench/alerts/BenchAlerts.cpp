// What keeping the alerts in line costs: a set of repeating reminders scheduled anew until it is durable, one reminder
// among a hundred thousand alerts, and the look for stale ones.

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "BenchWorld.h"
#include "platform/usernotifications/StoredNotificationCenter.h"

namespace zun {
namespace {

using namespace std::chrono_literals;

constexpr int repeatingReminders = 10'000;
constexpr int manyAlerts = 100'000;

std::string identifierOf(int number) {
    return "8D1C7A52-0F1E-4D6B-9C3A-" + std::to_string(100'000'000'000 + number);
}

// Daily, weekly, monthly and on weekdays in turn, each firing within the coming days; every tenth nags, every seventh
// alerts early.
ReminderAttributes repeatingReminder(int number, NSDate now) {
    ReminderAttributes record;
    record.reminderID = identifierOf(number);
    record.title = "Water the plants on the balcony " + std::to_string(number);
    record.start_date = now - std::chrono::hours{24 * (1 + number % 900)} + std::chrono::minutes{number % 1'400};
    record.due_date = record.fire_date = now + std::chrono::minutes{1 + number % 4'000};
    record.created_date = record.start_date;
    record.repeat_type = static_cast<std::uint64_t>(1 + number % 3);
    if (number % 4 == 3) {
        record.repeat_type = RepeatType::weekly;
        record.customRepeatDayOrdinals = DayOrdinals{2, 4, 6};
    }
    record.naggingNotifications = number % 10 == 0;
    if (number % 7 == 0) {
        record.earlyReminderType = 1;
        record.earlyReminderInterval = 15;
    }
    return record;
}

// A user's programs with a zone that has daylight saving, on a disk.
struct World : BenchWorld<StoredNotificationCenter> {
    World()
        : BenchWorld([](BenchStore& store) {
              return StoredNotificationCenter(store.folder.path(), {store.dispatch, store.environment});
          }) {
        environment.setTimeZone("Europe/Berlin");
    }

    void settle() {
        manager.waitUntilSettled();
        userNotifications.synchronize();
    }
    void storeRepeatingReminders() {
        std::vector<ReminderPtr> reminders;
        for (int i = 0; i < repeatingReminders; ++i)
            reminders.push_back(std::make_shared<ZNReminderObject>(repeatingReminder(i, environment.now())));
        database.replaceReminders(std::move(reminders));
        database.waitForWrites();
    }
    // Ten for each of the reminders, which may be stored.
    void scheduleManyAlerts() {
        for (int i = 0; i < manyAlerts; ++i) {
            NSUserNotification alert;
            alert.userInfo = {{NOTIFICATION_REMINDER_ID, identifierOf(i % repeatingReminders)}};
            alert.deliveryDate = environment.now() + std::chrono::minutes{1 + i % 100'000};
            alert.deliveryTimeZone = "Europe/Berlin";
            alert.title = "Water the plants on the balcony";
            alert.subtitle = "Due tomorrow at 9:00 AM";
            userNotifications.scheduleNotification(alert);
        }
        userNotifications.synchronize();
    }
};

// From the call until the last alert is durable; `caller` is what the caller waits.
void reschedule(benchmark::State& state) {
    World world;
    world.storeRepeatingReminders();
    const auto all = [&world] { world.manager.scheduleNotificationsForRemindersOnOrAfterDate(std::nullopt); };
    all();
    world.settle();
    const auto alerts = world.userNotifications.scheduledNotifications().size();
    double caller = 0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        all();
        caller += std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
        world.settle();
    }
    if (world.userNotifications.scheduledNotifications().size() != alerts)
        state.SkipWithError("the set is not the one before");
    state.counters["alerts"] = static_cast<double>(alerts);
    state.counters["caller_ms"] = caller / static_cast<double>(state.iterations());
}

// One reminder with its week of alerts, among a hundred thousand.
void rescheduleOneAmongMany(benchmark::State& state) {
    World world;
    world.scheduleManyAlerts();
    const auto reminder = std::make_shared<ZNReminderObject>(repeatingReminder(0, world.environment.now()));
    for (auto _ : state) {
        world.manager.scheduleNotificationsForReminder(reminder);
        world.settle();
    }
}

void findNoneStale(benchmark::State& state) {
    World world;
    world.storeRepeatingReminders();
    world.scheduleManyAlerts();
    for (auto _ : state) {
        if (world.manager.removeStaleLocalNotifications() != 0) state.SkipWithError("none is stale");
    }
}

// All of them, until that is durable.
void removeAllStale(benchmark::State& state) {
    World world;
    for (auto _ : state) {
        state.PauseTiming();
        world.scheduleManyAlerts();
        state.ResumeTiming();
        if (world.manager.removeStaleLocalNotifications() != manyAlerts) state.SkipWithError("some were left");
        world.userNotifications.synchronize();
    }
}

BENCHMARK(reschedule)->Name("reschedule10000Repeating")->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(rescheduleOneAmongMany)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(findNoneStale)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(removeAllStale)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace zun

BENCHMARK_MAIN();
