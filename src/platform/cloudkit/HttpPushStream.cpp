#include "platform/cloudkit/HttpPushStream.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "platform/cloudprotocol/MessageCodec.h"

namespace zun {
namespace {

constexpr std::chrono::seconds firstWait{1}, longestWait{60};
constexpr long notKnownStatus = 401;

}  // namespace

HttpPushStream::HttpPushStream(const HttpTransport& transport, std::string deviceToken,
                               CloudTransport::PushHandlers handlers)
    : _transport(transport),
      _dispatch(transport._dispatch),
      _environment(transport._environment),
      _deviceToken(std::move(deviceToken)),
      _handlers(std::move(handlers)),
      _queue(_dispatch.makeSerialQueue("push stream", QualityOfService::UserInitiated)),
      _transfers(transport._transfers),
      _parser([this](const auto& event) { takeEvent(event); }),
      _wait(firstWait) {}

void HttpPushStream::later(Block block) {
    _queue->async([self = shared_from_this(), block = std::move(block)] { self->_gate.pass(block); });
}

void HttpPushStream::open() {
    later([this] { connect(); });
}

void HttpPushStream::connect() {
    const auto transfers = _transfers->get();
    if (!transfers) return;
    auto request = _transport.requestTo("push", _deviceToken);
    request.kind = HttpRequest::Kind::EventStream;
    request.headers.emplace_back("Accept: text/event-stream");
    int attempt = 0;
    {
        const std::scoped_lock lock(_mutex);
        if (_isClosed) return;
        attempt = ++_attempt;
        if (!_lastIdentifier.empty()) request.headers.push_back("Last-Event-ID: " + _lastIdentifier);
        _parser = EventStreamParser([this](const auto& event) { takeEvent(event); });
    }
    request.received = [self = weak_from_this(), attempt](std::string_view bytes) {
        if (const auto stream = self.lock()) stream->takeBytes(attempt, bytes);
    };
    // Without the lock, since a transfer that comes too late ends within the call.
    auto transfer =
        transfers->start(std::move(request), [self = weak_from_this(), attempt](const HttpResponse& response) {
            if (const auto stream = self.lock()) stream->ended(attempt, response);
        });
    const std::scoped_lock lock(_mutex);
    if (_isClosed)
        transfers->cancel(transfer);
    else
        _transfer = std::move(transfer);
}

void HttpPushStream::close() {
    HttpTransferPtr transfer;
    {
        const std::scoped_lock lock(_mutex);
        _isClosed = true;
        transfer = std::move(_transfer);
    }
    if (transfer) cancel(transfer);
    _gate.close();
}

void HttpPushStream::cancel(const HttpTransferPtr& transfer) {
    if (const auto transfers = _transfers->get()) transfers->cancel(transfer);
}

void HttpPushStream::takeBytes(int attempt, std::string_view bytes) {
    HttpTransferPtr broken;
    {
        const std::scoped_lock lock(_mutex);
        if (attempt != _attempt || _isClosed) return;
        if (!_parser.take(bytes)) broken = _transfer;
    }
    if (broken) cancel(broken);
}

// Under the lock, on the transfers' thread.
void HttpPushStream::takeEvent(const EventStreamParser::Event& event) {
    _lastIdentifier = event.identifier;
    _wait = firstWait;
    if (event.name == "opened") {
        _isOpen = true;
        const bool hasGap = event.data == R"({"gap":true})";
        return later([this, hasGap] {
            if (_handlers.opened) _handlers.opened(hasGap);
        });
    }
    auto received = cloud::decodePush(event.data);
    later([this, received = std::move(received)] {
        const auto* push = std::get_if<cloud::Push>(&received);
        if (push && _handlers.push) _handlers.push(*push);
        // Something came that this program does not understand.
        if (!push && _handlers.opened) _handlers.opened(true);
    });
}

void HttpPushStream::ended(int attempt, const HttpResponse& response) {
    const std::scoped_lock lock(_mutex);
    if (attempt != _attempt || _isClosed) return;
    _transfer.reset();
    if (std::exchange(_isOpen, false))
        later([this] {
            if (_handlers.broken) _handlers.broken();
        });
    if (response.status == notKnownStatus) return;
    _queue->asyncAfter(nextWait(), [self = weak_from_this()] {
        if (const auto stream = self.lock()) stream->_gate.pass([&] { stream->connect(); });
    });
}

std::chrono::microseconds HttpPushStream::nextWait() {
    const auto wait = std::exchange(_wait, std::min(_wait * 2, longestWait));
    const auto share = static_cast<std::int64_t>(std::hash<std::string>()(_environment.newIdentifier()) % 1000);
    return std::chrono::microseconds(wait) * (1000 + share) / 2000;
}

}  // namespace zun
