#include "platform/cloudkit/HttpTransport.h"

#include <fmt/format.h>

#include "platform/cloudkit/CloudRequests.h"
#include "platform/cloudkit/HttpPushStream.h"
#include "platform/cloudprotocol/MessageCodec.h"

namespace zun {
namespace {

// What a status means when the service's own words are missing: a proxy has answered, or a service of another time.
CKErrorCode codeOfStatus(long status) {
    switch (status) {
        case 401:
            return CKErrorCode::NotAuthenticated;
        case 413:
            return CKErrorCode::LimitExceeded;
        case 426:
            return CKErrorCode::IncompatibleVersion;
        case 429:
            return CKErrorCode::RequestRateLimited;
        case 502:
        case 504:
            return CKErrorCode::NetworkFailure;
        case 503:
            return CKErrorCode::ServiceUnavailable;
        default:
            return CKErrorCode::InternalError;
    }
}

cloud::Answer answerOf(const cloud::Request& asked, const HttpResponse& response) {
    if (response.failure) return errorOf(*response.failure);
    auto received = cloud::decodeAnswer(asked, response.body);
    auto* answer = std::get_if<cloud::Answer>(&received);
    const bool isRefusal = answer && std::holds_alternative<CKError>(*answer);
    if (answer && isRefusal == (response.status != 200)) return std::move(*answer);
    const auto reason =
        answer ? std::string("an answer that does not fit its status") : std::get<cloud::Malformed>(received).reason;
    auto error = makeCKError(codeOfStatus(response.status), fmt::format("status {}: {}", response.status, reason));
    if (response.retryAfter > 0) error.userInfo.CKErrorRetryAfterKey = response.retryAfter;
    return error;
}

class OpenStream final : public CloudPushStream {
  public:
    explicit OpenStream(std::shared_ptr<HttpPushStream> stream) : _stream(std::move(stream)) {}
    ~OpenStream() override { _stream->close(); }

  private:
    const std::shared_ptr<HttpPushStream> _stream;
};

}  // namespace

HttpTransport::HttpTransport(ServiceAddress address, Dispatch& dispatch, const Environment& environment)
    : _dispatch(dispatch), _environment(environment), _address(std::move(address)) {}

HttpTransport::~HttpTransport() {
    _transfers->stop();
}

void HttpTransport::setAddress(ServiceAddress address) {
    const std::scoped_lock lock(_mutex);
    if (_address == address) return;
    _address = std::move(address);
}

ServiceAddress HttpTransport::address() const {
    const std::scoped_lock lock(_mutex);
    return _address;
}

HttpRequest HttpTransport::requestTo(std::string_view path, const std::string& deviceToken) const {
    const auto to = address();
    HttpRequest request;
    request.URL = fmt::format("{}/v1/{}", to.URL.ends_with('/') ? to.URL.substr(0, to.URL.size() - 1) : to.URL, path);
    request.certificateFingerprint = to.certificateFingerprint;
    request.headers.push_back(fmt::format("Zun-Protocol: {}", cloud::protocolVersion));
    if (!deviceToken.empty()) request.headers.push_back("Authorization: Bearer " + deviceToken);
    return request;
}

void HttpTransport::send(const std::string& deviceToken, cloud::Request request, Completion completion) {
    const auto queue = _dispatch.concurrent(QualityOfService::UserInitiated);
    auto http = requestTo(cloud::pathOf(request), deviceToken);
    http.headers.emplace_back("Content-Type: application/json");
    const auto asked = std::make_shared<cloud::Request>(std::move(request));
    // Written elsewhere, since a large one takes longer than a frame.
    queue->async(
        [transfers = _transfers, queue, http = std::move(http), asked, completion = std::move(completion)]() mutable {
            const auto running = transfers->get();
            if (!running) return completion(errorOf({HttpFailure::Kind::BrokenOff, "ended before it was sent"}));
            http.body = cloud::encode(*asked);
            running->start(std::move(http), [queue, asked, completion = std::move(completion)](HttpResponse response) {
                auto shared = std::make_shared<HttpResponse>(std::move(response));
                queue->async([asked, completion, shared] { completion(answerOf(*asked, *shared)); });
            });
        });
}

std::unique_ptr<CloudPushStream> HttpTransport::openPushStream(const std::string& deviceToken, PushHandlers handlers) {
    auto stream = std::make_shared<HttpPushStream>(*this, deviceToken, std::move(handlers));
    stream->open();
    return std::make_unique<OpenStream>(std::move(stream));
}

}  // namespace zun
