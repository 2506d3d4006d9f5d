#pragma once

// The storages that the tests run over, each in a place of its own that can be opened again.

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "server/storage/Storage.h"

namespace zun::cloud {

class StoragePlace {
  public:
    virtual ~StoragePlace() = default;
    // What was kept there before is there again.
    [[nodiscard]] virtual std::unique_ptr<Storage> open() = 0;
};

struct StorageKind {
    std::string name;
    std::function<bool()> isAvailable;
    std::function<std::unique_ptr<StoragePlace>()> makePlace;
};

[[nodiscard]] std::vector<StorageKind> allStorages();

// A storage that threads with loops of their own ask, in turn, as those of a front do.
[[nodiscard]] std::unique_ptr<Storage> askedInLoops(std::unique_ptr<Storage> storage);

}  // namespace zun::cloud
