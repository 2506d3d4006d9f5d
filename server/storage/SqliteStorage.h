#pragma once

// A storage in one SQLite file of a folder. One thread writes at a time: the caller's if nobody else does, else one
// that puts whatever waits meanwhile into one transaction, which is synced to the disk once for all. Reads run on the
// caller's thread, each on a connection of its own, and never wait for writes. Any thread.
//
// Another process may have the same folder open at the same time, for administration; wakes do not reach it.

#include <condition_variable>
#include <deque>
#include <filesystem>
#include <mutex>
#include <thread>

#include "server/storage/Storage.h"
#include "server/storage/WakeListenerPlace.h"

namespace zun::cloud {

class SqliteConnection;

class SqliteStorage final : public Storage {
  public:
    // Where a folder's rows are.
    [[nodiscard]] static std::filesystem::path fileIn(const std::filesystem::path& folder);
    // Makes the folder and the file where there are none. Throws StorageFailure.
    explicit SqliteStorage(const std::filesystem::path& folder);
    // Ends what was accepted.
    ~SqliteStorage() override;

    void write(Work work, Done done) override;
    void read(Work work, Done done) override;
    void waitUntilIdle() override;
    void setWakeListener(WakeListener listener) override;
    void dump(const RowVisitor& visitor) override;
    void load(const std::function<void(const RowVisitor& add)>& rows) override;
    [[nodiscard]] std::vector<std::string> check() override;

  private:
    struct Job {
        Work work;
        Done done;
        std::optional<StorageFailure> failure;
        std::vector<std::string> woken;
    };
    class Borrowed;
    class WriteRight;

    void runWriter();
    // Lets the next one.
    void stopWriting();
    void runBatch(std::deque<Job>& batch);
    // False if something failed, and then nothing of it has happened.
    bool tryBatch(std::deque<Job>& batch);
    void runJob(Job& job);
    void writeBack();
    void report(std::deque<Job>& batch);

    const std::filesystem::path _file;
    const int _lockFile;
    std::unique_ptr<SqliteConnection> _writer;
    int _pagesOfLog = 0;  // the writer's
    std::mutex _mutex;
    std::condition_variable _news;
    std::deque<Job> _waiting;
    bool _isWriting = false;  // who sets it has the writer and the pages of its log
    bool _isEnding = false;
    WakeListenerPlace _listener;
    std::vector<std::unique_ptr<SqliteConnection>> _idleReaders;
    std::thread _thread;
};

}  // namespace zun::cloud
