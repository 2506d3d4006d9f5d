// The sync of two devices over a running service: the first sync up and down, passes with nothing to do, a zone that is
// read again, and the way of one change from a device to the other. Prints a table with the floors and writes JSON.
//
// bench_sync ZUN_CLOUD FILE.json

#include <fmt/format.h>

#include <SQLiteCpp/SQLiteCpp.h>

#include <algorithm>
#include <boost/json.hpp>
#include <fstream>
#include <iostream>
#include <stop_token>

#include "BenchDevice.h"
#include "SyncFloors.h"
#include "cloudkit/CloudProgram.h"
#include "platform/foundation/Log.h"
#include "sync/ReminderRecord.h"

namespace zun {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr std::size_t many = 10'000, few = 100;
constexpr int passes = 15, changes = 300;

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double share(std::vector<double> values, double part) {
    std::sort(values.begin(), values.end());
    return values.at(static_cast<std::size_t>(part * static_cast<double>(values.size() - 1)));
}

// Open, dated within the coming half year; every tenth repeats.
std::vector<ReminderPtr> reminders(std::size_t count, const Environment& environment) {
    std::vector<ReminderPtr> all;
    const auto now = environment.now();
    for (std::size_t number = 0; number < count; ++number) {
        ReminderAttributes one;
        one.reminderID = environment.newIdentifier();
        one.title = fmt::format("Reminder number {}: call the dentist", number);
        one.notes = fmt::format("Some words of notes for number {}, and a telephone number to call", number);
        one.created_date = one.modified_date = now - std::chrono::hours(number % 2'000);
        one.start_date = one.due_date = one.fire_date = now + std::chrono::minutes(1'440 + number * 26);
        if (number % 10 == 0) one.repeat_type = 2;
        all.push_back(std::make_shared<ZNReminderObject>(one));
    }
    return all;
}

// Knocks at the main queue once a millisecond and notes the longest time until it was answered.
class Pulse {
  public:
    explicit Pulse(std::shared_ptr<LoopQueue> main)
        : _main(std::move(main)), _thread([this](const std::stop_token& stop) { run(stop); }) {}

    // Milliseconds, since the last call.
    double longest() { return static_cast<double>(_shared->longest.exchange(0)) / 1'000; }

  private:
    struct Shared {
        std::atomic<std::int64_t> longest = 0;  // microseconds
        std::atomic<bool> isKnocking = false;
    };
    void run(const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            std::this_thread::sleep_for(1ms);
            if (_shared->isKnocking.exchange(true)) continue;
            _main->async([shared = _shared, knocked = Clock::now()] {
                const auto waited = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - knocked);
                shared->longest = std::max<std::int64_t>(shared->longest, waited.count());
                shared->isKnocking = false;
            });
        }
    }

    const std::shared_ptr<LoopQueue> _main;
    const std::shared_ptr<Shared> _shared = std::make_shared<Shared>();
    std::jthread _thread;
};

class SyncBench {
  public:
    explicit SyncBench(const std::string& program)
        : _service(program, _folder.path() / "service", {"--requests-per-second", "0"}) {}

    void run() {
        measureMany();
        measureFew();
    }
    [[nodiscard]] const boost::json::array& figures() const { return _figures; }

  private:
    void note(const std::string& name, double value, const std::string& unit, double goal,
              std::optional<double> floor = {}) {
        const auto beside = floor ? fmt::format("floor {:.1f} {}, ratio {:.2f}", *floor, unit, value / *floor) : "";
        fmt::print("{:<58} {:>8.1f} {:<3} at most {:>5} {} {}\n", name, value, unit, goal,
                   value <= goal ? "      " : "MISSED", beside);
        boost::json::object one{{"name", name}, {"value", value}, {"unit", unit}, {"goal", goal}};
        if (floor) one["floor"] = *floor;
        _figures.push_back(std::move(one));
    }
    static std::filesystem::path storeOf(const BenchDevice& device) { return device.home.data / "reminders.sqlite"; }

    void fill(BenchDevice& device, std::size_t count) {
        device.core.manager.importReminders(reminders(count, device.core.environment));
        device.core.manager.waitUntilSettled();
    }

    void measureMany() {
        SyncFloors floors(_service.port(), "floor", _folder.path());
        BenchDevice first(_main), second(_main);
        fill(first, many);
        first.createAccount(_service.URL(), "anna");
        second.signIn(_service.URL(), "anna");

        const auto up = once(first);
        if (up.traffic.sent != many) throw std::runtime_error("not all was sent");
        note("first sync of 10,000, up", up.milliseconds, "ms", 1'000, floors.sendAll(storeOf(first)));
        note("  its requests", static_cast<double>(up.requests), "", 60);
        note("  longest block of the main thread", up.block, "ms", 16);
        const auto down = once(second);
        if (down.traffic.received != many) throw std::runtime_error("not all was received");
        note("first sync of 10,000, down, until durable", down.milliseconds, "ms", 1'000, floors.receiveAll());
        note("  its requests", static_cast<double>(down.requests), "", 60);
        note("  longest block of the main thread", down.block, "ms", 16);
        first.settle();
        second.settle();

        measureIdle(first, many, 150, floors);
        measureReadingAgain(second, floors);
        measureChanges(first, second, floors);
    }

    void measureFew() {
        SyncFloors floors(_service.port(), "fewfloor", _folder.path());
        BenchDevice device(_main);
        fill(device, few);
        device.createAccount(_service.URL(), "bert");
        device.sync();
        floors.sendAll(storeOf(device));
        device.settle();
        measureIdle(device, few, 20, floors);
    }

    struct Pass {
        double milliseconds;
        double block;  // milliseconds that the main thread did not answer, at most
        std::uint64_t requests;
        ZNCloudKitManager::Traffic traffic;
    };
    // What a pass leaves under way is in neither figure.
    Pass once(BenchDevice& device) {
        const auto before = _service.count("requests");
        Pulse pulse(_main);
        // Let it knock before the pass begins, which is asked for on the main thread.
        std::this_thread::sleep_for(5ms);
        device.waitForStore();
        (void)pulse.longest();
        const auto start = Clock::now();
        const auto traffic = device.sync();
        const double milliseconds = millisecondsSince(start);
        const double block = pulse.longest();
        device.core.manager.waitUntilSettled();
        return {milliseconds, block, _service.count("requests") - before, traffic};
    }

    void measureIdle(BenchDevice& device, std::size_t count, double goal, SyncFloors& floors) {
        std::vector<double> took, floor;
        std::uint64_t requests = 0;
        for (int i = 0; i < passes; ++i) {
            const auto pass = once(device);
            if (pass.traffic.sent + pass.traffic.received > 0) throw std::runtime_error("an idle pass moved something");
            took.push_back(pass.milliseconds);
            requests = std::max(requests, pass.requests);
            floor.push_back(floors.askForAll(count, 4));
        }
        note(fmt::format("a pass with nothing to do, {} open, median", count), share(took, 0.5), "ms", goal,
             share(floor, 0.5));
        note("  longest", share(took, 1), "ms", goal);
        note("  its requests", static_cast<double>(requests), "", 8);
    }

    // Another device saves a reminder as it is, at a later date: the zone has changed, and nothing in it.
    void measureReadingAgain(BenchDevice& device, SyncFloors& floors) {
        cloud::LoopbackClient other(_service.port());
        other.token = other.ask<cloud::SignedIn>(cloud::SignIn{"anna", "the password", "third"}).deviceToken;
        auto record = recordOf(device);
        SQLite::Database store(storeOf(device).native());
        const auto version = [&store] { return store.execAndGet("PRAGMA data_version").getInt64(); };
        std::vector<double> took, floor;
        std::uint64_t requests = 0;
        double block = 0;
        const auto before = version();
        for (int i = 0; i < passes; ++i) {
            record.setObject("modified_date", CKRecordValue(device.core.environment.now()));
            (void)other.ask<cloud::ModifiedRecords>(
                cloud::ModifyRecords{cloud::DatabaseScope::Private, cloud::SavePolicy::AllKeys, {record}, {}});
            const auto pass = once(device);
            took.push_back(pass.milliseconds);
            requests = std::max(requests, pass.requests);
            block = std::max(block, pass.block);
            floor.push_back(floors.readAgain(storeOf(device)));
        }
        note("a zone of 10,000 equal rows read again, median", share(took, 0.5), "ms", 200, share(floor, 0.5));
        note("  longest", share(took, 1), "ms", 200);
        note("  its requests", static_cast<double>(requests), "", 8);
        note("  longest block of the main thread", block, "ms", 16);
        note("  commits of the store", static_cast<double>(version() - before), "", 0);
    }
    static CKRecord recordOf(BenchDevice& device) {
        const auto any = device.core.manager.listAllIncompleteReminders();
        const auto row = device.core.manager.fetchReminderWithReminderID(std::string(any.reminderID(0)));
        CKRecord record;
        record.recordType = reminderRecordType;
        record.recordID = device.cloud.manager.ckRecordIDWithRecordName(*row->reminderID());
        combineCloudKitRecord(record, row->attributes());
        return record;
    }

    // From the user's act on one device to the other one's word that its store has it.
    void measureChanges(BenchDevice& first, BenchDevice& second, SyncFloors& floors) {
        second.cloud.pushes.start();
        const auto all = reminders(changes + 1, first.core.environment);
        // Until the stream stands.
        await(second, ZNReminderObjectAddedNotification, all[changes], [&] { save(first, all[changes]); });
        first.core.manager.waitUntilSettled();
        std::vector<double> added, edited;
        for (std::size_t i = 0; i < changes; ++i) {
            added.push_back(await(second, ZNReminderObjectAddedNotification, all[i], [&] { save(first, all[i]); }));
            first.core.manager.waitUntilSettled();
            const auto row = first.core.manager.fetchReminderWithReminderID(all[i]->reminderID());
            row->setTitle("Water the plants");
            edited.push_back(await(second, ZNReminderObjectUpdatedNotification, row, [&] {
                first.core.manager.updateReminder(row, ShouldUpdateDateModified::Yes, ShouldSyncWithiCloud::Yes);
            }));
            first.core.manager.waitUntilSettled();
        }
        const auto floor = floors.pass(changes);
        note("a new reminder, until the other device has it, median", share(added, 0.5), "ms", 50, share(floor, 0.5));
        note("  99 %", share(added, 0.99), "ms", 50, share(floor, 0.99));
        note("an edit, until the other device has it, median", share(edited, 0.5), "ms", 50, share(floor, 0.5));
        note("  99 %", share(edited, 0.99), "ms", 50, share(floor, 0.99));
    }
    static void save(BenchDevice& device, const ReminderPtr& reminder) {
        device.core.manager.saveReminder(reminder, ShouldSyncWithiCloud::Yes);
    }
    static double await(BenchDevice& device, std::string_view name, const ReminderPtr& reminder,
                        const std::function<void()>& act) {
        std::atomic<bool> isThere = false;
        Clock::time_point end;
        const auto reminderID = reminder->reminderID();
        const auto observation = device.core.notifications.addObserver(name, [&](const NSNotification& notification) {
            const auto* told = std::any_cast<ReminderPtr>(&notification.object);
            if (!told || (*told)->reminderID() != reminderID || isThere) return;
            end = Clock::now();
            isThere = true;
            device.core.dispatch.notify();
        });
        const auto start = Clock::now();
        act();
        device.waitUntil([&] { return isThere.load(); });
        return std::chrono::duration<double, std::milli>(end - start).count();
    }

    TemporaryFolder _folder;
    CloudProgram _service;
    std::shared_ptr<LoopQueue> _main = std::make_shared<LoopQueue>();
    boost::json::array _figures;
};

int run(const std::string& program, const std::string& file) {
    const ScopedLogSink silence([](std::string_view) {});
    SyncBench bench(program);
    bench.run();
    std::ofstream(file) << bench.figures() << "\n";
    return 0;
}

}  // namespace
}  // namespace zun

int main(int count, char** arguments) {
    if (count != 3) {
        std::cerr << "bench_sync ZUN_CLOUD FILE.json\n";
        return 2;
    }
    return zun::run(arguments[1], arguments[2]);
}
