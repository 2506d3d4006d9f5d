#pragma once

#include <functional>
#include <optional>
#include <string>

#include "sync/SyncJournal.h"

namespace zun {

// Calls the running application over the session bus. Blocks until it has answered.
class ApplicationCaller {
  public:
    explicit ApplicationCaller(std::string busName) : _busName(std::move(busName)) {}

    // False if no application of that name runs, or there is no bus. Starts none.
    [[nodiscard]] bool open(const std::string& url) const;
    // What a pass of its came to; absent as above, or if it ends meanwhile. One that is there and has not answered
    // after some minutes is a hindrance. The block runs on another thread, each time it is heard that the application
    // waits for a locked keyring.
    [[nodiscard]] std::optional<SyncOutcome> sync(const std::function<void()>& keyringAsks) const;

  private:
    std::string _busName;
};

}  // namespace zun
