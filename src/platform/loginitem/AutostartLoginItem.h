#pragma once

// Starts the application at login by an entry in the user's autostart folder.
//
//   started = the user's entry where there is one, else the first of the system's, is neither hidden nor switched off
//
// The user's entry is removed where the system's alone gives the wanted answer, unless somebody has edited it; then it
// stays and is switched. What an editor added or changed is kept, the command included.
//
// Any thread, one call at a time; blocks on the disk. The desktop reads the folder at login only.

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "platform/loginitem/DesktopEntryFile.h"
#include "settings/LoginItem.h"

namespace zun {

class AutostartLoginItem final : public LoginItem {
  public:
    struct Folders {
        std::filesystem::path user;                 // need not exist
        std::vector<std::filesystem::path> system;  // most important first

        // "autostart" below the XDG base directories for configuration.
        [[nodiscard]] static Folders find();
    };

    // `name` is the entry's file name without its ending; `command` the program and its arguments. A program without a
    // path is looked for at login.
    AutostartLoginItem(Folders folders, std::string name, std::vector<std::string> command);

    // False, with a log line and everything as before, if the entry could not be read or written.
    bool setEnabled(bool enabled) override;
    [[nodiscard]] bool isEnabledOnDemand() const override;

  private:
    struct Own;

    [[nodiscard]] Own readOwn() const;
    [[nodiscard]] bool systemStarts() const;
    [[nodiscard]] bool wasEdited(const DesktopEntryFile& entry) const;
    void switchOn(DesktopEntryFile& entry) const;
    bool write(const DesktopEntryFile& entry) const;
    bool remove() const;

    std::filesystem::path _file;
    std::vector<std::filesystem::path> _systemFiles;
    std::string _exec;
};

}  // namespace zun
