#pragma once

// A service whose answers the test writes. Answers come at once unless they are held back. One thread.

#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "platform/cloudkit/CloudTransport.h"

namespace zun {

class ScriptedCloudTransport final : public CloudTransport {
  public:
    using Script = std::function<cloud::Answer(const cloud::Request&)>;

    void send(const std::string& deviceToken, cloud::Request request, Completion completion) override {
        deviceTokens.push_back(deviceToken);
        requests.push_back(request);
        if (!holdsBack) return completion(script(request));
        held.push_back([this, request = std::move(request), completion] { completion(script(request)); });
    }
    std::unique_ptr<CloudPushStream> openPushStream(const std::string& deviceToken, PushHandlers handlers) override {
        struct Stream final : CloudPushStream {
            explicit Stream(ScriptedCloudTransport& from) : transport(from) {}
            ~Stream() override { transport.streams.pop_back(); }
            ScriptedCloudTransport& transport;
        };
        streams.emplace_back(deviceToken, std::move(handlers));
        return std::make_unique<Stream>(*this);
    }

    void answerHeld() {
        auto waiting = std::exchange(held, {});
        for (auto& answer : waiting)
            answer();
    }
    template <class Asked>
    const Asked& asked(std::size_t index) const {
        return std::get<Asked>(requests.at(index));
    }

    Script script = [](const cloud::Request&) { return cloud::Answer(CKError{CKErrorCode::InternalError, "", {}}); };
    bool holdsBack = false;
    std::vector<cloud::Request> requests;
    std::vector<std::string> deviceTokens;
    std::vector<std::function<void()>> held;
    std::vector<std::pair<std::string, PushHandlers>> streams;  // open ones
};

}  // namespace zun
