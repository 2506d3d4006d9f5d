#pragma once

// Knocks at the main thread's loop once a millisecond and notes how long it was until that answered, and what the main
// thread did meanwhile by the kernel's account. Made on the main thread while its loop runs or is about to; the notes
// are read there, too.

#include <QThread>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <fstream>
#include <utility>
#include <vector>

namespace zun {

class Pulse final : public QThread {
  public:
    using Clock = std::chrono::steady_clock;
    using Milliseconds = std::chrono::duration<double, std::milli>;

    struct Answer {
        Clock::time_point knocked;
        Milliseconds wait;
        // Since the answer before: what the main thread worked, and stood in the line for a processor. The rest of the
        // wait it slept: for a lock, a page or the disk.
        Milliseconds work, line;
    };

    Pulse() : _spent(spentByThisThread()) { start(); }
    ~Pulse() override {
        requestInterruption();
        wait();
    }
    // Since the last call.
    std::vector<Answer> answers() { return std::exchange(_answers, {}); }
    Milliseconds longest() {
        Milliseconds longest{0};
        for (const auto& answer : answers())
            longest = std::max(longest, answer.wait);
        return longest;
    }

  protected:
    void run() override {
        while (!isInterruptionRequested()) {
            msleep(1);
            if (_isKnocking.exchange(true)) continue;
            QMetaObject::invokeMethod(
                this, [this, knocked = Clock::now()] { answer(knocked); }, Qt::QueuedConnection);
        }
    }

  private:
    struct Spent {
        Milliseconds work, line;
    };
    static Spent spentByThisThread() {
        double work = 0, line = 0;
        std::ifstream("/proc/thread-self/schedstat") >> work >> line;
        constexpr double nanosecondsPerMillisecond = 1e6;
        return {Milliseconds(work / nanosecondsPerMillisecond), Milliseconds(line / nanosecondsPerMillisecond)};
    }
    void answer(Clock::time_point knocked) {
        const Milliseconds waited = Clock::now() - knocked;
        const auto before = std::exchange(_spent, spentByThisThread());
        _answers.push_back({knocked, waited, _spent.work - before.work, _spent.line - before.line});
        _isKnocking = false;
    }

    Spent _spent;
    std::vector<Answer> _answers;
    std::atomic<bool> _isKnocking = false;
};

}  // namespace zun
