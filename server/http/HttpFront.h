#pragma once

// The service's face to the network: POST /v1/... for requests, GET /v1/push for a device's stream of pushes as
// server-sent events, over TCP or a local socket, with TLS or plain; and, at an address of its own, /healthz and
// /metrics. It has threads of its own, on which the service does its work.
//
// start() and stop() belong to one thread; counters() to any.

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "server/model/CloudService.h"

namespace zun::cloud {

// Of the address of a local socket; its path follows.
inline constexpr std::string_view localPrefix = "unix:";

struct HttpOptions {
    // "HOST:PORT", "[::1]:PORT" or "unix:PATH". Port 0 takes any that is free.
    std::string listen = "127.0.0.1:8480";
    std::string healthListen;  // empty: none
    // Files in PEM; empty: plain HTTP.
    std::string certificateFile, keyFile;
    // Plain HTTP for others than this machine is refused without it.
    bool allowPlain = false;
    // The address of a stranger is the last one of X-Forwarded-For.
    bool isBehindProxy = false;
    bool logRequests = false;
    unsigned threads = 0;  // for connections; 0: as many as there are cores, and two where they may wait for the disk
    std::size_t headerLimit = 16 << 10;
    std::size_t bodyLimit = 17 << 20;
    // Longer ones are read of devices that are signed in only.
    std::size_t strangersBodyLimit = 32 << 10;
    // Of the longer ones that are under way together, both requests and answers. Who comes on top is to try again.
    std::size_t bodiesLimit = 512 << 20;
    std::size_t connectionLimit = 10'000;
    // Of one other machine that is not known to be a proxy, so that it cannot have them all.
    std::size_t connectionsOfOne = 2'000;
    // For a body to come, and for an answer to be taken: a client waits no longer, and a slow line needs it.
    std::chrono::seconds requestTimeout{60};
    std::chrono::seconds idleTimeout{120};  // between requests
    std::chrono::seconds heartbeatInterval{25};
    std::chrono::seconds stopTimeout{20};  // for what was accepted
};

class HttpFront {
  public:
    // One line, without its end, that holds no content of records, no token and no password.
    using Log = std::function<void(std::string_view line)>;

    // The service outlives it. Throws std::runtime_error where the options cannot be: a certificate that cannot be
    // read, an address in use, plain HTTP for everyone.
    HttpFront(CloudService& service, Storage& storage, HttpOptions options, Log log);
    ~HttpFront();
    HttpFront(const HttpFront&) = delete;
    HttpFront& operator=(const HttpFront&) = delete;

    void start();
    // Takes no new connections, ends the streams, finishes the requests that were accepted; blocks until then.
    void stop();
    // The ports that were taken; 0 for local sockets.
    [[nodiscard]] unsigned short port() const;
    [[nodiscard]] unsigned short healthPort() const;

  private:
    struct State;
    std::shared_ptr<State> _state;
};

}  // namespace zun::cloud
