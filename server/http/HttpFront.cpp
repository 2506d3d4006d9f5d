#include "server/http/HttpFront.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <deque>
#include <thread>

#include "server/http/AsioLoop.h"
#include "server/http/HttpRules.h"
#include "server/http/HttpSession.h"

namespace zun::cloud {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using asio::local::stream_protocol;
using boost::system::error_code;

constexpr int oneThread = 1;
constexpr std::chrono::milliseconds waitAfterFailure(100);

struct Address {
    std::string host, port;
};

Address parse(const std::string& listen) {
    const auto colon = listen.rfind(':');
    if (colon == std::string::npos) throw std::runtime_error("the address has no port: " + listen);
    auto host = listen.substr(0, colon);
    if (host.starts_with('[') && host.ends_with(']')) host = host.substr(1, host.size() - 2);
    return {std::move(host), listen.substr(colon + 1)};
}

void tune(tcp::socket& socket) {
    error_code ignored;
    socket.set_option(tcp::no_delay(true), ignored);
    socket.set_option(asio::socket_base::keep_alive(true), ignored);
}
void tune(stream_protocol::socket&) {}

std::string nameOf(const tcp::socket& socket) {
    error_code ignored;
    return strangerOf(socket.remote_endpoint(ignored).address().to_string());
}
std::string nameOf(const stream_protocol::socket&) {
    return "local";
}

}  // namespace

struct HttpFront::State {
    State(CloudService& service, Storage& storage, HttpOptions options, Log log)
        : shared(std::make_shared<HttpShared>(service, storage, std::move(options), std::move(log))) {
        auto count = shared->options.threads;
        if (count == 0) count = std::thread::hardware_concurrency() + (storage.keepsCallersWaiting() ? 2 : 0);
        count = std::max(count, 1U);
        for (unsigned thread = 0; thread <= count; ++thread)
            loops.emplace_back(oneThread);
    }

    unsigned short listen(const std::string& address, HttpRole role);
    template <class Acceptor>
    asio::awaitable<void> accept(std::shared_ptr<Acceptor> acceptor, HttpRole role);
    template <class TheSocket>
    void serve(TheSocket socket, HttpRole role);
    asio::awaitable<void> checkStreams();
    void readCertificate();
    [[nodiscard]] asio::io_context& loopFor(HttpRole role);

    const std::shared_ptr<HttpShared> shared;
    std::optional<asio::ssl::context> tls;
    // A thread each. A connection stays with one: what several threads share has to wake one of them for each step. The
    // first has what must not wait for a request's work; the others take the connections in turn.
    std::deque<asio::io_context> loops;
    std::size_t lastLoop = 0;                    // the first loop's
    std::vector<std::function<void()>> closers;  // of the acceptors
    std::string localPath;
    unsigned short port = 0, healthPort = 0;
    std::vector<std::thread> threads;
};

HttpFront::HttpFront(CloudService& service, Storage& storage, HttpOptions options, Log log)
    : _state(std::make_shared<State>(service, storage, std::move(options), std::move(log))) {
    const auto& how = _state->shared->options;
    if (!how.certificateFile.empty()) _state->readCertificate();
    _state->port = _state->listen(how.listen, HttpRole::Service);
    if (!how.healthListen.empty()) _state->healthPort = _state->listen(how.healthListen, HttpRole::Health);
}

HttpFront::~HttpFront() {
    stop();
    if (!_state->localPath.empty()) ::unlink(_state->localPath.c_str());
}

unsigned short HttpFront::port() const {
    return _state->port;
}

unsigned short HttpFront::healthPort() const {
    return _state->healthPort;
}

void HttpFront::State::readCertificate() {
    try {
        tls.emplace(asio::ssl::context::tls_server);
        tls->set_options(asio::ssl::context::default_workarounds | asio::ssl::context::no_tlsv1 |
                         asio::ssl::context::no_tlsv1_1 | SSL_OP_NO_RENEGOTIATION);
        tls->use_certificate_chain_file(shared->options.certificateFile);
        tls->use_private_key_file(shared->options.keyFile, asio::ssl::context::pem);
        // An idle stream needs no buffers.
        SSL_CTX_set_mode(tls->native_handle(), SSL_MODE_RELEASE_BUFFERS);
    } catch (const boost::system::system_error& error) {
        throw std::runtime_error(std::string("cannot use the certificate and its key: ") + error.what());
    }
}

unsigned short HttpFront::State::listen(const std::string& address, HttpRole role) {
    const auto open = [&](auto acceptor, const auto& endpoint) {
        acceptor->open(endpoint.protocol());
        acceptor->set_option(asio::socket_base::reuse_address(true));
        acceptor->bind(endpoint);
        acceptor->listen();
        closers.emplace_back([acceptor] {
            asio::post(acceptor->get_executor(), [acceptor] {
                error_code ignored;
                acceptor->close(ignored);
            });
        });
        asio::co_spawn(acceptor->get_executor(), accept(acceptor, role), asio::detached);
    };
    try {
        auto& loop = loops.front();
        if (address.starts_with(localPrefix)) {
            localPath = address.substr(localPrefix.size());
            ::unlink(localPath.c_str());
            open(std::make_shared<stream_protocol::acceptor>(loop), stream_protocol::endpoint(localPath));
            return 0;
        }
        const auto [host, portText] = parse(address);
        const tcp::endpoint endpoint = *tcp::resolver(loop).resolve(host, portText, tcp::resolver::passive).begin();
        const bool isPlain = role == HttpRole::Health || !tls;
        if (isPlain && !endpoint.address().is_loopback() && !(role == HttpRole::Service && shared->options.allowPlain))
            throw std::runtime_error(
                address +
                (role == HttpRole::Health
                     ? " can be reached from other machines: health and metrics are for this one only"
                     : " can be reached from other machines: give a certificate, or listen on this one only"));
        auto acceptor = std::make_shared<tcp::acceptor>(loop);
        open(acceptor, endpoint);
        return acceptor->local_endpoint().port();
    } catch (const boost::system::system_error& error) {
        throw std::runtime_error("cannot listen on " + address + ": " + error.code().message());
    }
}

asio::io_context& HttpFront::State::loopFor(HttpRole role) {
    if (role == HttpRole::Health) return loops.front();
    lastLoop = lastLoop % (loops.size() - 1) + 1;
    return loops[lastLoop];
}

template <class Acceptor>
asio::awaitable<void> HttpFront::State::accept(std::shared_ptr<Acceptor> acceptor, HttpRole role) {
    while (acceptor->is_open()) {
        error_code error;
        auto socket = co_await acceptor->async_accept(asio::any_io_executor(loopFor(role).get_executor()),
                                                      asio::redirect_error(asio::use_awaitable, error));
        if (!acceptor->is_open()) co_return;
        if (error) {
            // Out of descriptors, most likely: some will be free soon.
            asio::steady_timer rest(loops.front(), waitAfterFailure);
            co_await rest.async_wait(asio::use_awaitable);
            continue;
        }
        try {
            serve(std::move(socket), role);
        } catch (const std::exception& failure) {
            // Out of memory, most likely. The next one may fare better.
            shared->log(fmt::format("event=connection-refused reason=\"{}\"", failure.what()));
        }
    }
}

template <class TheSocket>
void HttpFront::State::serve(TheSocket socket, HttpRole role) {
    auto peer = nameOf(socket);
    if (role == HttpRole::Service && !shared->hasRoomFor(peer)) return;
    tune(socket);
    startHttpSession(shared, Socket(std::move(socket)), std::move(peer), role,
                     role == HttpRole::Service && tls ? &*tls : nullptr);
}

asio::awaitable<void> HttpFront::State::checkStreams() {
    asio::steady_timer timer(loops.front());
    while (!shared->isStopping) {
        timer.expires_after(shared->options.heartbeatInterval);
        co_await timer.async_wait(asio::use_awaitable);
        shared->service.checkPushStreams();
    }
}

void HttpFront::start() {
    asio::co_spawn(_state->loops.front(), _state->checkStreams(), asio::detached);
    for (auto& loop : _state->loops)
        _state->threads.emplace_back([state = _state, &loop] {
            AsioLoop events(loop);
            const auto seat = &loop == &state->loops.front() ? nullptr : state->shared->storage.joinLoop(events);
            const auto guard = asio::make_work_guard(loop);
            loop.run();
        });
}

void HttpFront::stop() {
    if (_state->shared->isStopping.exchange(true)) return;
    for (const auto& close : _state->closers)
        close();
    _state->shared->service.stop();
    const auto deadline = std::chrono::steady_clock::now() + _state->shared->options.stopTimeout;
    while (!_state->threads.empty() && std::chrono::steady_clock::now() < deadline) {
        const auto open = _state->shared->connections();
        if (open.empty()) break;
        for (const auto& connection : open)
            connection->finish();
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    for (auto& loop : _state->loops)
        loop.stop();
    for (auto& thread : _state->threads)
        thread.join();
    _state->threads.clear();
    // What the threads have left to the storage tells their loops.
    _state->shared->storage.waitUntilIdle();
}

}  // namespace zun::cloud
