#pragma once

// The panel of the menu bar mode with its root controller, which stays alive while the panel is hidden, so that it
// comes back as it was left. It fades in under the item and out again, and goes by itself when another window takes the
// keyboard, unless that is a dialog or a menu of the panel's own. Main thread.

#include <functional>
#include <memory>
#include <optional>

#include "shell/ZNPanel.h"
#include "shell/ZNTabViewController.h"
#include "toolkit/ZNAnimationGroup.h"

namespace zun {

class ZNMenuBarWindowController final : public QObject {
    Q_OBJECT
  public:
    struct Collaborators {
        Dispatch& dispatch;
        ZNAnimationTimeline& animations;
        // Makes a root controller that measures the area given.
        std::function<ZNTabViewController*(std::function<QSizeF()> windowSize)> makeRoot;
        // Where the item stands, if the desktop says so.
        std::function<std::optional<QRect>()> statusRect;
    };

    explicit ZNMenuBarWindowController(Collaborators collaborators);

    void onSetShown(bool shown);
    [[nodiscard]] bool shown() const { return _shown; }
    // A click on the item: shows the panel or hides it. A click that has just taken the keyboard from the panel, and
    // with it closed it, does not open it again.
    void toggle(const std::function<void()>& show);
    [[nodiscard]] ZNPanel& panel() const { return *_panel; }
    [[nodiscard]] ZNTabViewController& tabController() const { return *_tabController; }

  private:
    void showPanel();
    void hidePanel();
    void applyVisibility();
    void resignedKey();
    [[nodiscard]] bool hasKeyOrGaveItToItsOwn() const;

    Collaborators _with;
    std::unique_ptr<ZNPanel> _panel;
    ZNTabViewController* _tabController;  // the panel's
    bool _shown = false;
    std::optional<std::chrono::microseconds> _closedByItself;  // when
    AnimatedValue _visibility{AnimatedValue::Kind::Fade};
    Observation _frames;
};

}  // namespace zun
