#include "platform/cloudkit/CloudRequests.h"

namespace zun {

void CloudRequests::run(QualityOfService quality, Block block) {
    // Inside the gate, since the dispatch may be gone once it is closed.
    _gate.pass([&] {
        _dispatch.concurrent(quality)->async(
            [self = shared_from_this(), block = std::move(block)] { self->_gate.pass(block); });
    });
}

void CloudRequests::send(const CloudSession& session, QualityOfService quality, cloud::Request request,
                         AnswerBlock block) {
    _gate.pass([&] {
        _transport.send(session.credential(), std::move(request),
                        [self = shared_from_this(), quality, session, block = std::move(block)](cloud::Answer answer) {
                            auto shared = std::make_shared<cloud::Answer>(std::move(answer));
                            self->run(quality, [self, session, block, shared] {
                                // Late news of one account must not get into the store of another, nor those from
                                // before a service was set back into a store that reckons with that.
                                const auto now = self->_sessions.knownAccount();
                                if (!now || now->accountID != session.accountID)
                                    *shared = makeCKError(CKErrorCode::NotAuthenticated, "signed out meanwhile");
                                else if (now->serviceEpoch != session.serviceEpoch)
                                    *shared = makeCKError(CKErrorCode::ChangeTokenExpired, "restored meanwhile");
                                block(*shared);
                            });
                        });
    });
}

void CloudCaller::ask(cloud::Request request, CloudRequests::AnswerBlock block) const {
    if (_session) return _requests->send(*_session, _quality, std::move(request), std::move(block));
    _requests->run(_quality, [block = std::move(block)] {
        cloud::Answer answer = makeCKError(CKErrorCode::NotAuthenticated, "nobody is signed in");
        block(answer);
    });
}

CKError makeCKError(CKErrorCode code, std::string description) {
    CKError error;
    error.code = code;
    error.description = std::move(description);
    return error;
}

OptionalError partialFailure(std::map<CKRecordID, CKError> failed) {
    if (failed.empty()) return std::nullopt;
    auto error = makeCKError(CKErrorCode::PartialFailure, "some items failed");
    error.userInfo.CKPartialErrorsByItemIDKey = std::move(failed);
    return error;
}

}  // namespace zun
