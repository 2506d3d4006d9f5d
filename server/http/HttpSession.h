#pragma once

// One connection: requests one after the other, or a stream of pushes. Runs on a strand of its own as a coroutine; only
// finish() may be called from elsewhere.

#include <array>
#include <atomic>
#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/generic/stream_protocol.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/beast/core/basic_stream.hpp>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "server/http/HttpFront.h"

namespace zun::cloud {

using SocketStream = boost::beast::basic_stream<boost::asio::generic::stream_protocol, boost::asio::any_io_executor>;
using Socket = SocketStream::socket_type;

// How long requests took. Any thread.
class Latencies {
  public:
    static constexpr std::array<double, 9> bounds{0.001, 0.002, 0.005, 0.01, 0.02, 0.05, 0.1, 0.5, 2};
    void add(double seconds);
    // In the format of Prometheus.
    [[nodiscard]] std::string text(std::string_view name) const;

  private:
    std::array<std::atomic<std::uint64_t>, bounds.size() + 1> _counts{};
    std::atomic<std::uint64_t> _microseconds{0};
};

// Memory for the bodies that are under way. Any thread; outlives the parts that were taken.
class RoomForBodies {
  public:
    // Given back when it ends.
    using Part = std::shared_ptr<void>;

    explicit RoomForBodies(std::size_t bytes) : _left(bytes) {}
    // Null where there is not so much left.
    [[nodiscard]] Part take(std::size_t bytes);

  private:
    std::atomic<std::size_t> _left;
};

class HttpConnection {
  public:
    virtual ~HttpConnection() = default;
    // Ends once what it is doing is done.
    virtual void finish() = 0;
};

// What the connections of a front share.
struct HttpShared {
    HttpShared(CloudService& cloud, Storage& rows, HttpOptions how, HttpFront::Log where)
        : service(cloud), storage(rows), options(std::move(how)), log(std::move(where)) {}

    CloudService& service;
    Storage& storage;
    const HttpOptions options;
    const HttpFront::Log log;
    std::atomic<bool> isStopping{false};
    std::atomic<std::uint64_t> answered{0}, failed{0};
    Latencies latencies;
    RoomForBodies bodies{options.bodiesLimit};

    // Whether another connection of this peer may come.
    [[nodiscard]] bool hasRoomFor(const std::string& peer);
    void add(const std::shared_ptr<HttpConnection>& connection, const std::string& peer);
    void remove(const HttpConnection* connection);
    [[nodiscard]] std::size_t connectionCount();
    // Those that are open now.
    [[nodiscard]] std::vector<std::shared_ptr<HttpConnection>> connections();

  private:
    std::mutex _mutex;
    struct Connection {
        std::weak_ptr<HttpConnection> connection;
        std::string peer;
    };
    std::map<const HttpConnection*, Connection> _connections;
    std::map<std::string, std::size_t> _countByPeer;
};

enum class HttpRole { Service, Health };

// Serves the connection until it ends. Without a context it is plain.
void startHttpSession(const std::shared_ptr<HttpShared>& shared, Socket socket, std::string peer, HttpRole role,
                      boost::asio::ssl::context* tls);

// What /metrics shows. Any thread.
[[nodiscard]] std::string metricsText(HttpShared& shared);

}  // namespace zun::cloud
