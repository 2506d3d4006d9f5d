#pragma once

// The road to a service in the same process. Messages go through their written form, so that both sides see what a
// network would show them. The service can be taken away and put back, as if its process had died: what was under way
// then fails as a broken connection does, and push streams are opened anew.
//
// Any thread.

#include <chrono>

#include "platform/cloudkit/CloudTransport.h"
#include "platform/foundation/Dispatch.h"
#include "server/model/CloudService.h"

namespace zun {

class InProcessTransport final : public CloudTransport {
  public:
    // `peer` is what the service takes for the address of the client. The dispatch outlives the transport's streams.
    InProcessTransport(cloud::CloudService* service, Dispatch& dispatch, std::string peer = "in-process");
    ~InProcessTransport() override;

    void send(const std::string& deviceToken, cloud::Request request, Completion completion) override;
    [[nodiscard]] std::unique_ptr<CloudPushStream> openPushStream(const std::string& deviceToken,
                                                                  PushHandlers handlers) override;
    // Null for none. The former service is not used any more when this returns.
    void setService(cloud::CloudService* service);

  private:
    class Road;
    class Pushes;
    class Stream;
    const std::shared_ptr<Road> _road;
};

}  // namespace zun
