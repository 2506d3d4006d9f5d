// The screens of the application as it is, over the store in ZUN_HOME, driven in a window on an X display: how long a
// person waits for the first rows of the list, for what a search finds, for each frame of scrolling, for the editor and
// for the next month; and how long the main thread is kept busy at once while the list is fetched and sectioned.
//
// Every wait begins with the event and ends when the paint that shows its answer has reached the window.
//
// usage: ZUN_HOME=... bench_screens OUTPUT.json

#include <fmt/format.h>

#include <QApplication>
#include <QLineEdit>
#include <QScrollBar>
#include <QTest>
#include <QTimer>
#include <QWheelEvent>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "Pulse.h"
#include "apps/zun/Application.h"
#include "calendar/ZNCalendarView.h"
#include "core/NotificationNames.h"
#include "editor/ZNEditViewController.h"
#include "list/ZNListTableView.h"
#include "list/ZNListViewController.h"
#include "shell/AppDelegate.h"
#include "shell/ShellToolbar.h"
#include "shell/ZNTabViewController.h"

namespace zun {
namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;
using namespace std::chrono_literals;

constexpr QSize listWindow(2560, 1360);
constexpr int repeats = 7;
constexpr int scrolledFrames = 240;
constexpr auto longestWait = 20s;

// Notes when a widget was painted last.
class PaintWatch final : public QObject {
  public:
    explicit PaintWatch(QWidget& widget) : QObject(&widget) { widget.installEventFilter(this); }
    [[nodiscard]] int paints() const { return _paints; }

  protected:
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint) ++_paints;
        return false;
    }

  private:
    int _paints = 0;
};

[[noreturn]] void giveUp(const std::string& why) {
    fmt::print(stderr, "bench_screens: {}\n", why);
    std::_Exit(1);
}

void waitUntil(const std::string& what, const std::function<bool()>& condition) {
    const auto end = Clock::now() + longestWait;
    while (!condition()) {
        if (Clock::now() > end) giveUp("waited in vain for " + what);
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 1);
    }
}

void rest(std::chrono::milliseconds time) {
    QTest::qWait(static_cast<int>(time.count()));
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[values.size() / 2];
}

double share(std::vector<double> values, double part) {
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[static_cast<std::size_t>(part * static_cast<double>(values.size() - 1))];
}

double residentMiB() {
    std::ifstream file("/proc/self/status");
    for (std::string line; std::getline(file, line);)
        if (line.rfind("VmRSS:", 0) == 0) return std::stod(line.substr(6)) / 1024;
    return 0;
}

class Tour {
  public:
    Tour(AppDelegate& delegate, std::string output) : _delegate(delegate), _output(std::move(output)) {}

    void run() {
        auto& window = _delegate.rootWindow();
        _root = window.findChild<ZNTabViewController*>();
        if (!_root) giveUp("there is no root");
        rest(1500ms);
        measureEditor();
        measureCalendar(window);
        window.resize(listWindow);
        rest(500ms);
        measureList();
        measureSearch();
        measureScrolling();
        note("memory of the process with the list open", residentMiB(), "MiB");
        std::ofstream(_output) << fmt::format("[\n{}\n]\n", fmt::join(_figures, ",\n"));
        std::fflush(stdout);  // leaving at once runs nothing that would
        std::_Exit(0);
    }

  private:
    void note(std::string_view name, double value, std::string_view unit) {
        fmt::print("{:<58} {:8.1f} {}\n", name, value, unit);
        _figures.push_back(fmt::format(R"( {{"name": "{}", "value": {:.3f}, "unit": "{}"}})", name, value, unit));
    }

    [[nodiscard]] double timed(const std::string& what, const std::function<void()>& event,
                               const std::function<bool()>& isDone) {
        const auto began = Clock::now();
        event();
        waitUntil(what, isDone);
        return Milliseconds(Clock::now() - began).count();
    }

    void measureEditor() {
        std::vector<double> opened;
        for (int i = 0; i < repeats; ++i) {
            ZNBaseViewController* editor = nullptr;
            PaintWatch* watch = nullptr;
            opened.push_back(timed(
                "the editor",
                [&] {
                    _root->toolbar().addButton().click();
                    editor = _root->topScreen(ZNTabViewController::TopScreen::Editor);
                    if (!editor) giveUp("the editor did not open");
                    watch = new PaintWatch(*editor);
                },
                [&] { return watch->paints() > 0; }));
            rest(600ms);
            _root->cancelOperation();
            rest(900ms);
        }
        note("opening the editor for the first time, first frame", opened.front(), "ms");
        note("opening the editor again, first frame", median({opened.begin() + 1, opened.end()}), "ms");
    }

    void measureCalendar(QWidget& window) {
        window.resize(1280, 800);
        rest(1500ms);
        auto* calendar = window.findChild<ZNCalendarView*>();
        if (!calendar) giveUp("there is no calendar");
        PaintWatch watch(*calendar);
        std::vector<double> steps;
        for (int i = 0; i < 24; ++i) {
            const int before = watch.paints();
            steps.push_back(timed(
                "the next month", [&] { calendar->nextButton().click(); }, [&] { return watch.paints() > before; }));
            rest(30ms);
        }
        note("step to the next month, median", median(steps), "ms");
        note("step to the next month, longest", share(steps, 1), "ms");
    }

    [[nodiscard]] ZNListTableView& table() const { return _root->findChild<ZNListViewController*>()->tableView(); }

    void measureList() {
        std::vector<double> shown, blocks;
        for (int i = 0; i < repeats; ++i) {
            _root->onSetActiveTab(0);
            rest(700ms);
            Pulse pulse;
            rest(50ms);
            [[maybe_unused]] const auto before = pulse.longest();
            // The first time there is nothing yet; later ones show what was there until the new rows are complete.
            auto& rows = table();
            PaintWatch watch(*rows.viewport());
            shown.push_back(timed(
                "the list", [&] { _root->toolbar().listViewButton().click(); },
                [&] { return rows.rows().size() > 1000 && watch.paints() > 0; }));
            rest(1200ms);
            blocks.push_back(pulse.longest().count());
        }
        note("list of 100,000, first rows on the screen", shown.front(), "ms");
        note("list of 100,000, shown again", median({shown.begin() + 1, shown.end()}), "ms");
        note("longest block of the main thread at the first time", blocks.front(), "ms");
        note("longest block of the main thread while it is fetched anew", share({blocks.begin() + 1, blocks.end()}, 1),
             "ms");
    }

    void measureSearch() {
        _root->search();
        rest(600ms);
        auto* field = _root->findChild<ZNListViewController*>()->searchBar().findChild<QLineEdit*>();
        std::vector<double> found;
        for (const QChar key : QStringLiteral("number 12345")) {
            PaintWatch watch(*table().viewport());
            const std::size_t before = table().rows().size();
            const auto began = Clock::now();
            QTest::keyClick(field, key.toLatin1());
            // A letter that leaves everything as it was shows nothing new; then the paint alone counts.
            const auto end = began + 400ms;
            while (table().rows().size() == before && Clock::now() < end)
                QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 1);
            if (table().rows().size() == before) continue;
            waitUntil("what was found", [&] { return watch.paints() > 0; });
            found.push_back(Milliseconds(Clock::now() - began).count());
            rest(120ms);
        }
        if (found.size() < 3) giveUp("the search found nothing new");
        note("search at 100,000, from the key to the rows, median", median(found), "ms");
        note("search at 100,000, from the key to the rows, longest", share(found, 1), "ms");
        QTest::keyClick(field, Qt::Key_Escape);
        rest(900ms);
    }

    void measureScrolling() {
        auto& view = table();
        auto* bar = view.verticalScrollBar();
        const auto wheel = [&](int points) {
            const QPoint middle = view.viewport()->rect().center();
            QWheelEvent event(middle, view.viewport()->mapToGlobal(QPointF(middle)), QPoint(0, -points), QPoint(),
                              Qt::NoButton, Qt::NoModifier, Qt::ScrollUpdate, false);
            QCoreApplication::sendEvent(view.viewport(), &event);
        };
        measureFrames("slowly", [&](int) { wheel(12); });
        measureFrames("a screenful in a few frames", [&](int) { wheel(270); });
        if (bar->value() == 0) giveUp("nothing was scrolled");
        bar->setSliderDown(true);
        // Every frame shows rows that were not seen before.
        measureFrames("by the thumb, in leaps", [&](int frame) {
            bar->setSliderPosition(static_cast<int>(std::int64_t{frame} * 7919 % 200 * bar->maximum() / 200));
        });
        bar->setSliderDown(false);
    }

    void measureFrames(const std::string& how, const std::function<void(int)>& input) {
        std::vector<double> frames;
        for (int frame = 0; frame < scrolledFrames; ++frame) {
            const auto began = Clock::now();
            input(frame);
            QCoreApplication::sendPostedEvents();
            frames.push_back(Milliseconds(Clock::now() - began).count());
            QCoreApplication::processEvents();
        }
        note("scrolling " + how + ", a frame, median", median(frames), "ms");
        note("scrolling " + how + ", a frame, 99 of 100", share(frames, 0.99), "ms");
        note("scrolling " + how + ", a frame, longest", share(frames, 1), "ms");
    }

    AppDelegate& _delegate;
    std::string _output;
    ZNTabViewController* _root = nullptr;
    std::vector<std::string> _figures;
};

}  // namespace
}  // namespace zun

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    const std::string output = argv[1];
    int one = 1;
    return zun::runApplication(one, argv, [&output](zun::AppDelegate& delegate) {
        QTimer::singleShot(0, &delegate, [&delegate, &output] { zun::Tour(delegate, output).run(); });
    });
}
