// Measures the alert service as a program: how late an alert is when a notification server hears of it, what the
// service costs while it sleeps. Run on a session bus of its own.

#include <fmt/format.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <thread>

#include "apps/AlertPrograms.h"

namespace zun {
namespace {

using namespace std::chrono_literals;
using Milliseconds = std::chrono::duration<double, std::milli>;

// After its start a program settles; then it is watched.
constexpr auto settles = 60s;
constexpr auto watched = 120s;
constexpr int alertCount = 20;
constexpr int resumeCount = 10;
constexpr int manyScheduled = 100'000;

struct Figure {
    std::string name;
    double value;
    std::string unit, goal;
};

std::filesystem::path processFolder(const AlertHome& home) {
    const auto connection = sdbus::createSessionBusConnection();
    std::uint32_t pid = 0;
    sdbus::createProxy(*connection, "org.freedesktop.DBus", "/org/freedesktop/DBus")
        ->callMethod("GetConnectionUnixProcessID")
        .onInterface("org.freedesktop.DBus")
        .withArguments(Home::find(home.programs.folder()).alertsBusName)
        .storeResultsTo(pid);
    return "/proc/" + std::to_string(pid);
}

// The sum of the numbers that follow the word in a file of the kernel.
long sumOf(const std::filesystem::path& file, const std::string& word) {
    std::ifstream stream(file);
    long sum = 0;
    for (std::string line; std::getline(stream, line);)
        if (line.starts_with(word + ":")) sum += std::strtol(line.c_str() + word.size() + 1, nullptr, 10);
    return sum;
}

long contextSwitches(const std::filesystem::path& process) {
    long sum = 0;
    for (const auto& task : std::filesystem::directory_iterator(process / "task")) {
        sum += sumOf(task.path() / "status", "voluntary_ctxt_switches");
        sum += sumOf(task.path() / "status", "nonvoluntary_ctxt_switches");
    }
    return sum;
}

class AlertBench {
  public:
    std::vector<Figure> run() {
        latency("an alert, awake", 0);
        latency("an alert among 100,000 scheduled", manyScheduled);
        resume();
        rest("with 200 reminders", 200, false);
        rest("with 10,000 repeating reminders", 10'000, true);
        return _figures;
    }

  private:
    void tell(const std::string& what, std::vector<double> values, const char* goal) {
        std::sort(values.begin(), values.end());
        _figures.push_back({what + ", median", values[values.size() / 2], "ms", goal});
        _figures.push_back({what + ", longest", values.back(), "ms", goal});
    }

    void latency(const std::string& what, int others) {
        NotificationServerStandIn server;
        AlertHome home;
        for (int number = 0; number < others; ++number)
            home.center.scheduleNotification(home.alert(std::to_string(number / 4), 1h * (100 + number % 1000)));
        home.center.synchronize();
        home.startService();
        home.schedule("first", 0ms);
        home.waitForDelivered(1);
        std::vector<NSDate> moments;
        for (int number = 0; number < alertCount; ++number) {
            const auto one = home.alert("alert " + std::to_string(number), 1s + 400ms * number);
            moments.push_back(one.deliveryDate);
            home.center.scheduleNotification(one);
        }
        home.center.synchronize();
        server.waitForAlerts(alertCount + 1);
        const auto alerts = server.alerts();
        std::vector<double> late;
        for (std::size_t number = 0; number < moments.size(); ++number)
            late.push_back(Milliseconds(alerts.at(number + 1).at - moments[number]).count());
        tell(what, late, "100 ms");
    }

    // A stopped process stands for a machine that sleeps: its clock goes on and nothing else.
    void resume() {
        std::vector<double> late;
        NotificationServerStandIn server;
        AlertHome home;
        home.startService();
        for (int number = 0; number < resumeCount; ++number) {
            home.schedule("alert " + std::to_string(number), 300ms);
            home.service().sendSignal(SIGSTOP);
            std::this_thread::sleep_for(600ms);
            const auto resumed = std::chrono::system_clock::now();
            home.service().sendSignal(SIGCONT);
            server.waitForAlerts(late.size() + 1);
            late.push_back(Milliseconds(server.alerts().back().at - resumed).count());
        }
        tell("an alert after a resume", late, "1 s");
    }

    void rest(const std::string& what, int reminders, bool repeat) {
        NotificationServerStandIn server;
        AlertHome home;
        const auto records = home.programs.folder() / "records.jsonl";
        {
            std::ofstream file(records);
            for (int number = 0; number < reminders; ++number)
                file << fmt::format(
                    R"({{"reminderID": "{0:08}-bench", "title": "Reminder number {0}: call the dentist", )"
                    R"("created_date": "2025-12-01T00:00:00Z", "start_date": "2026-01-05T{1:02}:{2:02}:00Z", )"
                    R"("due_date": "2026-01-05T{1:02}:{2:02}:00Z", "fire_date": "2090-01-05T{1:02}:{2:02}:00Z", )"
                    R"("repeat_type": {3}}})"
                    "\n",
                    number, number % 24, number % 60, repeat ? 1 : 0);
        }
        home.programs.zunctl({"import", records});
        home.startService();
        const auto process = processFolder(home);
        std::this_thread::sleep_for(settles);
        const auto before = contextSwitches(process);
        std::this_thread::sleep_for(watched);
        const auto wakeUps = contextSwitches(process) - before;
        const auto mebibytes = [&](const char* kind) {
            return static_cast<double>(sumOf(process / "smaps_rollup", kind)) / 1024;
        };
        _figures.push_back({"zun-alerts " + what + ", wake-ups in two minutes", static_cast<double>(wakeUps), "", "0"});
        _figures.push_back({"zun-alerts " + what + ", private dirty", mebibytes("Private_Dirty"), "MiB", "4 MiB"});
        _figures.push_back({"zun-alerts " + what + ", private clean", mebibytes("Private_Clean"), "MiB", "-"});
    }

    std::vector<Figure> _figures;
};

int measure(const char* output) {
    const auto figures = AlertBench().run();
    std::string json;
    for (const auto& figure : figures) {
        fmt::print("{:<70} {:8.2f} {:<4} (goal: {})\n", figure.name, figure.value, figure.unit, figure.goal);
        json += fmt::format("{}\n {{\"name\": \"{}\", \"value\": {:.3f}, \"unit\": \"{}\", \"goal\": \"{}\"}}",
                            json.empty() ? "[" : ",", figure.name, figure.value, figure.unit, figure.goal);
    }
    std::ofstream file(output);
    file << json << "\n]\n";
    return file.flush() ? 0 : 1;
}

}  // namespace
}  // namespace zun

int main(int argc, char** argv) {
    if (argc != 3) {
        fmt::print(stderr, "usage: bench_alert_service PROGRAMS_FOLDER OUTPUT.json\n");
        return 2;
    }
    setenv("ZUN_TEST_PROGRAMS", argv[1], 1);
    return zun::measure(argv[2]);
}
