#pragma once

// Notices that some process has committed to the store, through inotify on its folder. Owns a thread from construction
// to the end of destruction; the block runs there. A commit is noticed within milliseconds; one whose writer died
// before it could ring, within the tuned quiet time.

#include <functional>
#include <thread>

#include "ZunDataModel/store/StoreFiles.h"

namespace zun {

class ChangeWatcher {
  public:
    // Throws std::system_error if the folder cannot be watched.
    ChangeWatcher(const StoreFiles& files, std::function<void()> committed);
    ~ChangeWatcher();
    ChangeWatcher(const ChangeWatcher&) = delete;
    ChangeWatcher& operator=(const ChangeWatcher&) = delete;

  private:
    enum class Seen { Nothing, LogWritten, Bell };
    void watch();
    [[nodiscard]] Seen readEvents() const;

    std::string _lockName;
    std::string _logName;
    std::function<void()> _committed;
    int _inotify = -1;
    int _end = -1;  // an eventfd that becomes readable when the thread has to end
    std::thread _thread;
};

}  // namespace zun
