#pragma once

// The pushes of one device over HTTP. Connects again after each break, from the last push that came: after a second,
// then twice as long each time up to a minute, each time shortened by up to half, so that devices which lost a service
// together do not come back together. Stays closed once the service does not know the device any more.

#include <chrono>

#include "platform/cloudkit/EventStreamParser.h"
#include "platform/cloudkit/HttpTransport.h"
#include "platform/foundation/BlockGate.h"

namespace zun {

class HttpPushStream : public std::enable_shared_from_this<HttpPushStream> {
  public:
    HttpPushStream(const HttpTransport& transport, std::string deviceToken, CloudTransport::PushHandlers handlers);

    void open();
    // No handler runs after this.
    void close();

  private:
    void connect();
    void cancel(const HttpTransferPtr& transfer);
    void takeBytes(int attempt, std::string_view bytes);
    void takeEvent(const EventStreamParser::Event& event);
    void ended(int attempt, const HttpResponse& response);
    [[nodiscard]] std::chrono::microseconds nextWait();
    void later(Block block);

    const HttpTransport& _transport;
    Dispatch& _dispatch;
    const Environment& _environment;
    const std::string _deviceToken;
    const CloudTransport::PushHandlers _handlers;
    const DispatchQueuePtr _queue;
    const std::shared_ptr<LazyTransfers> _transfers;
    BlockGate _gate;
    std::mutex _mutex;
    HttpTransferPtr _transfer;
    EventStreamParser _parser;
    std::string _lastIdentifier;
    std::chrono::seconds _wait;
    int _attempt = 0;
    bool _isOpen = false;
    bool _isClosed = false;
};

}  // namespace zun
