#pragma once

// The window that lists the keys: a header with the application's picture, and a table of actions and keys that is read
// and walked like any table. Text only; the keys themselves are bound in the main menu. Made on first use and kept.
// Main thread.

#include "platform/foundation/LocalizedStrings.h"
#include "shell/FixedWindow.h"
#include "toolkit/Pictures.h"

class QTableWidget;

namespace zun {

class ZNKeyboardShortcutsWindowController final : public FixedWindow {
    Q_OBJECT
  public:
    static constexpr QSize windowSize{580, 420};

    ZNKeyboardShortcutsWindowController(const LocalizedStrings& strings, Pictures& pictures);

  private:
    [[nodiscard]] QWidget* makeHeader(const LocalizedStrings& strings, Pictures& pictures);
    [[nodiscard]] QTableWidget* makeTable(const LocalizedStrings& strings);
};

}  // namespace zun
