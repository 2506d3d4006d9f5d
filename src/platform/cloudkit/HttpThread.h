#pragma once

// HTTP transfers on one thread of their own, over connections that are kept open and used again. The thread starts with
// the first transfer.
//
// Any thread. When it is stopped or destroyed, transfers that have not ended end as broken off.

#include <curl/curl.h>

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
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

struct HttpResponse {
    CURLcode code = CURLE_OK;
    long status = 0;
    double retryAfter = 0;  // seconds
    std::string body;
};

// Known by both sides until it has ended.
class HttpTransfer;
using HttpTransferPtr = std::shared_ptr<HttpTransfer>;

// For a thread on which transfers run: writing to a connection that the other side has closed is an error there, not
// the end of the program.
void blockPipeSignal();

class HttpThread : public std::enable_shared_from_this<HttpThread> {
  public:
    using Ended = std::function<void(HttpResponse)>;

    HttpThread();
    ~HttpThread();
    HttpThread(const HttpThread&) = delete;
    HttpThread& operator=(const HttpThread&) = delete;

    // `ended` runs once on the transfers' thread, and must not block it.
    HttpTransferPtr start(HttpRequest request, Ended ended);
    // It ends as broken off, unless it has ended.
    void cancel(const HttpTransferPtr& transfer);
    // Waits for the thread's end, after which transfers end as soon as they are started. On the thread itself, where
    // the last one who holds a transport may let go of it, that end follows.
    void stop();

  private:
    void run();
    void takeCommands();
    void takeEnded();
    void end(const HttpTransferPtr& transfer, CURLcode code);

    CURLM* const _multi;
    std::mutex _mutex;
    std::vector<HttpTransferPtr> _toStart, _toCancel;
    bool _isStopping = false;
    std::thread _thread;
    std::vector<HttpTransferPtr> _running;  // the thread's own
};

}  // namespace zun
