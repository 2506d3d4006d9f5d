#pragma once

// Keeps the push stream of the signed-in device open and hands on what comes. A push that names many changes at once,
// or pushes that may have been missed, arrive as a notification of neither kind, whose receiver looks at everything.
//
// Any thread. The handler runs on a queue of the dispatch, one notification at a time, and not any more once this is
// destroyed.

#include <functional>
#include <memory>
#include <mutex>

#include "platform/cloudkit/CKSubscription.h"
#include "platform/cloudkit/CloudSession.h"
#include "platform/cloudkit/CloudTransport.h"
#include "platform/foundation/Dispatch.h"

namespace zun {

class CKPushReceiver {
  public:
    using Handler = std::function<void(const CKNotification&)>;

    // The collaborators outlive the receiver. Follows the session: opens and closes streams as people sign in and out.
    CKPushReceiver(CloudTransport& transport, CloudSessionSource& sessions, Dispatch& dispatch, Handler handler);
    ~CKPushReceiver();
    CKPushReceiver(const CKPushReceiver&) = delete;
    CKPushReceiver& operator=(const CKPushReceiver&) = delete;

    void start();

  private:
    struct Shared;
    void follow();

    CloudTransport& _transport;
    CloudSessionSource& _sessions;
    const std::shared_ptr<Shared> _shared;
    std::mutex _mutex;
    std::string _deviceToken, _certificateFingerprint;  // of the open stream
    std::unique_ptr<CloudPushStream> _stream;
    Observation _observation;
};

}  // namespace zun
