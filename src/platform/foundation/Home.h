#pragma once

// Where the programs keep their files, and the name under which they meet on the session bus. Either the XDG base
// directories with "zun" below them, or one folder for everything (ZUN_HOME, --home), which then has a bus name of its
// own.

#include <filesystem>
#include <optional>
#include <string>

namespace zun {

inline constexpr const char* applicationIdentifier = "com.zunlabs.Zun";
inline constexpr const char* alertServiceIdentifier = "com.zunlabs.Zun.Alerts";

struct Home {
    std::filesystem::path configuration;  // settings
    std::filesystem::path data;           // reminders and their backups
    std::filesystem::path state;          // window places, logs
    std::filesystem::path runtime;        // locks
    std::string busName;                  // "com.zunlabs.Zun" or "com.zunlabs.Zun.h0123456789abcdef"
    std::string alertsBusName;            // of the alert service: "com.zunlabs.Zun.Alerts", with the same ending

    // `folder` is what --home gave; without it ZUN_HOME counts, and without that the XDG directories. A relative folder
    // is taken from the working directory; relative XDG variables are ignored, as their convention asks. Makes nothing.
    [[nodiscard]] static Home find(const std::optional<std::filesystem::path>& folder);
};

}  // namespace zun
