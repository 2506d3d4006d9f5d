// The calendar at 10,000 dated reminders: a step to the next month and a move of the selection, each until it is
// painted in software, and what a refresh takes away from the main thread. The floor is one paint of the same month.

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QKeyEvent>
#include <QListView>
#include <memory>

#include "calendar/ZNCalendarViewController.h"
#include "core/DayIndex.h"
#include "core/ManagerWorld.h"

namespace zun {
namespace {

constexpr int reminderCount = 10'000;

class World : public ManagerWorld {
  public:
    World() {
        std::vector<ReminderPtr> all;
        for (int i = 0; i < reminderCount; ++i) {
            auto record = dated("r" + std::to_string(i), "2026-01-15T08:00:00Z");
            record.title = "Water the plants on the balcony, number " + std::to_string(i);
            *record.fire_date += std::chrono::minutes(i * 7919LL % 525'000);
            record.start_date = record.due_date = record.fire_date;
            all.push_back(std::make_shared<ZNReminderObject>(std::move(record)));
        }
        manager.importReminders(std::move(all));
        settle();
        window.resize(336, 680);
        controller = new ZNCalendarViewController({dispatch, notifications, settings, pictures, manager, environment,
                                                   strings, [] { return QSizeF(1280, 800); }},
                                                  &window);
        controller->resize(window.size());
        window.show();
        settle();
    }
    [[nodiscard]] ZNCalendarView& month() const { return controller->calendarView(); }
    void paint(QWidget& widget) {
        if (picture.size() != widget.size()) picture = QImage(widget.size(), QImage::Format_ARGB32_Premultiplied);
        widget.render(&picture);
    }

    Pictures pictures;
    QWidget window;
    ZNCalendarViewController* controller = nullptr;
    QImage picture;
};

World& world() {
    static World one;
    return one;
}

void BM_PaintMonth(benchmark::State& state) {
    for (auto _ : state)
        world().paint(world().month());
}

void BM_StepMonth(benchmark::State& state) {
    int step = 1;
    for (auto _ : state) {
        world().month().stepMonth(step);
        world().paint(world().month());
        step = -step;
    }
}

void BM_SelectDay(benchmark::State& state) {
    int day = 0;
    for (auto _ : state) {
        world().month().cell(1 + day / 7 % 4, day % 7).click();
        world().paint(world().window);
        ++day;
    }
}

void BM_IndexByDay(benchmark::State& state) {
    const auto reminders = std::make_shared<const ListedReminders>(world().manager.listAllRemindersWithDates());
    for (auto _ : state)
        benchmark::DoNotOptimize(DayIndex(reminders, world().environment.timeZone()));
}

BENCHMARK(BM_PaintMonth)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StepMonth)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SelectDay)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_IndexByDay)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace zun

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    zun::world();
    benchmark::RunSpecifiedBenchmarks();
}
