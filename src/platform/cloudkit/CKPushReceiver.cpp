#include "platform/cloudkit/CKPushReceiver.h"

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

    void tell(const CKNotification& notification) {
        {
            const std::scoped_lock lock(mutex);
            if (isClosed) return;
            isTelling = true;
        }
        handler(notification);
        const std::scoped_lock lock(mutex);
        isTelling = false;
    }

    const DispatchQueuePtr queue;
    const Handler handler;
    std::mutex mutex;
    bool isClosed = false;
    bool isTelling = false;
};

CKPushReceiver::CKPushReceiver(CloudTransport& transport, CloudSessionSource& sessions, Dispatch& dispatch,
                               Handler handler)
    : _transport(transport),
      _sessions(sessions),
      _dispatch(dispatch),
      _shared(std::make_shared<Shared>(dispatch.makeSerialQueue("pushes", QualityOfService::UserInitiated),
                                       std::move(handler))) {}

CKPushReceiver::~CKPushReceiver() {
    _observation.reset();
    {
        const std::scoped_lock lock(_mutex);
        _stream.reset();
    }
    {
        const std::scoped_lock lock(_shared->mutex);
        _shared->isClosed = true;
    }
    _dispatch.waitUntil([this] {
        const std::scoped_lock lock(_shared->mutex);
        return !_shared->isTelling;
    });
}

void CKPushReceiver::start() {
    _observation = _sessions.observeSession([this] { follow(); });
    follow();
}

void CKPushReceiver::follow() {
    const std::scoped_lock lock(_mutex);
    const auto session = _sessions.currentSession();
    const auto token = session ? session->deviceToken : std::string();
    if (token == _deviceToken) return;
    _deviceToken = token;
    _stream.reset();
    if (token.empty()) return;
    const auto post = [shared = _shared, &dispatch = _dispatch](const CKNotification& notification) {
        shared->queue->async([shared, &dispatch, notification] {
            shared->tell(notification);
            dispatch.notify();
        });
    };
    CloudTransport::PushHandlers handlers;
    handlers.push = [post](const cloud::Push& push) { post(notificationOf(push)); };
    handlers.opened = [post](bool hasGap) {
        if (hasGap) post({});
    };
    _stream = _transport.openPushStream(token, std::move(handlers));
}

}  // namespace zun
