#pragma once

// A storage that forgets everything when it is destroyed; for tests and simulations. Work and `done` run before write()
// and read() return, on the caller's thread. Any thread.

#include <map>
#include <mutex>
#include <tuple>

#include "server/storage/Storage.h"
#include "server/storage/WakeListenerPlace.h"

namespace zun::cloud {

class MemoryStorage final : public Storage {
  public:
    void write(Work work, Done done) override;
    void read(Work work, Done done) override;
    void setWakeListener(WakeListener listener) override;
    void dump(const RowVisitor& visitor) override;
    void load(const std::function<void(const RowVisitor& add)>& rows) override;
    [[nodiscard]] std::vector<std::string> check() override { return {}; }

  private:
    using Key = std::tuple<std::string, Table, std::string>;
    using Rows = std::map<Key, std::string, std::less<>>;
    class View;

    std::mutex _mutex;
    Rows _rows;
    WakeListenerPlace _listener;
};

}  // namespace zun::cloud
