#pragma once

// Looks a store over, repairs what its own indexes and backups can repair, and says in plain words what it found. May
// run while other programs use the store; only a rebuilding needs it alone. Blocks for as long as reading everything
// takes.

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "ZunDataModel/store/StoreOpening.h"
#include "platform/foundation/Environment.h"

namespace zun {

struct DoctorFinding {
    enum class State { Fine, Repaired, Broken };
    State state;
    std::string text;  // English sentences
};

class StoreDoctor {
  public:
    StoreDoctor(std::filesystem::path folder, const Environment& environment)
        : _files(std::move(folder)), _environment(environment) {}

    // Throws nothing.
    [[nodiscard]] std::vector<DoctorFinding> examine();

  private:
    void say(DoctorFinding::State state, std::string text) { _findings.push_back({state, std::move(text)}); }
    [[nodiscard]] bool tellOpening(const OpenedStore& opened);
    void examineOpened(OpenedStore& opened);
    // False if the file is broken for good.
    [[nodiscard]] bool examineFile(OpenedStore& opened);
    [[nodiscard]] bool rebuildFile(StoreSession& session);
    void examineRecords(StoreSession& session);
    void writeLogBack();
    void examineFolder();

    StoreFiles _files;
    const Environment& _environment;
    std::vector<DoctorFinding> _findings;
};

}  // namespace zun
