#include "server/http/HttpSession.h"

#include <fmt/format.h>

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/experimental/awaitable_operators.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/ssl/ssl_stream.hpp>
#include <deque>

#include "platform/cloudprotocol/MessageCodec.h"
#include "server/http/Handover.h"
#include "server/http/HttpRules.h"

namespace zun::cloud {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using boost::system::error_code;
using std::chrono::steady_clock;

using HttpRequest = http::request<http::string_body>;
using HttpResponse = http::response<http::string_body>;
using TlsStream = beast::ssl_stream<SocketStream>;

constexpr std::string_view versionHeader = "Zun-Protocol";
constexpr double slowSeconds = 1;
// For the other side to say goodbye, too.
constexpr std::chrono::milliseconds farewell(300);
constexpr std::chrono::seconds patienceWithTalkers(2);
constexpr double retryWhenFull = 2;
// A receiver that is so far behind reads the rest when it comes back.
constexpr std::size_t pushesWaiting = 1'000;
constexpr std::size_t bufferKept = 64 << 10;
// An edit of one reminder comes in one piece.
constexpr std::size_t bufferAtFirst = 4 << 10;

std::string_view asView(beast::string_view text) {
    return {text.data(), text.size()};
}

// Pushes on their way from wherever they happen to the strand of their connection.
struct PushQueue {
    explicit PushQueue(const asio::any_io_executor& strand) : executor(strand), news(strand) {}

    // Any thread. What is posted from the strand's own thread may be overtaken by what comes from another one, so the
    // order is made here.
    void add(std::string event) {
        {
            std::lock_guard lock(_mutex);
            _events.push_back(std::move(event));
        }
        wake();
    }
    void close() {
        {
            std::lock_guard lock(_mutex);
            _isClosed = true;
        }
        wake();
    }
    // What has come, in its order; and whether more can.
    [[nodiscard]] std::pair<std::deque<std::string>, bool> take() {
        std::lock_guard lock(_mutex);
        return {std::exchange(_events, {}), !_isClosed};
    }
    [[nodiscard]] bool hasNews() {
        std::lock_guard lock(_mutex);
        return !_events.empty() || _isClosed;
    }

    asio::any_io_executor executor;
    asio::steady_timer news;
    std::weak_ptr<PushQueue> weak;

  private:
    void wake() {
        asio::post(executor, [queue = weak.lock()] {
            if (queue) queue->news.cancel();
        });
    }

    std::mutex _mutex;
    std::deque<std::string> _events;
    bool _isClosed = false;
};

template <class Stream>
class Session final : public HttpConnection, public std::enable_shared_from_this<Session<Stream>> {
  public:
    template <class... Arguments>
    Session(std::shared_ptr<HttpShared> shared, std::string peer, HttpRole role, Arguments&&... arguments)
        : _shared(std::move(shared)),
          _peer(std::move(peer)),
          _role(role),
          _stream(std::forward<Arguments>(arguments)...) {}
    ~Session() override { _shared->remove(this); }

    void start() {
        _shared->add(this->shared_from_this(), _peer);
        asio::co_spawn(
            executor(), [self = this->shared_from_this()] { return self->run(); }, asio::detached);
    }

    void finish() override {
        asio::post(executor(), [self = this->shared_from_this()] {
            self->_isFinishing = true;
            if (self->_isIdle) self->lowest().cancel();
        });
    }

  private:
    static constexpr bool isTls = std::is_same_v<Stream, TlsStream>;

    [[nodiscard]] SocketStream& lowest() { return beast::get_lowest_layer(_stream); }
    [[nodiscard]] asio::any_io_executor executor() { return lowest().get_executor(); }

    asio::awaitable<void> run() {
        try {
            if constexpr (isTls) {
                lowest().expires_after(_shared->options.requestTimeout);
                co_await _stream.async_handshake(asio::ssl::stream_base::server, asio::use_awaitable);
            }
            while (!_isFinishing && co_await serveOne()) {
            }
            if constexpr (isTls) {
                lowest().expires_after(farewell);
                co_await _stream.async_shutdown(asio::use_awaitable);
            }
        } catch (const std::exception&) {
            // What goes wrong with a connection ends that connection and nothing else.
        }
        error_code ignored;
        lowest().socket().shutdown(Socket::shutdown_both, ignored);
    }

    // Returns whether the connection goes on.
    asio::awaitable<bool> serveOne() {
        http::request_parser<http::string_body> parser;
        parser.header_limit(static_cast<std::uint32_t>(_shared->options.headerLimit));
        parser.body_limit(_shared->options.bodyLimit);
        error_code error;
        _isIdle = _buffer.size() == 0;
        _buffer.reserve(bufferAtFirst);
        const auto& how = _shared->options;
        lowest().expires_after(std::exchange(_isNew, false) ? how.requestTimeout : how.idleTimeout);
        co_await http::async_read_header(_stream, _buffer, parser, asio::redirect_error(asio::use_awaitable, error));
        _isIdle = false;
        RoomForBodies::Part room;
        if (!error) {
            if (const auto refused = co_await makeRoom(parser, room)) {
                co_await hangUp(*refused);
                co_return false;
            }
        }
        lowest().expires_after(_shared->options.requestTimeout);
        if (!error && asView(parser.get()[http::field::expect]) == "100-continue") co_await sendContinue();
        if (!error)
            co_await http::async_read(_stream, _buffer, parser, asio::redirect_error(asio::use_awaitable, error));
        if (error) {
            co_await answerBroken(error);
            co_return false;
        }
        lowest().expires_never();
        auto request = parser.release();
        if (_buffer.size() == 0 && _buffer.capacity() > bufferKept) _buffer = beast::flat_buffer();
        if (_role == HttpRole::Health) co_return co_await answerHealth(request);
        if (request.method() == http::verb::get && asView(request.target()) == "/v1/push") {
            co_await streamPushes(request);
            co_return false;
        }
        co_return co_await answerRequest(request);
    }

    // What strangers send is kept short, and what devices send together has a limit. The part is kept until the request
    // is answered.
    asio::awaitable<OptionalError> makeRoom(const http::request_parser<http::string_body>& parser,
                                            RoomForBodies::Part& part) {
        const auto length = parser.content_length();
        const auto bytes = parser.chunked() ? _shared->options.bodyLimit : length ? *length : 0;
        if (bytes <= _shared->options.strangersBodyLimit) co_return std::nullopt;
        if (_role == HttpRole::Health) co_return makeError(CKErrorCode::LimitExceeded, "the request is too large");
        lowest().expires_never();
        auto known = std::make_shared<Handover<OptionalError>>(executor());
        _shared->service.authenticate(bearerOf(asView(parser.get()[http::field::authorization])),
                                      [known](OptionalError error) { known->give(std::move(error)); });
        auto refused = co_await Handover<OptionalError>::take(known);
        if (refused) co_return refused;
        part = _shared->bodies.take(bytes);
        if (!part) co_return noRoom();
        co_return std::nullopt;
    }

    static CKError noRoom() {
        auto error = makeError(CKErrorCode::ServiceUnavailable, "too much is under way");
        error.userInfo.CKErrorRetryAfterKey = retryWhenFull;
        return error;
    }

    // Refuses what has not been read yet. Who still talks when the connection ends may not hear why, so the rest is
    // listened to for a while.
    asio::awaitable<void> hangUp(CKError why) {
        co_await sendError(std::move(why), false);
        std::array<char, 4'096> rest{};
        error_code error;
        if constexpr (!isTls) lowest().socket().shutdown(Socket::shutdown_send, error);
        lowest().expires_after(patienceWithTalkers);
        while (!error)
            co_await _stream.async_read_some(asio::buffer(rest), asio::redirect_error(asio::use_awaitable, error));
    }

    asio::awaitable<void> sendContinue() {
        http::response<http::empty_body> response(http::status::continue_, 11);
        co_await http::async_write(_stream, response, asio::use_awaitable);
    }

    asio::awaitable<void> answerBroken(error_code error) {
        if (error == http::error::body_limit) {
            co_await hangUp(makeError(CKErrorCode::LimitExceeded, "the request is too large"));
        } else if (error.category() == make_error_code(http::error::bad_method).category() &&
                   error != http::error::end_of_stream && error != http::error::partial_message) {
            co_await sendError(makeError(CKErrorCode::InvalidArguments, "this is not HTTP as it is understood here"),
                               false);
        }
    }

    static CKError makeError(CKErrorCode code, std::string description) { return {code, std::move(description), {}}; }

    asio::awaitable<bool> answerRequest(HttpRequest& request) {
        const auto start = steady_clock::now();
        const bool goesOn = request.keep_alive() && !_shared->isStopping;
        const auto path = pathInProtocol(asView(request.target()));
        std::string_view known = "-";
        Answer answer;
        if (!path) {
            answer = makeError(CKErrorCode::UnknownItem, "there is nothing here");
        } else if (request.method() != http::verb::post) {
            answer = makeError(CKErrorCode::InvalidArguments, "requests are posted");
        } else if (auto incompatible = whyNotSpeak(request)) {
            answer = std::move(*incompatible);
        } else {
            auto decoded = decodeRequest(*path, request.body());
            if (auto* malformed = std::get_if<Malformed>(&decoded)) {
                answer = makeError(CKErrorCode::InvalidArguments, malformed->reason);
            } else {
                auto& asked = std::get<Request>(decoded);
                known = pathOf(asked);
                answer = co_await ask(bearerOf(asView(request[http::field::authorization])), peerOf(request),
                                      std::move(asked));
            }
        }
        const auto bytesIn = request.body().size();
        request.body() = {};
        const auto [status, bytesOut] = co_await send(answer, goesOn);
        const std::chrono::duration<double> took = steady_clock::now() - start;
        _shared->latencies.add(took.count());
        if (_shared->options.logRequests || took.count() > slowSeconds || status >= 500)
            _shared->log(fmt::format("event=request path={} status={} ms={:.1f} in={} out={}", known, status,
                                     took.count() * 1e3, bytesIn, bytesOut));
        co_return goesOn;
    }

    static OptionalError whyNotSpeak(const HttpRequest& request) {
        const auto version = asView(request[versionHeader]);
        if (version.empty() || version == std::to_string(protocolVersion)) return std::nullopt;
        return makeError(CKErrorCode::IncompatibleVersion,
                         fmt::format("this service speaks version {}", protocolVersion));
    }

    std::string peerOf(const HttpRequest& request) const {
        if (!_shared->options.isBehindProxy) return _peer;
        const auto forwarded = asView(request["X-Forwarded-For"]);
        const auto comma = forwarded.rfind(',');
        auto last = comma == std::string_view::npos ? forwarded : forwarded.substr(comma + 1);
        while (last.starts_with(' '))
            last.remove_prefix(1);
        return last.empty() ? _peer : strangerOf(last.substr(0, 64));
    }

    asio::awaitable<Answer> ask(std::string token, std::string peer, Request request) {
        auto answer = std::make_shared<Handover<Answer>>(executor());
        _shared->service.handle(token, peer, std::move(request),
                                [answer](Answer given) { answer->give(std::move(given)); });
        co_return co_await Handover<Answer>::take(answer);
    }

    asio::awaitable<void> sendError(CKError error, bool goesOn) {
        (void)co_await send(Answer(std::move(error)), goesOn);
    }

    asio::awaitable<std::pair<unsigned, std::size_t>> send(const Answer& answer, bool goesOn) {
        auto body = encode(answer);
        RoomForBodies::Part room;
        if (body.size() > _shared->options.strangersBodyLimit) {
            room = _shared->bodies.take(body.size());
            // What was written must not look as if it was not.
            if (!room && !std::holds_alternative<ModifiedRecords>(answer))
                co_return co_await send(Answer(noRoom()), goesOn);
        }
        const auto* error = std::get_if<CKError>(&answer);
        const unsigned status = error ? statusOf(error->code) : 200;
        HttpResponse response(static_cast<http::status>(status), 11);
        response.set(versionHeader, std::to_string(protocolVersion));
        response.set(http::field::content_type, "application/json");
        response.set(http::field::cache_control, "no-store");
        if (error && error->userInfo.CKErrorRetryAfterKey)
            response.set(http::field::retry_after, std::to_string(static_cast<int>(error->retryAfter()) + 1));
        response.body() = std::move(body);
        const auto bytes = response.body().size();
        ++(status >= 500 ? _shared->failed : _shared->answered);
        co_await write(response, goesOn);
        co_return std::pair(status, bytes);
    }

    asio::awaitable<void> write(HttpResponse& response, bool goesOn) {
        response.keep_alive(goesOn);
        response.prepare_payload();
        lowest().expires_after(_shared->options.requestTimeout);
        co_await http::async_write(_stream, response, asio::use_awaitable);
    }

    asio::awaitable<bool> answerHealth(const HttpRequest& request) {
        const auto target = asView(request.target());
        HttpResponse response(http::status::ok, 11);
        response.set(http::field::content_type, "text/plain; version=0.0.4");
        if (request.method() != http::verb::get) {
            response.result(http::status::method_not_allowed);
        } else if (target == "/metrics") {
            response.body() = metricsText(*_shared);
        } else if (target == "/healthz") {
            const bool isWell = !_shared->isStopping && co_await storageAnswers();
            response.result(isWell ? http::status::ok : http::status::service_unavailable);
            response.body() = isWell ? "ok\n" : "not ready\n";
        } else {
            response.result(http::status::not_found);
        }
        co_await write(response, request.keep_alive());
        co_return request.keep_alive();
    }

    asio::awaitable<bool> storageAnswers() {
        auto isWell = std::make_shared<Handover<bool>>(executor());
        const auto look = [](Transaction& rows) {
            (void)rows.get({}, Table::Service, {});
            return Storage::Ending::Rollback;
        };
        _shared->storage.read(look, [isWell](const auto& failure) { isWell->give(!failure); });
        co_return co_await Handover<bool>::take(isWell);
    }

    // ---- pushes

    using Opened = std::variant<std::shared_ptr<OpenedPushStream>, CKError>;

    asio::awaitable<Opened> open(std::string token, std::optional<std::uint64_t> lastNumber,
                                 std::shared_ptr<PushQueue> queue) {
        PushStreamHandlers handlers{[queue](const Push& push) { queue->add(pushEvent(push)); },
                                    [queue] { queue->close(); }};
        auto opened = std::make_shared<Handover<Opened>>(executor());
        _shared->service.openPushStream(token, lastNumber, handlers, [opened](auto result) {
            if (auto* stream = std::get_if<OpenedPushStream>(&result)) {
                opened->give(std::make_shared<OpenedPushStream>(std::move(*stream)));
            } else {
                opened->give(std::move(std::get<CKError>(result)));
            }
        });
        co_return co_await Handover<Opened>::take(opened);
    }

    asio::awaitable<void> streamPushes(const HttpRequest& request) {
        using namespace asio::experimental::awaitable_operators;
        if (auto incompatible = whyNotSpeak(request)) {
            co_await sendError(std::move(*incompatible), false);
            co_return;
        }
        auto queue = std::make_shared<PushQueue>(executor());
        queue->weak = queue;
        auto opened = co_await open(bearerOf(asView(request[http::field::authorization])),
                                    lastEventOf(asView(request["Last-Event-ID"])), queue);
        if (auto* error = std::get_if<CKError>(&opened)) {
            co_await sendError(std::move(*error), false);
            co_return;
        }
        const auto& stream = std::get<std::shared_ptr<OpenedPushStream>>(opened);
        auto head = fmt::format(
                        "HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\nCache-Control: no-store\r\n"
                        "X-Accel-Buffering: no\r\n{}: {}\r\nConnection: close\r\n\r\n",
                        versionHeader, protocolVersion) +
                    openedEvent(stream->lastNumber, stream->hasGap);
        lowest().expires_never();
        _buffer = beast::flat_buffer();
        co_await (sendPushes(queue, std::move(head)) || readUntilEnd());
    }

    asio::awaitable<void> sendPushes(std::shared_ptr<PushQueue> queue, std::string text) {
        using namespace asio::experimental::awaitable_operators;
        while (true) {
            error_code ignored;
            if (text.empty() && !queue->hasNews()) {
                queue->news.expires_after(_shared->options.heartbeatInterval);
                co_await queue->news.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
            }
            const auto [events, isOpen] = queue->take();
            if (events.size() > pushesWaiting || (!isOpen && events.empty() && text.empty())) co_return;
            for (const auto& event : events)
                text += event;
            if (text.empty()) text = heartbeat;
            asio::steady_timer patience(executor(), _shared->options.requestTimeout);
            const auto ended = co_await (asio::async_write(_stream, asio::buffer(text), asio::use_awaitable) ||
                                         patience.async_wait(asio::use_awaitable));
            if (ended.index() == 1) co_return;
            text.clear();
            if (!isOpen) co_return;
        }
    }

    // A receiver says nothing; whatever comes, and the end above all, ends the stream.
    asio::awaitable<void> readUntilEnd() {
        std::array<char, 16> bytes{};
        error_code ignored;
        co_await _stream.async_read_some(asio::buffer(bytes), asio::redirect_error(asio::use_awaitable, ignored));
    }

    const std::shared_ptr<HttpShared> _shared;
    const std::string _peer;
    const HttpRole _role;
    Stream _stream;
    beast::flat_buffer _buffer;
    bool _isNew = true, _isIdle = false, _isFinishing = false;
};

}  // namespace

void startHttpSession(const std::shared_ptr<HttpShared>& shared, Socket socket, std::string peer, HttpRole role,
                      asio::ssl::context* tls) {
    if (tls) {
        std::make_shared<Session<TlsStream>>(shared, std::move(peer), role, std::move(socket), *tls)->start();
    } else {
        std::make_shared<Session<SocketStream>>(shared, std::move(peer), role, std::move(socket))->start();
    }
}

}  // namespace zun::cloud
