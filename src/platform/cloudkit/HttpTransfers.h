#pragma once

// HTTP transfers on one thread of their own, over connections that are kept open and used again. The thread starts with
// the first transfer.
//
// Any thread. When it is stopped or destroyed, transfers that have not ended end as broken off.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zun {

struct HttpRequest {
    enum class Kind { Post, EventStream };
    Kind kind = Kind::Post;
    std::string URL;
    std::vector<std::string> headers;
    std::string body;
    std::string certificateFingerprint;  // see ServiceAddress
    // On the transfer's thread, as bytes arrive with the status 200; they are not kept then. May be empty.
    std::function<void(std::string_view)> received;
};

// Why there is no answer.
struct HttpFailure {
    enum class Kind { NobodyReached, BrokenOff };
    Kind kind = Kind::BrokenOff;
    std::string reason;  // in English, for logs
};

struct HttpResponse {
    std::optional<HttpFailure> failure;
    long status = 0;
    double retryAfter = 0;  // seconds
    std::string body;
};

// Known by both sides until it has ended.
class HttpTransfer {
  public:
    virtual ~HttpTransfer() = default;
};
using HttpTransferPtr = std::shared_ptr<HttpTransfer>;

class HttpTransfers {
  public:
    using Ended = std::function<void(HttpResponse)>;

    virtual ~HttpTransfers() = default;

    // `ended` runs once on the transfers' thread, and must not block it.
    virtual HttpTransferPtr start(HttpRequest request, Ended ended) = 0;
    // It ends as broken off, unless it has ended.
    virtual void cancel(const HttpTransferPtr& transfer) = 0;
    // Waits for the thread's end, after which transfers end as soon as they are started. On the thread itself, where
    // the last one who holds a transport may let go of it, that end follows.
    virtual void stop() = 0;
};

}  // namespace zun
