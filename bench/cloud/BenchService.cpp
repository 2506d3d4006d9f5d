// The record service over loopback: durable writes, reads, a first sync's pages, idle push streams. Prints a table with
// the floors and writes JSON.
//
// bench_service FILE.json [postgresql://...]

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <boost/json.hpp>
#include <fstream>
#include <iostream>
#include <thread>

#include "LoopbackClient.h"
#include "platform/foundation/SystemEnvironment.h"
#include "server/http/HttpFront.h"
#include "server/program/Places.h"
#include "support/TemporaryFolder.h"

namespace zun::cloud {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto measuredFor = 3s;
const CKRecordZoneID zone{"Reminders", std::string(CKCurrentUserDefaultName)};

CKRecord reminder(const std::string& name, std::uint64_t number) {
    CKRecord record;
    record.recordType = "Reminder";
    record.recordID = {name, zone};
    record.setObject("title", CKRecordValue("Water the plants on the balcony " + std::to_string(number)));
    record.setObject("notes", CKRecordValue(std::string(120, 'n')));
    record.setObject("reminderID", CKRecordValue(name));
    for (const char* key : {"modified_date", "created_date", "fire_date", "due_date", "start_date"})
        record.setObject(key, CKRecordValue(NSDate(1'700'000'000s + std::chrono::seconds(number))));
    for (const char* key : {"repeat_type", "snoozed", "nagging", "quiet", "version"})
        record.setObject(key, CKRecordValue(number % 7));
    return record;
}

struct Service {
    explicit Service(const std::string& database)
        : storage(openStorage({folder.path().string(), database}, IfMissing::Make)),
          service(*storage, environment, random, options()),
          front(service, *storage, http(), [](std::string_view line) { std::cerr << line << "\n"; }) {
        front.start();
    }
    ~Service() { front.stop(); }

    static ServiceOptions options() {
        ServiceOptions options;
        options.limits.requestsPerSecond = 0;
        options.limits.strangersPerSecond = 0;
        options.limits.devicesPerAccount = 2'000;
        options.limits.passwordsAtOnce = 64;
        options.passwordCost = {1, 8'192};
        return options;
    }
    static HttpOptions http() {
        HttpOptions options;
        options.listen = "127.0.0.1:0";
        return options;
    }
    [[nodiscard]] std::unique_ptr<LoopbackClient> signUp() {
        auto client = std::make_unique<LoopbackClient>(front.port());
        const auto name = fmt::format("bench{}.{}", ::getpid(), ++accounts);
        client->token = client->ask<SignedIn>(CreateAccount{name, "", "", "a password", "", "bench"}).deviceToken;
        (void)client->ask<ModifiedZones>(ModifyZones{DatabaseScope::Private, {zone}, {}});
        return client;
    }

    TemporaryFolder folder;
    SystemEnvironment environment;
    SystemRandomSource random;
    std::unique_ptr<Storage> storage;
    CloudService service;
    HttpFront front;
    // Over all services of this run, which may be over one database.
    inline static std::atomic<int> accounts{0};
};

struct Figure {
    std::string name;
    double value;
    std::string unit;
    double floor;
    bool moreIsBetter;
};

struct Load {
    double perSecond, milliseconds99;
};

// The request of each client is made before the measuring starts, but for its number.
Load measure(Service& service, int clients, const std::function<void(LoopbackClient&, std::uint64_t)>& once) {
    std::vector<std::thread> threads;
    std::vector<std::vector<double>> took(static_cast<std::size_t>(clients));
    std::atomic<int> ready{0};
    std::atomic<bool> isOn{false};
    Clock::time_point end;
    for (int number = 0; number < clients; ++number)
        threads.emplace_back([&, number] {
            auto client = service.signUp();
            for (std::uint64_t warm = 0; warm < 20; ++warm)
                once(*client, warm);
            ++ready;
            while (!isOn)
                std::this_thread::yield();
            for (std::uint64_t count = 20; Clock::now() < end; ++count) {
                const auto start = Clock::now();
                once(*client, count);
                took[static_cast<std::size_t>(number)].push_back(
                    std::chrono::duration<double, std::milli>(Clock::now() - start).count());
            }
        });
    while (ready < clients)
        std::this_thread::sleep_for(1ms);
    end = Clock::now() + measuredFor;
    isOn = true;
    for (auto& thread : threads)
        thread.join();
    std::vector<double> all;
    for (const auto& each : took)
        all.insert(all.end(), each.begin(), each.end());
    std::sort(all.begin(), all.end());
    return {static_cast<double>(all.size()) / std::chrono::duration<double>(measuredFor).count(),
            all.empty() ? 0 : all[all.size() * 99 / 100]};
}

void writeOne(LoopbackClient& client, std::uint64_t number) {
    (void)client.post(ModifyRecords{
        DatabaseScope::Private, SavePolicy::AllKeys, {reminder("r" + std::to_string(number % 500), number)}, {}});
}

// The same request, which the front answers without asking the service: what HTTP and the client cost by themselves.
void askNothing(LoopbackClient& client, std::uint64_t number) {
    const ModifyRecords request{
        DatabaseScope::Private, SavePolicy::AllKeys, {reminder("r" + std::to_string(number % 500), number)}, {}};
    (void)client.post("nothing/is/here", encode(Request(request)));
}

void readOne(LoopbackClient& client, std::uint64_t number) {
    if (number == 0) writeOne(client, 0);
    static const std::string body = encode(Request(FetchRecords{DatabaseScope::Private, {{"r0", zone}}, std::nullopt}));
    (void)client.post("records/fetch", body);
}

double megabytesResident() {
    std::ifstream statm("/proc/self/statm");
    std::size_t pages = 0, resident = 0;
    statm >> pages >> resident;
    return static_cast<double>(resident) * static_cast<double>(::sysconf(_SC_PAGESIZE)) / (1 << 20);
}

void measureSync(Service& service, std::vector<Figure>& figures) {
    auto client = service.signUp();
    std::vector<ModifyRecords> batches(20);
    for (std::uint64_t number = 0; number < 10'000; ++number)
        batches[number / 500].recordsToSave.push_back(
            reminder(fmt::format("8D1C7A52-0F1E-4D6B-{:012}", number), number));
    auto start = Clock::now();
    for (const auto& batch : batches)
        (void)client->ask<ModifiedRecords>(batch);
    figures.push_back({"10,000 records up, 500 a request",
                       std::chrono::duration<double, std::milli>(Clock::now() - start).count(), "ms", 1'000, false});
    start = Clock::now();
    std::optional<Token> token;
    for (bool isMore = true; isMore;) {
        auto zones = client->ask<ZoneChanges>(FetchZoneChanges{DatabaseScope::Private, {{zone, token}}}).zones;
        token = zones.at(0).token;
        isMore = zones.at(0).moreComing;
    }
    figures.push_back({"10,000 records down", std::chrono::duration<double, std::milli>(Clock::now() - start).count(),
                       "ms", 1'000, false});
}

void measurePushes(Service& service, std::vector<Figure>& figures) {
    auto writer = service.signUp();
    (void)writer->ask<SavedSubscription>(
        SaveSubscription{DatabaseScope::Private, {{}, CKSubscriptionData::Kind::Query, "Reminder", 7, {}, true}});
    LoopbackClient reader(service.front.port());
    reader.token = reader
                       .ask<SignedIn>(SignIn{fmt::format("bench{}.{}", ::getpid(), service.accounts.load()),
                                             "a password", "second"})
                       .deviceToken;
    reader.openPushStream();
    std::vector<double> took;
    for (std::uint64_t number = 0; number < 300; ++number) {
        const auto start = Clock::now();
        writeOne(*writer, number);
        (void)reader.readUntil("\n\n");
        took.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
    }
    std::sort(took.begin(), took.end());
    figures.push_back({"from a write to the push elsewhere, 99 %", took[took.size() * 99 / 100], "ms", 50, false});
    std::vector<std::unique_ptr<LoopbackClient>> idle;
    for (int number = 0; number < 1'000; ++number) {
        idle.push_back(std::make_unique<LoopbackClient>(service.front.port()));
        idle.back()->token = reader.token;
        idle.back()->openPushStream();
    }
    // The clients' own sockets are in it, too.
    figures.push_back({"memory with 1,000 idle streams", megabytesResident(), "MiB", 100, false});
}

int run(const std::string& file, const std::string& database) {
    const bool isPostgres = !database.empty();
    std::vector<Figure> figures;
    {
        Service service(database);
        measurePushes(service, figures);
    }
    {
        Service service(database);
        for (const int clients : {1, 8})
            fmt::print("floor: the same requests answered by the front alone, {} clients: {:.0f} 1/s\n", clients,
                       measure(service, clients, askNothing).perSecond);
        for (const auto& [clients, floor] :
             {std::pair(1, isPostgres ? 2'000 : 3'000), std::pair(8, isPostgres ? 6'000 : 8'000)}) {
            const auto load = measure(service, clients, writeOne);
            figures.push_back({fmt::format("durable writes a second, {} clients", clients), load.perSecond, "1/s",
                               static_cast<double>(floor), true});
            figures.push_back(
                {fmt::format("a durable write, {} clients, 99 %", clients), load.milliseconds99, "ms", 10, false});
        }
        figures.push_back({"reads a second, 8 clients", measure(service, 8, readOne).perSecond, "1/s", 20'000, true});
        measureSync(service, figures);
    }
    boost::json::array list;
    for (const auto& figure : figures) {
        const bool isReached = figure.moreIsBetter ? figure.value >= figure.floor : figure.value <= figure.floor;
        fmt::print("{:<45} {:>10.1f} {:<4} {} {:>8} {}\n", figure.name, figure.value, figure.unit,
                   figure.moreIsBetter ? "at least" : "at most ", figure.floor, isReached ? "" : "MISSED");
        list.push_back(
            {{"name", figure.name}, {"value", figure.value}, {"unit", figure.unit}, {"floor", figure.floor}});
    }
    std::ofstream(file) << list << "\n";
    return 0;
}

}  // namespace
}  // namespace zun::cloud

int main(int count, char** arguments) {
    if (count < 2) {
        std::cerr << "bench_service FILE.json [postgresql://...]\n";
        return 2;
    }
    return zun::cloud::run(arguments[1], count > 2 ? arguments[2] : "");
}
