#pragma once

// A storage whose process can end within a commit: at a chosen one the rows are durable or are not, and nobody hears
// which. From then on nothing is answered until it is started again. On the thread of its user only.

#include <memory>

#include "server/storage/Storage.h"

namespace zun::cloud {

class CrashingStorage final : public Storage {
  public:
    enum class Rows { AreLost, AreDurable };

    // The inner one must run work before it returns, and outlive this.
    explicit CrashingStorage(Storage& inner) : _inner(inner) {}

    // The n-th next commit, from 1, is the last.
    void crashAtCommit(int number, Rows rows);
    [[nodiscard]] bool hasCrashed() const { return _state->hasCrashed; }
    void start() { *_state = {}; }

    void write(Work work, Done done) override;
    void read(Work work, Done done) override;
    void setWakeListener(WakeListener listener) override;
    void dump(const RowVisitor& visitor) override { _inner.dump(visitor); }
    void load(const std::function<void(const RowVisitor& add)>& rows) override { _inner.load(rows); }
    [[nodiscard]] std::vector<std::string> check() override { return _inner.check(); }

  private:
    struct State {
        int commitsLeft = 0;  // up to the last one; 0 if there is none
        Rows rows = Rows::AreLost;
        bool hasCrashed = false;
    };

    Storage& _inner;
    const std::shared_ptr<State> _state = std::make_shared<State>();
};

}  // namespace zun::cloud
