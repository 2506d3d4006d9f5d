#pragma once

// Reminders that were handed over for a last look before any screen could show them. Each is appended to a file and
// synced before it counts as kept, one JSON record a line, so that none is lost with the process. Main thread; keep()
// blocks for one fdatasync.

#include <filesystem>

#include "ZunDataModel/ZNReminderObject.h"

namespace zun {

class KeptReminders {
  public:
    // A file "kept-reminders.jsonl" in this folder, which need not exist.
    explicit KeptReminders(const std::filesystem::path& folder) : _file(folder / "kept-reminders.jsonl") {}

    // False, with a log line, if it could not be written.
    bool keep(const ZNReminderObject& reminder);
    [[nodiscard]] const std::filesystem::path& file() const { return _file; }

  private:
    std::filesystem::path _file;
};

}  // namespace zun
