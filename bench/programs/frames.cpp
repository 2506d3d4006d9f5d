// How long each frame takes while cards are swiped, fly and close up: the deck over a real store, painted by the
// processor at 2560 x 1440. A frame is the input that belongs to it, what the animation clock does at its moment, and
// the painting of everything dirty, brought to the window. Frames follow each other at the clock's own moments, but as
// fast as they can be painted.
//
// Beside the time by the clock stands the time of the processor, which is what a frame takes on a machine with nothing
// else to do. Beside both the floors: the same rectangles, and the whole window, filled with a picture that is there
// already.
//
// usage: bench_frames OUTPUT.json

#include <fmt/format.h>

#include <time.h>

#include <QApplication>
#include <QPaintEvent>
#include <QPainter>
#include <QTest>
#include <QUndoStack>
#include <QWheelEvent>
#include <algorithm>
#include <chrono>
#include <fstream>
#include <string>
#include <vector>

#include "cards/ReminderCardTexts.h"
#include "cards/ZNCardViewController.h"
#include "cards/ZNStackView.h"
#include "core/ManagerWorld.h"
#include "toolkit/Tokens.h"
#include "toolkit/ZNGradientView.h"

namespace zun {
namespace {

constexpr QSize windowSize(2560, 1440);
constexpr int dueReminders = 60;
constexpr int rounds = 12;
constexpr double goal = 25;
constexpr double frameTime = 1000.0 / 60;

using Milliseconds = std::chrono::duration<double, std::milli>;

// In milliseconds.
struct Times {
    std::vector<double> clock;
    std::vector<double> processor;  // of the main thread
};

Milliseconds processorTime() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

// Calls what is to be measured and notes the time it took, if it painted.
class Meter final : public QObject {
  public:
    explicit Meter(QWidget& painted) { painted.installEventFilter(this); }

    void measure(Times& frames, const std::function<void()>& frame) {
        dirty = {};
        const auto start = std::chrono::steady_clock::now();
        const Milliseconds processorStart = processorTime();
        frame();
        QCoreApplication::sendPostedEvents();
        const Milliseconds processor = processorTime() - processorStart;
        const Milliseconds clock = std::chrono::steady_clock::now() - start;
        if (dirty.isEmpty()) return;
        frames.clock.push_back(clock.count());
        frames.processor.push_back(processor.count());
    }

    QRegion dirty;

  protected:
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint) dirty |= static_cast<QPaintEvent*>(event)->region();
        return false;
    }
};

// The deck in a window, a temporary home and virtual time.
class Deck : public ManagerWorld {
  public:
    Deck() {
        settings.setWindowLayoutMode(3);
        for (int i = 0; i < dueReminders; ++i)
            store(reminder(i));
        window.resize(windowSize);
        const CardContext context{
            dispatch, notifications, settings, pictures, animations, texts, [this] { return QSizeF(window.size()); }};
        cards = new ZNCardViewController({context, manager, environment, undoStack, strings, labels}, &window);
        cards->setGeometry(window.rect());
        cards->fetchData();
        window.show();
        QCoreApplication::processEvents();
        dispatch.advance(std::chrono::milliseconds(500));
        QCoreApplication::processEvents();
    }

    ZNGradientView window;
    ZNCardViewController* cards;  // the window's

  private:
    [[nodiscard]] ReminderAttributes reminder(int number) const {
        ReminderAttributes attributes = dated(fmt::format("{:02}", number), "2026-01-14T09:00:00Z");
        attributes.title = fmt::format("Call the dentist about appointment {} \U0001F9B7", number);
        if (number % 2 == 0) attributes.notes = "Bring the card. See https://example.org/appointments.\nThen lunch.";
        if (number % 3 == 0) {
            for (int line = 0; line < 40; ++line)
                *(attributes.notes ? attributes.notes : attributes.notes = "") += " More to be said about it.";
        }
        if (number % 4 == 0) attributes.checklist = "[ ] one\n[x] two";
        return attributes;
    }

    LocalizedStrings strings{{"en"}};
    DateLabels labels{environment, strings};
    TopicDetection topics{environment, strings};
    ReminderCardTexts texts{environment, strings, labels, topics};
    Pictures pictures;
    ZNAnimationTimeline animations{dispatch};
    QUndoStack undoStack;
};

// One kind of movement, frame by frame.
struct Measured {
    std::string name;
    Times frames;
    std::vector<QRegion> regions;  // what each frame painted
};

class Play {
  public:
    Play() : _meter(_deck.cards->stackView()) {}

    std::vector<Measured> run() {
        for (int round = 0; round < rounds; ++round) {
            dragAndSpringBack();
            scrollAround();
            throwByWheel(QPoint(0, -8), "fly out and close up");
            throwByWheel(QPoint(0, 8), "fly out and close up");
            throwByWheel(QPoint(9, 1), "skip and close up");
        }
        return _measured;
    }

  private:
    void frame(std::string_view movement, const std::function<void()>& input = {}) {
        auto found = std::find_if(_measured.begin(), _measured.end(),
                                  [&](const Measured& measured) { return measured.name == movement; });
        if (found == _measured.end()) found = _measured.insert(found, Measured{std::string(movement), {}, {}});
        _meter.measure(found->frames, [&] {
            if (input) input();
            _deck.dispatch.advance(tokens::frame);
        });
        if (!_meter.dirty.isEmpty()) found->regions.push_back(_meter.dirty);
    }

    // Until nothing moves any more, and a little longer for what is done at leisure.
    void settle(std::string_view movement) {
        for (int i = 0; i < 30; ++i)
            frame(movement);
    }

    [[nodiscard]] QPoint middle() const { return QPoint(1000, 600); }

    void dragAndSpringBack() {
        QWindow* window = _deck.window.windowHandle();
        QTest::mousePress(window, Qt::LeftButton, {}, middle());
        QPoint at = middle();
        for (int i = 0; i < 60; ++i) {
            at += i < 20 ? QPoint(6, 1) : i < 40 ? QPoint(-11, 2) : QPoint(4, -4);
            frame("drag", [&] { QTest::mouseMove(window, at); });
        }
        frame("spring back", [&] { QTest::mouseRelease(window, Qt::LeftButton, {}, at); });
        settle("spring back");
    }

    void wheel(Qt::ScrollPhase phase, QPoint way) {
        ZNStackView& stack = _deck.cards->stackView();
        QWheelEvent event(middle(), stack.mapToGlobal(QPointF(middle())), way, way * 3, Qt::NoButton, Qt::NoModifier,
                          phase, false);
        QCoreApplication::sendEvent(&stack, &event);
    }

    void scrollAround() {
        wheel(Qt::ScrollBegin, {});
        for (int i = 0; i < 60; ++i) {
            const QPoint way = i < 15 ? QPoint(0, 7) : i < 45 ? QPoint(1, -6) : QPoint(-2, 5);
            frame("scroll", [&] { wheel(Qt::ScrollUpdate, way); });
        }
        frame("spring back", [&] { wheel(Qt::ScrollEnd, {}); });
        settle("spring back");
    }

    void throwByWheel(QPoint step, std::string_view movement) {
        const std::string before = _deck.cards->topCardReminder()->title();
        wheel(Qt::ScrollBegin, {});
        for (int i = 0; i < 20; ++i)
            frame("scroll", [&] { wheel(Qt::ScrollUpdate, step); });
        frame(movement, [&] { wheel(Qt::ScrollEnd, {}); });
        settle(movement);
        if (_deck.cards->topCardReminder()->title() == before) throw std::runtime_error("the card was not thrown");
    }

    Deck _deck;
    Meter _meter;
    std::vector<Measured> _measured;
};

// Fills what is dirty from a picture of the window.
class Floor final : public QWidget {
  public:
    Floor() : _picture(windowSize) { _picture.fill(QColor::fromRgba(tokens::groundMiddle)); }

  protected:
    void paintEvent(QPaintEvent* event) override {
        QPainter painter(this);
        for (const QRect& rect : event->region()) {
            painter.setClipRect(rect);
            painter.drawPixmap(rect, _picture, rect);
        }
    }

  private:
    QPixmap _picture;
};

double share(std::vector<double> frames, double part) {
    if (frames.empty()) return 0;
    std::sort(frames.begin(), frames.end());
    return frames[static_cast<std::size_t>(part * static_cast<double>(frames.size() - 1))];
}

Times floorOf(const std::vector<QRegion>& regions) {
    Floor floor;
    floor.resize(windowSize);
    floor.show();
    QCoreApplication::processEvents();
    Meter meter(floor);
    Times frames;
    for (const QRegion& region : regions)
        meter.measure(frames, [&] { floor.update(region); });
    return frames;
}

std::size_t countOver(const std::vector<double>& frames, double limit) {
    return static_cast<std::size_t>(
        std::count_if(frames.begin(), frames.end(), [&](double frame) { return frame > limit; }));
}

std::string row(const Measured& measured, const Times& floor, const Times& wholeFloor) {
    const auto& [clock, processor] = measured.frames;
    const auto numbers = [](const std::vector<double>& frames) {
        return fmt::format(R"({{"median": {:.3f}, "p99": {:.3f}, "longest": {:.3f}, "over16": {}, "over25": {}}})",
                           share(frames, 0.5), share(frames, 0.99), share(frames, 1), countOver(frames, frameTime),
                           countOver(frames, goal));
    };
    const auto print = [](std::string_view name, const std::vector<double>& frames) {
        fmt::print("  {:<10} median {:6.2f}  99 % {:6.2f}  longest {:6.2f} ms  over 16.7: {:<3} over {}: {}\n", name,
                   share(frames, 0.5), share(frames, 0.99), share(frames, 1), countOver(frames, frameTime), goal,
                   countOver(frames, goal));
    };
    fmt::print("{}, {} frames (floor {:.2f} ms, for the whole window {:.2f} ms)\n", measured.name, clock.size(),
               share(floor.clock, 0.5), share(wholeFloor.clock, 0.5));
    print("clock", clock);
    print("processor", processor);
    return fmt::format(R"({{"name": "{}", "frames": {}, "unit": "ms", "goal": {}, "clock": {}, "processor": {}, )"
                       R"("floor": {:.3f}, "wholeWindowFloor": {:.3f}}})",
                       measured.name, clock.size(), goal, numbers(clock), numbers(processor), share(floor.clock, 0.5),
                       share(wholeFloor.clock, 0.5));
}

int measure(const char* output) {
    const std::vector<Measured> all = Play().run();
    const Times whole = floorOf(std::vector<QRegion>(100, QRect({}, windowSize)));
    std::string json;
    std::size_t late = 0;
    for (const Measured& measured : all) {
        json += (json.empty() ? "[\n " : ",\n ") + row(measured, floorOf(measured.regions), whole);
        late += countOver(measured.frames.clock, goal);
    }
    fmt::print("goal: 60 frames a second, none over {} ms; {} frames were over it\n", goal, late);
    std::ofstream file(output);
    file << json << "\n]\n";
    return file.flush() ? 0 : 1;
}

}  // namespace
}  // namespace zun

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    if (argc != 2) {
        fmt::print(stderr, "usage: bench_frames OUTPUT.json\n");
        return 2;
    }
    return zun::measure(argv[1]);
}
