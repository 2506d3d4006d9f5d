#pragma once

// Secrets at org.freedesktop.secrets on the session bus, by the freedesktop.org Secret Service API 0.2. Secrets cross
// the bus in plain text, as they would in any program of the session's user. See SecretStore for threads and waits.

#include <sdbus-c++/sdbus-c++.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zun {

class SecretServiceStore {
  public:
    // Connects anew for each operation: keyrings come and go with the session.
    [[nodiscard]] std::optional<std::string> find(const std::string& key);
    [[nodiscard]] bool save(const std::string& key, const std::string& text, const std::string& label);
    void remove(const std::string& key);
};

}  // namespace zun
