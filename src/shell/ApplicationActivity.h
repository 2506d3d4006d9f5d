#pragma once

// Tells coming from another application and going to one from moving between windows of our own. The desktop takes the
// keyboard from one window before it gives it to the next, so only a rest without any counts as gone.
//
//   away -- a window of ours has the keyboard --> here -- none has had it for restDelay --> away
//
// Main thread.

#include <QObject>

#include "platform/foundation/Dispatch.h"

namespace zun {

class ApplicationActivity final : public QObject {
    Q_OBJECT
  public:
    static constexpr std::chrono::milliseconds restDelay{150};

    explicit ApplicationActivity(Dispatch& dispatch) : _dispatch(dispatch) {}

    // What the application object says of itself.
    void follow(Qt::ApplicationState state);
    [[nodiscard]] bool isHere() const { return _isHere; }

  signals:
    void becameActive();
    void resignedActive();

  private:
    Dispatch& _dispatch;
    NSTimer _rest;
    bool _isHere = false;
};

}  // namespace zun
