#pragma once

// The exclusive right to write to the store or to write its log back, among all processes. SQLite has locks of its own,
// but the releases before 3.51.3 can corrupt a file in WAL mode when two connections write or check point at the same
// instant. One thread at a time. A process that dies gives the right up.

#include <chrono>
#include <filesystem>
#include <utility>

namespace zun {

class StoreLock {
  public:
    class Held {
      public:
        explicit Held(int descriptor) : _descriptor(descriptor) {}
        Held(Held&& other) noexcept : _descriptor(std::exchange(other._descriptor, -1)) {}
        Held& operator=(Held&&) = delete;
        ~Held();

      private:
        int _descriptor;
    };

    explicit StoreLock(std::filesystem::path file) : _file(std::move(file)) {}
    ~StoreLock();
    StoreLock(const StoreLock&) = delete;
    StoreLock& operator=(const StoreLock&) = delete;

    // Blocks up to `wait`. Throws StoreFailure (Busy) after that, std::system_error if the lock's file cannot be made.
    [[nodiscard]] Held acquire(std::chrono::milliseconds wait);
    // Tells the watchers of all processes that something was committed. Only while held; never fails.
    void ring();

  private:
    std::filesystem::path _file;
    int _descriptor = -1;
};

// Takes a lock on an open file, trying again until the time is up. `operation` as for flock(2), without LOCK_NB.
[[nodiscard]] bool lockFile(int descriptor, int operation, std::chrono::milliseconds wait);

}  // namespace zun
