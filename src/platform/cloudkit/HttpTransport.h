#pragma once

// The road to a service over HTTP: POST /v1/... for requests, GET /v1/push for the stream of pushes. TLS with the
// certificates that the system trusts, or with the one that the user has accepted; proxies from the environment's
// variables; ten seconds to connect and a minute for a whole request.
//
// Any thread. Messages are written and read on queues of the dispatch, where completions and handlers run as well.

#include <memory>
#include <mutex>
#include <string>

#include "platform/cloudkit/CloudTransport.h"
#include "platform/cloudkit/HttpModule.h"
#include "platform/foundation/Dispatch.h"
#include "platform/foundation/Environment.h"

namespace zun {

class HttpTransport final : public CloudTransport {
  public:
    // The collaborators outlive the transport, and it outlives its streams. What has not been answered when it is
    // destroyed fails with code 4.
    HttpTransport(ServiceAddress address, Dispatch& dispatch, const Environment& environment);
    ~HttpTransport() override;
    HttpTransport(const HttpTransport&) = delete;
    HttpTransport& operator=(const HttpTransport&) = delete;

    // For requests and connections from now on.
    void setAddress(ServiceAddress address);
    [[nodiscard]] ServiceAddress address() const;

    void send(const std::string& deviceToken, cloud::Request request, Completion completion) override;
    [[nodiscard]] std::unique_ptr<CloudPushStream> openPushStream(const std::string& deviceToken,
                                                                  PushHandlers handlers) override;
    // Waits for the transfers' thread.
    void close() override { _transfers->stop(); }

  private:
    friend class HttpPushStream;
    // Without a body and its headers.
    [[nodiscard]] HttpRequest requestTo(std::string_view path, const std::string& deviceToken) const;

    Dispatch& _dispatch;
    const Environment& _environment;
    mutable std::mutex _mutex;
    ServiceAddress _address;
    const std::shared_ptr<LazyTransfers> _transfers = std::make_shared<LazyTransfers>();
};

}  // namespace zun
