#pragma once

// What the root of the interface asks of the list, whatever shows it. Main thread.

#include "cards/ZNBaseViewController.h"

namespace zun {

class ListScreen : public ZNBaseViewController {
  public:
    using ZNBaseViewController::ZNBaseViewController;
    // Refreshes the table that is shown.
    virtual void fetchData() = 0;
    // The escape key. False if there was nothing to cancel.
    virtual bool handleCancelOperation() = 0;
    // Relative dates are others: what is due may be, too.
    virtual void minutePassed() = 0;
};

}  // namespace zun
