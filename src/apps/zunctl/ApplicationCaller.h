#pragma once

#include <string>

namespace zun {

// Calls the running application over the session bus. Blocks until it has answered.
class ApplicationCaller {
  public:
    explicit ApplicationCaller(std::string busName) : _busName(std::move(busName)) {}

    // False if no application of that name runs, or there is no bus. Starts none.
    [[nodiscard]] bool open(const std::string& url) const;

  private:
    std::string _busName;
};

}  // namespace zun
