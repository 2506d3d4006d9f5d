#pragma once

// Sends requests for the signed-in account and runs what waits for the answers on queues of the dispatch, never under a
// lock. Shared by all operations of a container, and closed with it: after close() nothing of them runs any more.
//
// Any thread.

#include <functional>
#include <memory>

#include "platform/cloudkit/CloudSession.h"
#include "platform/cloudkit/CloudTransport.h"
#include "platform/foundation/BlockGate.h"
#include "platform/foundation/Dispatch.h"

namespace zun {

class CloudRequests : public std::enable_shared_from_this<CloudRequests> {
  public:
    using AnswerBlock = std::function<void(cloud::Answer&)>;

    // The collaborators outlive close().
    CloudRequests(CloudTransport& transport, const CloudSessionSource& sessions, Dispatch& dispatch)
        : _transport(transport), _sessions(sessions), _dispatch(dispatch) {}

    // Blocks until blocks that are running on other threads have ended; those that have not begun are dropped.
    void close() { _gate.close(); }
    void run(QualityOfService quality, Block block);
    [[nodiscard]] std::optional<CloudSession> currentSession() const { return _sessions.currentSession(); }
    void send(const CloudSession& session, QualityOfService quality, cloud::Request request, AnswerBlock block);

  private:
    CloudTransport& _transport;
    const CloudSessionSource& _sessions;
    Dispatch& _dispatch;
    BlockGate _gate;
};

// Asks in the name of the account that was signed in when an operation began, all along the operation. Without one
// every question is answered with code 9.
class CloudCaller {
  public:
    CloudCaller(std::shared_ptr<CloudRequests> requests, QualityOfService quality)
        : _requests(std::move(requests)), _quality(quality), _session(_requests->currentSession()) {}

    [[nodiscard]] const std::optional<CloudSession>& session() const { return _session; }
    // The block runs once, on a queue; it may move from the answer.
    void ask(cloud::Request request, CloudRequests::AnswerBlock block) const;
    void run(Block block) const { _requests->run(_quality, std::move(block)); }

  private:
    std::shared_ptr<CloudRequests> _requests;
    QualityOfService _quality;
    std::optional<CloudSession> _session;
};

CKError makeCKError(CKErrorCode code, std::string description);

// The content of an answer, or the error in its place.
template <class Expected>
struct Received {
    explicit Received(cloud::Answer& answer) {
        if (auto* expected = std::get_if<Expected>(&answer)) {
            content = std::move(*expected);
        } else if (auto* failure = std::get_if<CKError>(&answer)) {
            error = std::move(*failure);
        } else {
            error = makeCKError(CKErrorCode::InternalError, "an answer to something else");
        }
    }
    Expected content;
    OptionalError error;
};

// Runs a block that may not be set.
template <class Function, class... Arguments>
void callIfSet(const Function& block, Arguments&&... arguments) {
    if (block) block(std::forward<Arguments>(arguments)...);
}

// None, or the error of a request of which single items failed.
OptionalError partialFailure(std::map<CKRecordID, CKError> failed);

}  // namespace zun
