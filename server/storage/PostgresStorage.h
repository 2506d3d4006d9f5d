#pragma once

// A storage in a PostgreSQL database, which any number of processes may share. Threads that have joined with their loop
// of events have connections of their own; what others ask for is done by a few threads of the storage. What waits when
// a connection is free is done together: reads by one question, writes in one transaction, over rows that were guessed
// to be wanted, or that are remembered and stored over if they are still so. What turns out to need more, or meets
// somebody else's write, is done by itself by one of the storage's threads.
//
// An account's row keeps writes of that account in turn, whichever process they come from. Wakes go through LISTEN and
// NOTIFY. Connections that break are made anew; work that had not reached its commit is run again. What cannot be done
// within some seconds because no server takes it fails. Any thread.

#include <set>
#include <thread>
#include <vector>

#include "server/storage/PostgresLane.h"
#include "server/storage/PostgresListener.h"
#include "server/storage/PostgresWorker.h"
#include "server/storage/Storage.h"
#include "server/storage/WakeListenerPlace.h"

namespace zun::cloud {

class PostgresStorage final : public Storage {
  public:
    // The address may have several hosts for a server that may be replaced by another. Throws
    // StorageFailure if nobody answers.
    explicit PostgresStorage(PostgresServer server, unsigned connections = 4);
    // Ends what was accepted.
    ~PostgresStorage() override;

    void write(Work work, Done done) override;
    void read(Work work, Done done) override;
    [[nodiscard]] std::unique_ptr<Seat> joinLoop(EventLoop& loop) override;
    [[nodiscard]] bool keepsCallersWaiting() const override { return false; }
    void waitUntilIdle() override { _queue.waitUntilIdle(); }
    void setWakeListener(WakeListener listener) override;
    void dump(const RowVisitor& visitor) override;
    void load(const std::function<void(const RowVisitor& add)>& rows) override;
    [[nodiscard]] std::vector<std::string> check() override;

  private:
    class Place;
    void add(PostgresJob job);
    void wake(PostgresConnection& connection, const std::set<std::string>& accounts);

    const PostgresServer _server;
    const std::string _mark;  // of this process, before what it notifies of
    RememberedRows _remembered;
    PostgresQueue _queue;
    PostgresSpares _spares;
    WakeListenerPlace _listener;
    std::vector<std::thread> _threads;
    std::optional<PostgresListener> _others;
};

}  // namespace zun::cloud
