#pragma once

// The palette of everything that the style draws for us: menus, dialogs and plain controls. Light, whatever the desktop
// prefers, since the cards are.

#include <QPalette>

namespace zun {

[[nodiscard]] QPalette appPalette();

}  // namespace zun
