// How long each frame takes while the list of a hundred thousand reminders is scrolled, painted by the processor in a
// window of 2560 x 1440: a frame is the input that belongs to it, the records that come into view, fetched from a real
// store and laid out, and the painting. As fast as they can be painted, one after the other.
//
//   slowly     a finger on a trackpad
//   quickly    a screenful in a few frames
//   by leaps   the thumb of the scroll bar: every frame shows rows that were not seen before
//
// Beside the time by the clock stands that of the processor, which is what a frame takes on a machine with nothing else
// to do.
//
// usage: bench_list_frames OUTPUT.json

#include <fmt/format.h>

#include <time.h>

#include <QApplication>
#include <QScrollBar>
#include <QWheelEvent>
#include <algorithm>
#include <chrono>
#include <fstream>
#include <vector>

#include "cards/ReminderCardTexts.h"
#include "core/ManagerWorld.h"
#include "list/ZNListViewController.h"
#include "toolkit/ZNGradientView.h"

namespace zun {
namespace {

constexpr QSize windowSize(2560, 1440);
constexpr int toolbarHeight = 80;
constexpr int reminders = 100'000;
constexpr double frameTime = 1000.0 / 60;
constexpr const char* words[] = {"Call",  "the", "dentist", "about",   "coffee", "groceries", "flowers", "for",
                                 "Marie", "and", "return",  "library", "books",  "before",    "Friday"};

double processorMilliseconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

class List : public ManagerWorld {
  public:
    List() {
        std::vector<ReminderPtr> all;
        for (int i = 0; i < reminders; ++i)
            all.push_back(std::make_shared<ZNReminderObject>(reminder(i)));
        database.replaceReminders(std::move(all));
        database.waitForWrites();
        window.resize(windowSize);
        list = new ZNListViewController({context, manager, environment, strings, labels},
                                        ZNListViewController::Type::Upcoming, &window);
        list->setGeometry(window.rect().adjusted(0, toolbarHeight, 0, 0));
        window.show();
        QCoreApplication::processEvents();
        settle();
        dispatch.advance(std::chrono::milliseconds(500));
        QCoreApplication::processEvents();
        if (list->tableView().rows().size() <= reminders) throw std::runtime_error("the list is not complete");
    }

    ZNGradientView window;
    ZNListViewController* list;  // the window's

  private:
    [[nodiscard]] ReminderAttributes reminder(int number) const {
        auto attributes = dated(fmt::format("{:06}", number), "2026-01-14T09:00:00Z");
        const auto moment = at("2025-06-01T09:00:00Z") + std::chrono::minutes(number * 7);
        attributes.start_date = attributes.due_date = attributes.fire_date = moment;
        attributes.title.clear();
        for (int word = 0; word < 3 + number % 11; ++word)
            attributes.title += (word == 0 ? "" : " ") + std::string(words[(number + word * word) % std::size(words)]);
        return attributes;
    }

    TopicDetection topics{environment, strings};
    ReminderCardTexts texts{environment, strings, labels, topics};
    Pictures pictures;
    ZNAnimationTimeline animations{dispatch};
    CardContext context{
        dispatch, notifications, settings, pictures, animations, texts, [this] { return QSizeF(window.size()); }};
};

struct Measured {
    std::string name;
    std::vector<double> clock, processor;
};

class Play {
  public:
    std::vector<Measured> run() {
        scroll("slowly", 25, 900);
        scroll("quickly", 420, 400);
        auto* bar = table().verticalScrollBar();
        bar->setSliderDown(true);
        measure("by leaps", 200, [&](int frame) {
            bar->setSliderPosition(
                static_cast<int>((static_cast<std::int64_t>(frame) * 7919 % 200) * bar->maximum() / 200));
        });
        bar->setSliderDown(false);
        return _measured;
    }

  private:
    [[nodiscard]] ZNListTableView& table() const { return _list.list->tableView(); }

    void scroll(const char* name, int points, int frames) {
        const std::size_t before = table().rowAt({0, 10}).value_or(0);
        measure(name, frames, [&](int) {
            const QPointF at(table().viewport()->rect().center());
            QWheelEvent event(at, table().viewport()->mapToGlobal(at), QPoint(0, -points), {}, Qt::NoButton,
                              Qt::NoModifier, Qt::ScrollUpdate, false);
            QCoreApplication::sendEvent(table().viewport(), &event);
        });
        if (table().rowAt({0, 10}).value_or(0) <= before) throw std::runtime_error("nothing was scrolled");
    }

    void measure(const char* name, int frames, const std::function<void(int)>& input) {
        Measured measured{name, {}, {}};
        for (int frame = 0; frame < frames; ++frame) {
            const auto start = std::chrono::steady_clock::now();
            const double processor = processorMilliseconds();
            input(frame);
            QCoreApplication::sendPostedEvents();
            QEvent update(QEvent::UpdateRequest);
            QCoreApplication::sendEvent(&_list.window, &update);
            measured.processor.push_back(processorMilliseconds() - processor);
            measured.clock.push_back(
                std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
        }
        _measured.push_back(std::move(measured));
    }

    List _list;
    std::vector<Measured> _measured;
};

double share(std::vector<double> times, double part) {
    std::sort(times.begin(), times.end());
    return times[static_cast<std::size_t>(part * static_cast<double>(times.size() - 1))];
}

std::string row(const std::vector<double>& times) {
    const auto late = std::count_if(times.begin(), times.end(), [](double each) { return each > frameTime; });
    return fmt::format(R"({{"median": {:.3f}, "p99": {:.3f}, "longest": {:.3f}, "over16": {}}})", share(times, 0.5),
                       share(times, 0.99), share(times, 1), late);
}

int measure(const char* output) {
    std::string json;
    for (const Measured& each : Play().run()) {
        fmt::print("{}, {} frames\n  clock     {}\n  processor {}\n", each.name, each.clock.size(), row(each.clock),
                   row(each.processor));
        json += fmt::format(
            R"({}{{"name": "{}", "frames": {}, "unit": "ms", "goal": {:.1f}, "clock": {}, "processor": {}}})",
            json.empty() ? "[\n " : ",\n ", each.name, each.clock.size(), frameTime, row(each.clock),
            row(each.processor));
    }
    std::ofstream file(output);
    file << json << "\n]\n";
    return file.flush() ? 0 : 1;
}

}  // namespace
}  // namespace zun

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    if (argc != 2) {
        fmt::print(stderr, "usage: bench_list_frames OUTPUT.json\n");
        return 2;
    }
    return zun::measure(argv[1]);
}
