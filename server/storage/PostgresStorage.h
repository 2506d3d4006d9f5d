#pragma once

// A storage in a PostgreSQL database, which any number of processes may share. Work runs on threads of its own, each
// with a connection; an account's row keeps writes of that account in turn, whichever process they come from. Wakes go
// through LISTEN and NOTIFY. Connections that break are made anew; work that had not reached its commit is run again.
// Any thread.

#include <condition_variable>
#include <deque>
#include <mutex>
#include <set>
#include <thread>

#include "server/storage/Storage.h"

namespace zun::cloud {

class PostgresConnection;

class PostgresStorage final : public Storage {
  public:
    // An address as libpq reads it, with several hosts for a server that may be replaced by another. Throws
    // StorageFailure if nobody answers.
    explicit PostgresStorage(std::string address, unsigned connections = 8);
    // Ends what was accepted.
    ~PostgresStorage() override;

    void write(Work work, Done done) override;
    void read(Work work, Done done) override;
    void setWakeListener(WakeListener listener) override;
    void dump(const RowVisitor& visitor) override;
    void load(const std::function<void(const RowVisitor& add)>& rows) override;
    [[nodiscard]] std::vector<std::string> check() override;

  private:
    struct Job {
        bool isWrite;
        Work work;
        Done done;
    };
    void enqueue(Job job);
    void runWorker(std::unique_ptr<PostgresConnection> connection);
    // Null if it worked.
    std::optional<StorageFailure> run(std::unique_ptr<PostgresConnection>& connection, const Job& job);
    void tryOnce(PostgresConnection& connection, const Job& job, bool& isCommitting);
    void wakeOthers(PostgresConnection& connection, const std::set<std::string>& accounts);
    void runListener();
    void listen();
    void tell(const std::string& account);

    const std::string _address;
    const std::string _mark;  // of this process, before what it notifies of
    std::mutex _mutex;
    std::condition_variable _news;
    std::deque<Job> _waiting;
    bool _isEnding = false;
    std::shared_ptr<const WakeListener> _listener;
    const int _ending;  // readable when the listening thread shall end
    std::vector<std::thread> _threads;
};

}  // namespace zun::cloud
