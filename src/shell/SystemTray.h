#pragma once

// Whether the desktop has a tray for items like ours. Trays come and go: a bar that is started after us, an extension
// that is switched on. Main thread.

#include <QObject>

#include "platform/foundation/Dispatch.h"

namespace zun {

class SystemTray : public QObject {
    Q_OBJECT
  public:
    // Asks now; waits for the desktop's answer, at most half a second.
    [[nodiscard]] virtual bool isAvailable() = 0;
    // Begins to wait for a tray; appeared() comes once for each time that this is called.
    virtual void waitForTray() = 0;
    virtual void stopWaiting() = 0;
    // A moment at which the program is awake anyway.
    virtual void minutePassed() {}

  signals:
    void appeared();
};

// Asks the session bus for the host of status notifier items, and the X server for a tray of the old kind. Hears of the
// first by signals; looks for the second after 1, 2, 4, ... seconds, while a session starts, and then once a minute.
class DesktopTray final : public SystemTray {
    Q_OBJECT
  public:
    explicit DesktopTray(Dispatch& dispatch) : _dispatch(dispatch) {}

    [[nodiscard]] bool isAvailable() override;
    void waitForTray() override;
    void stopWaiting() override;
    void minutePassed() override { look(); }

  private slots:
    void look();

  private:
    void listen();
    void lookAfter(std::chrono::seconds delay);

    Dispatch& _dispatch;
    NSTimer _timer;
    bool _isListening = false;
    bool _isWaiting = false;
};

}  // namespace zun
