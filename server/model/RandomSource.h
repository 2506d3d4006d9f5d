#pragma once

// Where the service's secrets and identifiers come from. Any thread.

#include <string>

namespace zun::cloud {

class RandomSource {
  public:
    virtual ~RandomSource() = default;
    [[nodiscard]] virtual std::string bytes(std::size_t count) = 0;
};

// The system's generator.
class SystemRandomSource final : public RandomSource {
  public:
    SystemRandomSource();
    [[nodiscard]] std::string bytes(std::size_t count) override;
};

}  // namespace zun::cloud
