#pragma once

// The base of what stands in a popover. It builds its own controls; the popover shows it, asks it where the keys go
// first, and tells it when it has appeared. Owned by its popover. Main thread.

#include "toolkit/ZNView.h"

namespace zun {

class ZNBasePopoverViewController;

// Whoever opened the popover.
class ZNPopoverDelegate {
  public:
    virtual ~ZNPopoverDelegate() = default;
    // The content wants this height, in logical pixels.
    virtual void setPopoverHeight(ZNBasePopoverViewController& controller, int height) = 0;
    virtual void dismissPopoverController(ZNBasePopoverViewController& controller) = 0;
};

class ZNBasePopoverViewController : public ZNView {
    Q_OBJECT
  public:
    explicit ZNBasePopoverViewController(QWidget* parent = nullptr);

    // The delegate outlives the controller or is taken back with null.
    void setPopoverDelegate(ZNPopoverDelegate* delegate) { _popoverDelegate = delegate; }
    // The popover is on the screen: the time to ask for a height.
    virtual void viewDidAppear() {}
    // What takes the keys when the popover opens; by default the first of its controls.
    [[nodiscard]] virtual QWidget* initialFocus();
    // The escape key; closes the popover.
    virtual void cancelOperation() { dismiss(); }

  protected:
    void setHeight(int height);
    void dismiss();

  private:
    ZNPopoverDelegate* _popoverDelegate = nullptr;
};

}  // namespace zun
