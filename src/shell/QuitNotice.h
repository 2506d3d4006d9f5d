#pragma once

// The question before quitting while the cloud is on: without this program nothing is synced. Its check box is stored
// with each click, whatever is answered. Main thread.

#include <functional>

#include "platform/foundation/LocalizedStrings.h"
#include "settings/ZNUserDefaults.h"

class QWidget;

namespace zun {

// Shows it over the parent, or brings it forward if it is open. Does not block; `quit` runs if the user wants to.
void showQuitNotice(QWidget* parent, const LocalizedStrings& strings, ZNUserDefaults& defaults,
                    const std::function<void()>& quit);

}  // namespace zun
