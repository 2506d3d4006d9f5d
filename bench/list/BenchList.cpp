// The list at 100,000 reminders: from the call to the rows, what a search takes, what the main thread pays and what a
// picture of the store weighs. Beside them the floor: a walk over the same columns in the same order and nothing else.

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <sqlite3.h>
#include <time.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "BenchWorld.h"
#include "core/ReminderListLoader.h"

namespace zun {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int reminderCount = 100'000;
constexpr const char* titles[] = {"Call the plumber about the kitchen",   "Wasserzähler ablesen, Keller links",
                                  "Bring the bicycle to Åsa's workshop",  "牛乳とパンを買う",
                                  "Water the plants on the balcony",      "Pay the yearly fee of the library",
                                  "Geburtstagsgeschenk für Tante Jürgens"};

// What the calling thread has computed, so that other work on the machine does not look like a block.
double threadMilliseconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// A hundred due ones, some ranked, some without a date, two hundred at places, the others of the coming two years in no
// order; each third has notes. Or all done, over the last two years.
ReminderAttributes reminderNumber(int number, NSDate now, bool done) {
    ReminderAttributes record;
    record.reminderID = "8D1C7A52-0F1E-4D6B-9C3A-" + std::to_string(100'000'000'000 + number * 7919LL % 1'000'003);
    record.title = titles[static_cast<std::size_t>(number) % std::size(titles)] + (" " + std::to_string(number));
    if (number % 3 == 0) record.notes = "Number on the fridge; ask for Tuesday or Thursday morning, after nine.";
    record.created_date = record.modified_date = now - std::chrono::hours{number % 5000};
    record.didPersistToiCloud = true;
    const auto offset = std::chrono::minutes{1 + number * 7919LL % 1'050'000};
    if (done) record.completed_date = now - offset;
    if (number % 500 == 1) {
        record.locationLatitude = 52.5;
        record.locationLongitude = 13.4;
        return record;
    }
    const bool due = number % 1'000 == 0;
    if (due) record.rank = number / 1'000 % 4;
    if (due && number % 10'000 == 0) return record;
    record.start_date = record.due_date = record.fire_date = due || done ? now - offset : now + offset;
    record.repeat_type = static_cast<std::uint64_t>(number % 5);
    return record;
}

// A store of its own for each list, made once.
struct World : BenchWorld<> {
    explicit World(bool done) {
        environment.setTimeZone("Europe/Berlin");
        std::vector<ReminderPtr> reminders;
        for (int i = 0; i < reminderCount; ++i)
            reminders.push_back(std::make_shared<ZNReminderObject>(reminderNumber(i, environment.now(), done)));
        database.replaceReminders(std::move(reminders));
        database.waitForWrites();
    }
    static World& of(ReminderListLoader::Type type) {
        static World upcoming(false);
        static World completed(true);
        return type == ReminderListLoader::Type::Upcoming ? upcoming : completed;
    }

    // Runs the main thread until the rows are there and shown in place of the ones before, and keeps what the longest
    // of its steps computed.
    std::size_t await(const std::function<void(ReminderListLoader::Completion)>& call) {
        bool isDone = false;
        const double start = threadMilliseconds();
        call([&](ListRows rows) {
            const double arrival = threadMilliseconds();
            shown = std::move(rows);
            mainThread = std::max(mainThread, threadMilliseconds() - arrival);
            isDone = true;
        });
        mainThread = std::max(mainThread, threadMilliseconds() - start);
        main->runUntil([&] { return isDone; });
        return shown.size();
    }

    ReminderListLoader loader{{manager, labels, strings, environment, dispatch}};
    ListRows shown;
    double mainThread = 0;
};

void fetch(benchmark::State& state, ReminderListLoader::Type type) {
    World& world = World::of(type);
    world.mainThread = 0;
    std::size_t rows = 0;
    for (auto _ : state)
        rows = world.await([&](auto completion) { world.loader.fetch(type, std::move(completion)); });
    if (rows < reminderCount) state.SkipWithError("some are missing");
    state.counters["main_ms"] = world.mainThread;
    state.counters["headings"] = static_cast<double>(rows - reminderCount);
}

// The first letter, which leaves most; the whole word typed at once; and each letter of it after the other, the slowest
// of which counts.
void search(benchmark::State& state, ReminderListLoader::Type type, const std::vector<std::string>& texts) {
    World& world = World::of(type);
    world.await([&](auto completion) { world.loader.fetch(type, std::move(completion)); });
    world.mainThread = 0;
    double slowest = 0;
    std::size_t rows = 0;
    for (auto _ : state) {
        for (const auto& text : texts) {
            const auto start = Clock::now();
            rows = world.await([&](auto completion) { world.loader.search(text, std::move(completion)); });
            slowest = std::max(slowest, millisecondsSince(start));
        }
        state.PauseTiming();
        world.await([&](auto completion) { world.loader.search("", std::move(completion)); });
        state.ResumeTiming();
    }
    state.counters["slowest_ms"] = slowest;
    state.counters["main_ms"] = world.mainThread;
    state.counters["rows"] = static_cast<double>(rows);
}

// What one more picture of the store takes, and what is left of it afterwards.
void memory(benchmark::State& state) {
    World& world = World::of(ReminderListLoader::Type::Upcoming);
    const auto inUse = [] {
        const auto all = mallinfo2();
        return static_cast<double>(all.uordblks + all.hblkhd) / (1024 * 1024);
    };
    double weight = 0;
    for (auto _ : state) {
        const double before = inUse();
        const auto reminders = world.manager.listAllIncompleteReminders();
        weight = inUse() - before;
        benchmark::DoNotOptimize(reminders.size());
    }
    state.counters["MiB"] = weight;
}

// The columns that the list reads, stepped through in the order of the file and touched: neither sorted nor kept.
void floorOfFetch(benchmark::State& state, ReminderListLoader::Type type) {
    World& world = World::of(type);
    const std::string query =
        std::string(
            "SELECT reminderID, title, title_folded, fire_date, due_date, start_date, completed_date, "
            "created_date, rank, locationLatitude, locationLongitude, earlyReminderType, "
            "earlyReminderInterval FROM reminders NOT INDEXED WHERE completed_date IS ") +
        (type == ReminderListLoader::Type::Upcoming ? "NULL" : "NOT NULL") +
        " AND (shouldDeleteRemote = 0 OR shouldDeleteRemote IS NULL)";
    sqlite3* database = nullptr;
    if (sqlite3_open((world.folder.path() / "reminders.sqlite").c_str(), &database) != SQLITE_OK) std::abort();
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(database, query.c_str(), -1, &statement, nullptr) != SQLITE_OK) std::abort();
    int rows = 0;
    for (auto _ : state) {
        std::int64_t sum = 0;
        for (rows = 0; sqlite3_step(statement) == SQLITE_ROW; ++rows) {
            for (int column = 0; column < 3; ++column) {
                benchmark::DoNotOptimize(sqlite3_column_text(statement, column));
                sum += sqlite3_column_bytes(statement, column);
            }
            for (int column = 3; column < 13; ++column)
                sum += sqlite3_column_int64(statement, column);
        }
        sqlite3_reset(statement);
        benchmark::DoNotOptimize(sum);
    }
    sqlite3_finalize(statement);
    sqlite3_close(database);
    if (rows != reminderCount) state.SkipWithError("some are missing");
}

constexpr auto upcoming = ReminderListLoader::Type::Upcoming;
constexpr auto completed = ReminderListLoader::Type::Completed;

BENCHMARK_CAPTURE(fetch, upcoming, upcoming)->MeasureProcessCPUTime()->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(floorOfFetch, upcoming, upcoming)
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(fetch, completed, completed)->MeasureProcessCPUTime()->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(floorOfFetch, completed, completed)
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(search, firstLetter, upcoming, {"e"})
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(search, word, upcoming, {"jurgens"})
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(search, typed, upcoming, {"b", "ba", "bal", "balc", "balco", "balcon", "balcony"})
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(memory)->MeasureProcessCPUTime()->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace zun

BENCHMARK_MAIN();
