#include "platform/cloudkit/ServiceCertificate.h"

#include "platform/cloudkit/HttpModule.h"

namespace zun {

std::variant<ServiceCertificate, CKError> fetchServiceCertificate(const std::string& URL) {
    auto seen = httpModule().lookAtServiceCertificate(URL);
    if (const auto* failure = std::get_if<HttpFailure>(&seen)) return errorOf(*failure);
    return std::get<ServiceCertificate>(std::move(seen));
}

}  // namespace zun
