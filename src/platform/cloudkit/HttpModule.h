#pragma once

// The part of the program that speaks to the network. It and the libraries that it brings are a module, loaded when
// somebody needs them for the first time: most starts have nobody signed in or nothing to send yet, and would pay for
// two dozen libraries with some milliseconds and megabytes. Once loaded it stays.

#include <memory>
#include <mutex>
#include <string>
#include <variant>

#include "platform/cloudkit/HttpTransfers.h"
#include "platform/cloudkit/ServiceCertificate.h"

namespace zun {

struct HttpModule {
    std::shared_ptr<HttpTransfers> (*makeTransfers)();
    std::variant<ServiceCertificate, HttpFailure> (*lookAtServiceCertificate)(const std::string& URL);
};

// What the module exports: const zun::HttpModule* zunHttpModule().
constexpr const char* httpModuleFile = "zun-http.so";
constexpr const char* httpModuleEntry = "zunHttpModule";

// Any thread; the first call reads the module from the disk. Where it cannot be loaded, say in a broken installation,
// every transfer fails with the reason.
[[nodiscard]] const HttpModule& httpModule();

// Transfers that are made for the first request, so that whoever has a transport need not wait for the module. Any
// thread.
class LazyTransfers {
  public:
    LazyTransfers() = default;
    ~LazyTransfers() { stop(); }
    LazyTransfers(const LazyTransfers&) = delete;
    LazyTransfers& operator=(const LazyTransfers&) = delete;

    // Null once it has been stopped. The first call may read from the disk.
    [[nodiscard]] std::shared_ptr<HttpTransfers> get();
    // See HttpTransfers::stop().
    void stop();

  private:
    std::mutex _mutex;
    std::shared_ptr<HttpTransfers> _transfers;
    bool _isStopped = false;
};

// As an error of the client: 3 if nobody was reached, 4 if the connection broke.
[[nodiscard]] CKError errorOf(const HttpFailure& failure);

}  // namespace zun
