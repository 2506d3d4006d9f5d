#include "server/storage/PostgresListener.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>

namespace zun::cloud {
namespace {

constexpr int waitBeforeListeningAgain = 500;  // milliseconds

}  // namespace

PostgresListener::PostgresListener(PostgresServer server, Heard heard)
    : _server(std::move(server)),
      _heard(std::move(heard)),
      _ending(::eventfd(0, EFD_CLOEXEC)),
      _thread([this] { run(); }) {}

PostgresListener::~PostgresListener() {
    const std::uint64_t one = 1;
    (void)!::write(_ending, &one, sizeof one);
    _thread.join();
    ::close(_ending);
}

void PostgresListener::run() {
    while (true) {
        try {
            listen();
            return;
        } catch (const StorageFailure&) {
            pollfd ending{_ending, POLLIN, 0};
            if (::poll(&ending, 1, waitBeforeListeningAgain) > 0) return;
        }
    }
}

// Returns when the thread shall end.
void PostgresListener::listen() {
    const auto connection = connectToPostgres(_server);
    const auto begun = command(connection.get(), "LISTEN zun_wake", _server.patience);
    if (PQresultStatus(begun.get()) != PGRES_COMMAND_OK) throw StorageFailure("PostgreSQL: cannot listen");
    // Whatever was said while nobody listened.
    _heard({});
    while (true) {
        std::array<pollfd, 2> waiting{{{PQsocket(connection.get()), POLLIN, 0}, {_ending, POLLIN, 0}}};
        if (::poll(waiting.data(), waiting.size(), -1) < 0 && errno != EINTR) throw StorageFailure("cannot wait");
        if (waiting[1].revents != 0) return;
        if (PQconsumeInput(connection.get()) != 1) throw StorageFailure("PostgreSQL: the connection is broken");
        while (PGnotify* notice = PQnotifies(connection.get())) {
            const std::string payload = notice->extra;
            PQfreemem(notice);
            if (!payload.empty()) _heard(payload);
        }
    }
}

}  // namespace zun::cloud
