#pragma once

// The Dock-mode window with its root controller in it: at its remembered place, or in the middle of the screen before
// the tour has been seen. Neither fetches nor shows itself before it is asked to. Main thread.

#include <functional>
#include <memory>

#include "shell/ZNTabViewController.h"
#include "shell/ZNWindow.h"

namespace zun {

class ZNTabViewWindowController {
  public:
    // Makes a root controller that measures the area given.
    using MakeRoot = std::function<ZNTabViewController*(std::function<QSizeF()> windowSize)>;

    ZNTabViewWindowController(std::unique_ptr<ZNWindow> window, QMenuBar* menuBar, const ZNSettingsObject& settings,
                              const MakeRoot& makeRoot);

    [[nodiscard]] ZNWindow& window() const { return *_window; }
    [[nodiscard]] ZNTabViewController& tabViewController() const { return *_tabViewController; }
    void close() { _window->close(); }

  private:
    void setCardControllerAndWindowFrame(bool didFinishTour);

    std::unique_ptr<ZNWindow> _window;
    ZNTabViewController* _tabViewController;  // the window's
};

}  // namespace zun
