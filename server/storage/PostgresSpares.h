#pragma once

// Connections for those who must not wait until one is made, made by those who may. Any thread.

#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "server/storage/PostgresConnection.h"

namespace zun::cloud {

class PostgresSpares {
  public:
    explicit PostgresSpares(PostgresServer server) : _server(std::move(server)) {}

    // Null if there is none yet.
    [[nodiscard]] std::unique_ptr<PostgresConnection> take();
    // One more. Where somebody has made it, take() finds it.
    void want();
    // Makes what is wanted; for whoever has just found the server well. Blocks. What fails is wanted again, though not
    // at once: a server may have no room for more, and others wait meanwhile.
    void make();

  private:
    const PostgresServer _server;
    std::mutex _mutex;
    unsigned _wanted = 0;
    std::chrono::steady_clock::time_point _nextAttempt;
    std::vector<std::unique_ptr<PostgresConnection>> _made;
};

}  // namespace zun::cloud
