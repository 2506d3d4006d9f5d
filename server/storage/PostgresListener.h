#pragma once

// Hears what other processes over the same PostgreSQL database notify of, on a connection and a thread of its own, and
// connects again where that breaks. Any thread.

#include <functional>
#include <string>
#include <thread>

#include "server/storage/PostgresLink.h"

namespace zun::cloud {

class PostgresListener {
  public:
    // Runs on the listener's thread. Without a payload: something may have been missed.
    using Heard = std::function<void(const std::string& payload)>;

    PostgresListener(PostgresServer server, Heard heard);
    // Waits for a call that is under way.
    ~PostgresListener();
    PostgresListener(const PostgresListener&) = delete;
    PostgresListener& operator=(const PostgresListener&) = delete;

  private:
    void run();
    void listen();

    const PostgresServer _server;
    const Heard _heard;
    const int _ending;  // readable when the thread shall end
    std::thread _thread;
};

}  // namespace zun::cloud
