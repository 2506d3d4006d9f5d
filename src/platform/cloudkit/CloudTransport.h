#pragma once

// The road from a client to a record service. Two of them: HttpTransport, and InProcessTransport, which hands the
// messages to a service in the same process (tests, simulations).
//
// Any thread. Nothing here blocks. A completion runs exactly once, on any thread, perhaps before send() returns; a
// service that cannot be reached is a CKError of code 3 or 4.

#include <functional>
#include <memory>
#include <string>

#include "platform/cloudprotocol/Messages.h"

namespace zun {

// Open while it lives; destroying it closes it, after which no handler runs any more.
class CloudPushStream {
  public:
    virtual ~CloudPushStream() = default;
};

class CloudTransport {
  public:
    using Completion = std::function<void(cloud::Answer)>;
    struct PushHandlers {
        std::function<void(const cloud::Push&)> push;
        // The stream has been opened, again after each break; pushes may have been missed if `hasGap`.
        std::function<void(bool hasGap)> opened;
        std::function<void()> broken;
    };

    virtual ~CloudTransport() = default;
    // `deviceToken` may be empty where the request needs none.
    virtual void send(const std::string& deviceToken, cloud::Request request, Completion completion) = 0;
    // Keeps a stream of the device's pushes open until it is destroyed: connects anew by itself, with growing waits.
    [[nodiscard]] virtual std::unique_ptr<CloudPushStream> openPushStream(const std::string& deviceToken,
                                                                          PushHandlers handlers) = 0;
    // What is under way fails, and so does all that is sent afterwards. Whoever made the transport calls it last: a
    // completion may hold it, so letting go of it is not sure to end it. May block shortly.
    virtual void close() {}
};

}  // namespace zun
