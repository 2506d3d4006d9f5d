#include "platform/cloudkit/CKPushReceiver.h"

#include <atomic>

#include "platform/foundation/BlockGate.h"

namespace zun {
namespace {

CKNotification notificationOf(const cloud::Push& push) {
    using Type = CKNotification::Type;
    switch (push.kind) {
        case cloud::Push::Kind::Query:
            return {Type::Query, push.recordID, push.subscriptionID};
        case cloud::Push::Kind::Database:
            return {Type::Database, std::nullopt, push.subscriptionID};
        case cloud::Push::Kind::None:
            break;
    }
    return {};
}

}  // namespace

// Shared with what waits on the queue.
struct CKPushReceiver::Shared {
    Shared(DispatchQueuePtr serial, Handler told) : queue(std::move(serial)), handler(std::move(told)) {}

    const DispatchQueuePtr queue;
    const Handler handler;
    BlockGate gate;
};

CKPushReceiver::CKPushReceiver(CloudTransport& transport, CloudSessionSource& sessions, Dispatch& dispatch,
                               Handler handler)
    : _transport(transport),
      _sessions(sessions),
      _shared(std::make_shared<Shared>(dispatch.makeSerialQueue("pushes", QualityOfService::UserInitiated),
                                       std::move(handler))) {}

CKPushReceiver::~CKPushReceiver() {
    _observation.reset();
    // A change of session that is under way may still arrive; it must not find half of this.
    _shared->gate.close();
    _stream.reset();
}

void CKPushReceiver::start() {
    _observation = _sessions.observeSession([this, shared = _shared] { shared->gate.pass([this] { follow(); }); });
    follow();
}

void CKPushReceiver::follow() {
    const std::scoped_lock lock(_mutex);
    const auto session = _sessions.currentSession();
    const auto token = session ? session->deviceToken : std::string();
    const auto certificate = session ? session->certificateFingerprint : std::string();
    if (token == _deviceToken && certificate == _certificateFingerprint) return;
    _deviceToken = token;
    _certificateFingerprint = certificate;
    _stream.reset();
    if (token.empty()) return;
    const auto post = [shared = _shared](const CKNotification& notification) {
        shared->queue->async([shared, notification] { shared->gate.pass([&] { shared->handler(notification); }); });
    };
    CloudTransport::PushHandlers handlers;
    handlers.push = [post](const cloud::Push& push) { post(notificationOf(push)); };
    // What came between the last look and the first opening was pushed to nobody.
    handlers.opened = [post, isFirst = std::make_shared<std::atomic<bool>>(true)](bool hasGap) {
        if (isFirst->exchange(false) || hasGap) post({});
    };
    _stream = _transport.openPushStream(token, std::move(handlers));
}

}  // namespace zun
