#pragma once

// What the help menu and the panel's menu say about the application. Main thread.

#include "platform/foundation/LocalizedStrings.h"
#include "toolkit/Pictures.h"

class QWidget;

namespace zun {

// The one host on which help is found.
inline constexpr const char* supportHost = "https://zun.example";

// Icon, name, version, what it is and what it is made with. Does not block; closes with its parent.
void showAbout(QWidget* parent, const LocalizedStrings& strings, Pictures& pictures);

// Opens the support page in the browser.
void showHelp();

}  // namespace zun
