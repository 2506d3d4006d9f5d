// The store's figures at 100,000 records, each beside its floor.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <vector>

#include "BenchWorld.h"
#include "HandWritten.h"

namespace zun {
namespace {

using namespace std::chrono_literals;

constexpr int recordCount = 100'000;
constexpr int dueCount = 100;
constexpr std::string_view deckFormat =
    "locationLatitude = 0 AND locationLongitude = 0 AND (fire_date <= %@ OR fire_date = nil) AND completed_date = nil "
    "AND "
    "(shouldDeleteRemote = %@ OR shouldDeleteRemote = nil)";

// Hundred due ones, ten of them without any date; a third of the rest completed, the others of the coming years.
ReminderAttributes recordNumber(int number, NSDate now) {
    ReminderAttributes record;
    record.reminderID = "8D1C7A52-0F1E-4D6B-9C3A-" + std::to_string(100'000'000'000 + number * 7919LL % 1'000'003);
    record.title = "Call the plumber about the kitchen " + std::to_string(number);
    if (number % 3 == 0) record.notes = "Number on the fridge; ask for Tuesday or Thursday morning, after nine.";
    record.created_date = now - std::chrono::hours{number % 5000};
    record.modified_date = record.created_date;
    const bool due = number % (recordCount / dueCount) == 0;
    if (due && number / (recordCount / dueCount) % 10 == 0) return record;
    const auto offset = std::chrono::minutes{1 + number * 37LL % 1'000'000};
    record.start_date = record.due_date = record.fire_date = due ? now - offset : now + offset;
    record.repeat_type = static_cast<std::uint64_t>(number % 5);
    if (record.repeat_type == 2) record.customRepeatDayOrdinals = DayOrdinals{2, 4, 6};
    if (!due && number % 3 == 1) record.completed_date = now - offset;
    record.didPersistToiCloud = true;
    return record;
}

// One store for all figures, made once.
struct Bench : BenchWorld<> {
    static Bench& instance() {
        static Bench bench;
        return bench;
    }

    Bench() {
        std::vector<ReminderPtr> reminders;
        for (int i = 0; i < recordCount; ++i)
            reminders.push_back(std::make_shared<ZNReminderObject>(recordNumber(i, environment.now())));
        database.replaceReminders(std::move(reminders));
        database.waitForWrites();
    }

    [[nodiscard]] FetchResult fetch(std::string_view format, const std::vector<NSSortDescriptor>& sort,
                                    ReturnAsReminderObject objects) const {
        return database.fetchRemindersForPredicate(NSPredicate::predicateWithFormat(format, {environment.now(), false}),
                                                   sort, objects);
    }

    HandWritten floor{(folder.path() / "reminders.sqlite").string()};
};

void check(benchmark::State& state, std::size_t found, std::size_t expected) {
    if (found != expected) state.SkipWithError(("found " + std::to_string(found)).c_str());
}

void fetchDue(benchmark::State& state) {
    Bench& bench = Bench::instance();
    for (auto _ : state) {
        const auto result = bench.fetch(deckFormat, {{"fire_date", false}}, ReturnAsReminderObject::Yes);
        check(state, result.count, dueCount);
    }
}
void fetchDueFloor(benchmark::State& state) {
    Bench& bench = Bench::instance();
    for (auto _ : state)
        check(state, bench.floor.fetchDue(bench.environment.now()).size(), dueCount);
}

void countDue(benchmark::State& state) {
    Bench& bench = Bench::instance();
    for (auto _ : state)
        check(state, bench.manager.numberOfActiveReminders(), dueCount * 9 / 10);
}
void countDueFloor(benchmark::State& state) {
    Bench& bench = Bench::instance();
    for (auto _ : state)
        check(state, bench.floor.countDue(bench.environment.now()), dueCount * 9 / 10);
}

void loadAll(benchmark::State& state) {
    Bench& bench = Bench::instance();
    for (auto _ : state)
        check(state, bench.database.fetchRemindersForPredicate(std::nullopt, {}, ReturnAsReminderObject::Yes).count,
              recordCount);
}
void loadAllFloor(benchmark::State& state) {
    Bench& bench = Bench::instance();
    for (auto _ : state)
        check(state, bench.floor.fetchAll().size(), recordCount);
}

void deDupe(benchmark::State& state) {
    Bench& bench = Bench::instance();
    for (auto _ : state)
        check(state, bench.manager.deDupeDatabase(), 0);
}

ReminderAttributes recordToSave(int number) {
    TestEnvironment environment("2027-02-01T09:00:00Z");
    auto record = recordNumber(number, environment.now());
    record.reminderID = "3B5E2F90-77A1-4C0D-8E64-" + std::to_string(100'000'000'000 + number * 104'729LL % 1'000'003);
    record.notes = "Number on the fridge; ask for Tuesday or Thursday morning, after nine.";
    record.didPersistToiCloud = false;
    return record;
}

double quantile(std::vector<double> values, double share) {
    const auto place = values.begin() + static_cast<std::ptrdiff_t>(static_cast<double>(values.size()) * share);
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

// A store by itself, whose saves are timed from the call to the moment at which the block says that it is durable.
class TimedStore {
  public:
    double save(const ReminderAttributes& record) {
        const auto reminder = std::make_shared<ZNReminderObject>(record);
        const auto start = std::chrono::steady_clock::now();
        std::optional<std::chrono::steady_clock::time_point> end;
        _store.addReminder(reminder, [&](const ReminderPtr&) {
            const auto now = std::chrono::steady_clock::now();
            const std::lock_guard lock(_mutex);
            end = now;
            _changed.notify_one();
        });
        std::unique_lock lock(_mutex);
        _changed.wait(lock, [&] { return end.has_value(); });
        return std::chrono::duration<double>(*end - start).count();
    }

  private:
    TemporaryFolder _folder;
    TestEnvironment _environment;
    std::shared_ptr<LoopQueue> _main = std::make_shared<LoopQueue>();
    SystemDispatch _dispatch{_main};
    NSNotificationCenter _notifications;
    std::mutex _mutex;
    std::condition_variable _changed;
    ZNDatabase _store{_folder.path(), {_dispatch, _notifications, _environment}};
};

// What a sync takes changes from one second to the next and jumps to tenfold while others use the disk, so the store
// and its floor take turns, and the saves that nobody disturbed are compared.
void saveOne(benchmark::State& state) {
    TimedStore store;
    const TemporaryFolder folder;
    HandWritten floor((folder.path() / "floor.sqlite").string());
    int number = 0;
    const auto saveInFloor = [&](const ReminderAttributes& record) {
        const auto start = std::chrono::steady_clock::now();
        floor.save(record);
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    store.save(recordToSave(++number));
    saveInFloor(recordToSave(number));
    std::vector<double> ours;
    std::vector<double> floors;
    for (auto _ : state) {
        const auto record = recordToSave(++number);
        if (number % 2 == 0) floors.push_back(saveInFloor(record));
        ours.push_back(store.save(record));
        if (number % 2 != 0) floors.push_back(saveInFloor(record));
        state.SetIterationTime(ours.back());
    }
    constexpr double microseconds = 1e6;
    state.counters["decile_us"] = quantile(ours, 0.1) * microseconds;
    state.counters["decile_times_floor"] = quantile(ours, 0.1) / quantile(floors, 0.1);
    state.counters["median_us"] = quantile(ours, 0.5) * microseconds;
    state.counters["median_times_floor"] = quantile(ours, 0.5) / quantile(floors, 0.5);
}

// What a program pays that starts, looks at the deck and ends.
void openAndFetchDue(benchmark::State& state) {
    Bench& bench = Bench::instance();
    for (auto _ : state) {
        ZNDatabase store(bench.folder.path(), {bench.dispatch, bench.notifications, bench.environment});
        const auto predicate = NSPredicate::predicateWithFormat(deckFormat, {bench.environment.now(), false});
        check(state, store.fetchRemindersForPredicate(predicate, {}, ReturnAsReminderObject::Yes).count, dueCount);
    }
}

BENCHMARK(fetchDue)->Unit(benchmark::kMicrosecond);
BENCHMARK(fetchDueFloor)->Unit(benchmark::kMicrosecond);
BENCHMARK(countDue)->Unit(benchmark::kMicrosecond);
BENCHMARK(countDueFloor)->Unit(benchmark::kMicrosecond);
BENCHMARK(loadAll)->Unit(benchmark::kMillisecond);
BENCHMARK(loadAllFloor)->Unit(benchmark::kMillisecond);
BENCHMARK(deDupe)->Unit(benchmark::kMillisecond);
BENCHMARK(saveOne)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(openAndFetchDue)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace zun

BENCHMARK_MAIN();
