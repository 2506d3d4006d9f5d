#pragma once

#include <functional>

namespace zun {

class AppDelegate;

// Runs the desktop application to its end and gives the exit status. `started` is called once the window has been
// shown, before the loop begins; not at all where another instance took the start over.
[[nodiscard]] int runApplication(int argc, char** argv, const std::function<void(AppDelegate&)>& started = {});

}  // namespace zun
