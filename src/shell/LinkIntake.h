#pragma once

// Links of the scheme zun.create that reach the running application. Any web page can open one, so they are limited in
// rate and what they add can be undone. Failures go to the log and nowhere else. Main thread.

#include <QUndoStack>
#include <string>

#include "core/ZNReminderManager.h"
#include "platform/foundation/Dispatch.h"

namespace zun {

// Lets through a burst and then one for each interval.
class RateLimit {
  public:
    RateLimit(unsigned burst, std::chrono::microseconds interval) : _burst(burst), _interval(interval), _left(burst) {}
    // Whether one more may pass at this moment of a clock that never jumps.
    [[nodiscard]] bool allow(std::chrono::microseconds now);

  private:
    unsigned _burst;
    std::chrono::microseconds _interval;
    unsigned _left;
    std::chrono::microseconds _since{0};
};

class LinkIntake {
  public:
    struct Collaborators {
        ZNReminderManager& manager;
        NSNotificationCenter& notifications;
        const Environment& environment;
        Dispatch& dispatch;
        QUndoStack& undoStack;
        std::string undoText;
    };

    explicit LinkIntake(Collaborators collaborators) : _with(std::move(collaborators)) {}

    enum class Opened {
        Silently,  // saved, or refused with a line in the log
        ForALook,  // handed to whatever screen shows it
    };
    Opened open(const std::string& url);

  private:
    void save(const ReminderPtr& reminder);

    // A person clicks a few links in a row; a page that opens hundreds must not fill the store.
    static constexpr unsigned burst = 10;
    static constexpr std::chrono::seconds interval{3};

    Collaborators _with;
    RateLimit _limit{burst, interval};
};

}  // namespace zun
