#pragma once

// Ends the program in order when a signal asks for it: at the end of a session, by a service manager, from a terminal.
// What is being written is kept then, as when the user quits. A second signal of the same kind ends it at once. Signals
// that whoever started the program wants ignored stay so.
//
// One at a time; main thread.

#include <QSocketNotifier>
#include <functional>
#include <memory>

namespace zun {

class EndingSignals {
  public:
    // Runs in the event loop, once for each signal.
    explicit EndingSignals(std::function<void()> quit);
    ~EndingSignals();
    EndingSignals(const EndingSignals&) = delete;
    EndingSignals& operator=(const EndingSignals&) = delete;

  private:
    std::unique_ptr<QSocketNotifier> _notifier;
};

}  // namespace zun
