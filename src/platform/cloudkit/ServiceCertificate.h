#pragma once

// What a service shows of itself, for people who decide whether to trust a certificate that no authority has signed.

#include <string>
#include <variant>

#include "platform/cloudkit/ServiceAddress.h"
#include "platform/cloudprotocol/CKError.h"

namespace zun {

struct ServiceCertificate {
    std::string fingerprint;  // SHA-256, upper-case hexadecimal pairs with colons between
    std::string subject;      // one line
    std::string issuer;
    std::string notAfter;       // as the certificate's text form has it, in GMT
    bool isVouchedFor = false;  // by an authority that this system trusts, and for the service's name
};

// Connects, looks at the certificate and closes; sends nothing. Any thread; blocks for up to ten seconds. Error 3 if
// nobody was reached, 4 if the connection broke.
[[nodiscard]] std::variant<ServiceCertificate, CKError> fetchServiceCertificate(const std::string& URL);

}  // namespace zun
