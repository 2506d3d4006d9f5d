#include "platform/foundation/Home.h"

#include <fmt/format.h>

#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace zun {
namespace {

namespace fs = std::filesystem;

std::optional<std::string> variable(const char* name) {
    const char* value = std::getenv(name);
    if (!value || !*value) return std::nullopt;
    return value;
}

fs::path baseDirectory(const char* name, const char* belowHome) {
    if (auto value = variable(name); value && fs::path(*value).is_absolute()) return fs::path(*value) / "zun";
    return fs::path(variable("HOME").value_or("/")) / belowHome / "zun";
}

// FNV-1a (64 bit): the name must come out the same in every program and release, which std::hash does not promise.
std::uint64_t stableHash(std::string_view text) {
    std::uint64_t hash = 0xcbf29ce484222325u;
    for (const unsigned char c : text)
        hash = (hash ^ c) * 0x100000001b3u;
    return hash;
}

}  // namespace

Home Home::find(const std::optional<fs::path>& folder) {
    auto chosen = folder;
    if (!chosen) {
        if (auto value = variable("ZUN_HOME")) chosen = *value;
    }
    Home home;
    if (chosen) {
        std::error_code error;
        auto root = fs::weakly_canonical(fs::absolute(*chosen, error), error);
        if (error) root = *chosen;
        // A trailing slash would make two names out of one folder.
        if (!root.has_filename()) root = root.parent_path();
        const auto ending = fmt::format(".h{:016x}", stableHash(root.native()));
        home = {root / "config",
                root / "data",
                root / "state",
                root / "runtime",
                applicationIdentifier + ending,
                alertServiceIdentifier + ending};
    } else {
        home.configuration = baseDirectory("XDG_CONFIG_HOME", ".config");
        home.data = baseDirectory("XDG_DATA_HOME", ".local/share");
        home.state = baseDirectory("XDG_STATE_HOME", ".local/state");
        const auto runtime = variable("XDG_RUNTIME_DIR");
        home.runtime =
            runtime && fs::path(*runtime).is_absolute() ? fs::path(*runtime) / "zun" : home.state / "runtime";
        home.busName = applicationIdentifier;
        home.alertsBusName = alertServiceIdentifier;
    }
    return home;
}

}  // namespace zun
