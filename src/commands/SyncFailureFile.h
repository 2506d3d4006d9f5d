#pragma once

// Why the last sync from the command line failed, in a file of its own, so that a later command can say it. One thread;
// blocks on the disk. What cannot be written or read is as if there were none.

#include <filesystem>
#include <optional>
#include <string>

#include "platform/foundation/NSDate.h"

namespace zun {

struct SyncFailure {
    NSDate date;
    std::string sentence;
};

class SyncFailureFile {
  public:
    explicit SyncFailureFile(const std::filesystem::path& folder) : _file(folder / "sync-failure.json") {}

    [[nodiscard]] std::optional<SyncFailure> read() const;
    void write(const SyncFailure& failure) const;
    void remove() const;

  private:
    std::filesystem::path _file;
};

}  // namespace zun
