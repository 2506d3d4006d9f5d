#pragma once

// Remembers when the clock was last looked at, so that whoever is about to destroy something by its word can ask
// whether it has jumped of late. Each look compares the clock with the time since the machine was started, which no
// one can set:
//
//   within one boot      both must have moved on alike, within a minute
//   across boots         the clock may have gone on by up to seven days, and not back
//   the very first look  is no jump
//
// A jump counts for a day, measured by the time that the machine is seen to have run (suspend included): the clock
// itself is no measure for that.
//
// The file is shared by all programs of the user. Any thread; blocks on the file. If it cannot be written, the next
// look compares with the one before.

#include <filesystem>

#include "platform/foundation/Environment.h"

namespace zun {

class ClockWitness {
  public:
    // The file lies in this folder, which need not exist. The environment must outlive the witness.
    ClockWitness(std::filesystem::path stateFolder, const Environment& environment)
        : _stateFolder(std::move(stateFolder)), _environment(environment) {}

    // Looks now.
    [[nodiscard]] bool hasJumpedWithinADay() const;

  private:
    const std::filesystem::path _stateFolder;
    const Environment& _environment;
};

}  // namespace zun
