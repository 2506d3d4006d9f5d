#include "platform/cloudkit/HttpModule.h"
#include "platform/cloudkit/curl/CertificateCheck.h"
#include "platform/cloudkit/curl/CurlTransfers.h"

namespace {

constexpr zun::HttpModule module{
    [] { return std::shared_ptr<zun::HttpTransfers>(std::make_shared<zun::CurlTransfers>()); },
    &zun::lookAtServiceCertificate};

}  // namespace

// Its name is httpModuleEntry. Called once for the process, before any of its threads uses the library.
extern "C" [[gnu::visibility("default")]] const zun::HttpModule* zunHttpModule() {
    curl_global_init(CURL_GLOBAL_DEFAULT);
    return &module;
}
