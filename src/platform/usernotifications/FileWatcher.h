#pragma once

// Tells when a file changes, is replaced or appears, through inotify on its folder. Owns a thread from construction to
// the end of destruction; it sleeps until there is something to tell. A folder that does not exist is not watched.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace zun {

class FileWatcher {
  public:
    struct Watched {
        std::filesystem::path folder;
        std::string name;               // of a file in it; empty for the folder's own removal
        std::function<void()> changed;  // on the watcher's thread; several changes may be told as one
    };

    explicit FileWatcher(std::vector<Watched> files);
    ~FileWatcher();
    FileWatcher(const FileWatcher&) = delete;
    FileWatcher& operator=(const FileWatcher&) = delete;

  private:
    void watch();
    void readEvents();

    std::vector<Watched> _files;
    std::vector<std::uint32_t> _events;  // that each waits for
    std::vector<int> _descriptors;       // of the folder of each, -1 if it is not watched
    int _inotify = -1;
    int _end = -1;  // an eventfd that becomes readable when the thread has to end
    std::thread _thread;
};

// A file whose only use is to be changed, so that watchers in other processes wake up. Never fails.
void ringBell(const std::filesystem::path& file);

}  // namespace zun
