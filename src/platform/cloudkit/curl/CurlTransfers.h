#pragma once

#include <curl/curl.h>

#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/cloudkit/HttpTransfers.h"

namespace zun {

class CurlTransfer;

class CurlTransfers final : public HttpTransfers, public std::enable_shared_from_this<CurlTransfers> {
  public:
    CurlTransfers();
    ~CurlTransfers() override;
    CurlTransfers(const CurlTransfers&) = delete;
    CurlTransfers& operator=(const CurlTransfers&) = delete;

    HttpTransferPtr start(HttpRequest request, Ended ended) override;
    void cancel(const HttpTransferPtr& transfer) override;
    void stop() override;

  private:
    void run();
    void takeCommands();
    void takeEnded();
    void end(const HttpTransferPtr& transfer, CURLcode code);

    CURLM* const _multi;
    std::mutex _mutex;
    std::vector<std::shared_ptr<CurlTransfer>> _toStart;
    std::vector<HttpTransferPtr> _toCancel;
    bool _isStopping = false;
    std::thread _thread;
    std::vector<std::shared_ptr<CurlTransfer>> _running;  // the thread's own
};

// For a thread on which transfers run: writing to a connection that the other side has closed is an error there, not
// the end of the program.
void blockPipeSignal();

[[nodiscard]] HttpFailure failureOfTransfer(CURLcode code);

}  // namespace zun
