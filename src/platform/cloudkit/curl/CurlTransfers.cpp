#include "platform/cloudkit/curl/CurlTransfers.h"

#include <fcntl.h>
#include <signal.h>

#include <algorithm>
#include <utility>

#include "platform/cloudkit/curl/CertificateCheck.h"
#include "platform/cloudprotocol/ProtocolLimits.h"

namespace zun {
namespace {

constexpr long connectSeconds = 10, wholeSeconds = 60;
// A stream says something every half minute; three of them missing are a dead connection.
constexpr long silentSeconds = 90;
constexpr int longestPoll = 60'000;  // milliseconds; the thread is woken for everything it must do

}  // namespace

class CurlTransfer final : public HttpTransfer {
  public:
    CurlTransfer(HttpRequest request, HttpTransfers::Ended ended)
        : _request(std::move(request)), _ended(std::move(ended)), _handle(curl_easy_init()) {
        for (const auto& header : _request.headers)
            _headers = curl_slist_append(_headers, header.c_str());
        // Waiting for a permission to send the body costs a round trip.
        _headers = curl_slist_append(_headers, "Expect:");
        set(CURLOPT_URL, _request.URL.c_str());
        set(CURLOPT_PROTOCOLS_STR, "http,https");
        set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
        set(CURLOPT_NOSIGNAL, 1L);
        // Who ends a transfer must not wait for its name to be looked up, which can take half a minute and cannot be
        // called off.
        set(CURLOPT_QUICK_EXIT, 1L);
        set(CURLOPT_SOCKOPTFUNCTION, &closeInOtherPrograms);
        set(CURLOPT_CONNECTTIMEOUT, connectSeconds);
        set(CURLOPT_TCP_KEEPALIVE, 1L);
        set(CURLOPT_HTTPHEADER, _headers);
        set(CURLOPT_WRITEFUNCTION, &CurlTransfer::write);
        set(CURLOPT_WRITEDATA, this);
        if (!_request.certificateFingerprint.empty()) acceptOnlyCertificate(_handle, _request.certificateFingerprint);
        if (_request.kind == HttpRequest::Kind::EventStream) {
            set(CURLOPT_LOW_SPEED_LIMIT, 1L);
            set(CURLOPT_LOW_SPEED_TIME, silentSeconds);
        } else {
            set(CURLOPT_TIMEOUT, wholeSeconds);
            set(CURLOPT_ACCEPT_ENCODING, "");
            set(CURLOPT_POST, 1L);
            set(CURLOPT_POSTFIELDS, _request.body.data());
            set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(_request.body.size()));
        }
    }
    ~CurlTransfer() override {
        curl_easy_cleanup(_handle);
        curl_slist_free_all(_headers);
    }
    CurlTransfer(const CurlTransfer&) = delete;
    CurlTransfer& operator=(const CurlTransfer&) = delete;

    [[nodiscard]] CURL* handle() const { return _handle; }

    void end(CURLcode code) {
        curl_off_t retryAfter = 0;
        curl_easy_getinfo(_handle, CURLINFO_RETRY_AFTER, &retryAfter);
        curl_easy_getinfo(_handle, CURLINFO_RESPONSE_CODE, &_response.status);
        if (code != CURLE_OK) _response.failure = failureOfTransfer(code);
        _response.retryAfter = static_cast<double>(retryAfter);
        if (auto ended = std::exchange(_ended, nullptr)) ended(std::move(_response));
    }

  private:
    template <class Value>
    void set(CURLoption option, Value value) {
        curl_easy_setopt(_handle, option, value);
    }

    static int closeInOtherPrograms(void*, curl_socket_t socket, curlsocktype) {
        return ::fcntl(socket, F_SETFD, FD_CLOEXEC) == 0 ? CURL_SOCKOPT_OK : CURL_SOCKOPT_ERROR;
    }

    static std::size_t write(const char* bytes, std::size_t, std::size_t count, void* transfer) {
        auto& self = *static_cast<CurlTransfer*>(transfer);
        long status = 0;
        curl_easy_getinfo(self._handle, CURLINFO_RESPONSE_CODE, &status);
        if (self._request.received && status == 200) {
            self._request.received({bytes, count});
            return count;
        }
        // Less than what came ends the transfer.
        if (self._response.body.size() + count > cloud::largestBody) return 0;
        self._response.body.append(bytes, count);
        return count;
    }

    const HttpRequest _request;
    HttpTransfers::Ended _ended;
    CURL* const _handle;
    curl_slist* _headers = nullptr;
    HttpResponse _response;
};

CurlTransfers::CurlTransfers() : _multi(curl_multi_init()) {}

CurlTransfers::~CurlTransfers() {
    stop();
    curl_multi_cleanup(_multi);
}

void CurlTransfers::stop() {
    {
        const std::scoped_lock lock(_mutex);
        _isStopping = true;
    }
    curl_multi_wakeup(_multi);
    if (!_thread.joinable()) return;
    _thread.get_id() == std::this_thread::get_id() ? _thread.detach() : _thread.join();
}

HttpTransferPtr CurlTransfers::start(HttpRequest request, Ended ended) {
    auto transfer = std::make_shared<CurlTransfer>(std::move(request), std::move(ended));
    bool isTooLate = false;
    {
        const std::scoped_lock lock(_mutex);
        isTooLate = _isStopping;
        if (!isTooLate) _toStart.push_back(transfer);
        if (!isTooLate && !_thread.joinable()) _thread = std::thread([self = shared_from_this()] { self->run(); });
    }
    if (isTooLate) transfer->end(CURLE_ABORTED_BY_CALLBACK);
    curl_multi_wakeup(_multi);
    return transfer;
}

void CurlTransfers::cancel(const HttpTransferPtr& transfer) {
    {
        const std::scoped_lock lock(_mutex);
        _toCancel.push_back(transfer);
    }
    curl_multi_wakeup(_multi);
}

void blockPipeSignal() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

void CurlTransfers::run() {
    blockPipeSignal();
    const auto isStopping = [this] {
        const std::scoped_lock lock(_mutex);
        return _isStopping;
    };
    while (!isStopping()) {
        takeCommands();
        int running = 0;
        curl_multi_perform(_multi, &running);
        takeEnded();
        curl_multi_poll(_multi, nullptr, 0, longestPoll, nullptr);
    }
    takeCommands();
    while (!_running.empty())
        end(_running.back(), CURLE_ABORTED_BY_CALLBACK);
}

void CurlTransfers::takeCommands() {
    std::vector<std::shared_ptr<CurlTransfer>> toStart;
    std::vector<HttpTransferPtr> toCancel;
    {
        const std::scoped_lock lock(_mutex);
        toStart.swap(_toStart);
        toCancel.swap(_toCancel);
    }
    for (auto& transfer : toStart) {
        curl_multi_add_handle(_multi, transfer->handle());
        _running.push_back(std::move(transfer));
    }
    for (const auto& transfer : toCancel)
        end(transfer, CURLE_ABORTED_BY_CALLBACK);
}

void CurlTransfers::takeEnded() {
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(_multi, &left)) {
        if (message->msg != CURLMSG_DONE) continue;
        const auto code = message->data.result;
        const auto found = std::find_if(_running.begin(), _running.end(), [message](const auto& transfer) {
            return transfer->handle() == message->easy_handle;
        });
        if (found != _running.end()) end(*found, code);
    }
}

void CurlTransfers::end(const HttpTransferPtr& transfer, CURLcode code) {
    const auto found = std::find(_running.begin(), _running.end(), transfer);
    if (found == _running.end()) return;
    const auto ending = std::move(*found);
    _running.erase(found);
    curl_multi_remove_handle(_multi, ending->handle());
    ending->end(code);
}

HttpFailure failureOfTransfer(CURLcode code) {
    const bool isNobodyThere =
        code == CURLE_COULDNT_CONNECT || code == CURLE_COULDNT_RESOLVE_HOST || code == CURLE_COULDNT_RESOLVE_PROXY;
    return {isNobodyThere ? HttpFailure::Kind::NobodyReached : HttpFailure::Kind::BrokenOff, curl_easy_strerror(code)};
}

}  // namespace zun
