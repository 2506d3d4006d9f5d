#include "platform/cloudkit/HttpModule.h"

#include <dlfcn.h>

#include <utility>

#include "platform/cloudkit/CloudRequests.h"
#include "platform/foundation/Log.h"

namespace zun {
namespace {

std::string& whyMissing() {
    static std::string why;
    return why;
}

HttpFailure missing() {
    return {HttpFailure::Kind::NobodyReached, whyMissing()};
}

class MissingTransfers final : public HttpTransfers {
  public:
    HttpTransferPtr start(HttpRequest, Ended ended) override {
        HttpResponse response;
        response.failure = missing();
        ended(std::move(response));
        return std::make_shared<HttpTransfer>();
    }
    void cancel(const HttpTransferPtr&) override {}
    void stop() override {}
};

constexpr HttpModule missingModule{
    [] { return std::shared_ptr<HttpTransfers>(std::make_shared<MissingTransfers>()); },
    [](const std::string&) { return std::variant<ServiceCertificate, HttpFailure>(missing()); }};

// Found by the program's own run path.
const HttpModule* load() {
    void* const module = ::dlopen(httpModuleFile, RTLD_NOW | RTLD_LOCAL);
    using Entry = const HttpModule* (*)();
    const auto entry = module ? reinterpret_cast<Entry>(::dlsym(module, httpModuleEntry)) : nullptr;
    if (entry) return entry();
    const char* const why = ::dlerror();
    whyMissing() = why ? why : httpModuleFile;
    NSLog(whyMissing());
    return &missingModule;
}

}  // namespace

const HttpModule& httpModule() {
    static const HttpModule* const module = load();
    return *module;
}

std::shared_ptr<HttpTransfers> LazyTransfers::get() {
    const std::scoped_lock lock(_mutex);
    if (_isStopped) return nullptr;
    if (!_transfers) _transfers = httpModule().makeTransfers();
    return _transfers;
}

void LazyTransfers::stop() {
    std::shared_ptr<HttpTransfers> transfers;
    {
        const std::scoped_lock lock(_mutex);
        _isStopped = true;
        transfers = std::exchange(_transfers, nullptr);
    }
    if (transfers) transfers->stop();
}

CKError errorOf(const HttpFailure& failure) {
    return makeCKError(failure.kind == HttpFailure::Kind::NobodyReached ? CKErrorCode::NetworkUnavailable
                                                                        : CKErrorCode::NetworkFailure,
                       failure.reason);
}

}  // namespace zun
