#pragma once

// What a service shows of itself, and how transfers to it are bound to what the user has accepted.

#include <curl/curl.h>

#include <string>
#include <variant>

#include "platform/cloudkit/HttpTransfers.h"
#include "platform/cloudkit/ServiceCertificate.h"

namespace zun {

// Connects, looks at the certificate and closes; sends nothing. Any thread; blocks for up to ten seconds.
[[nodiscard]] std::variant<ServiceCertificate, HttpFailure> lookAtServiceCertificate(const std::string& URL);

// Makes the transfer accept only that certificate, whoever signed it and whatever name it bears. The text lives as long
// as the transfer.
void acceptOnlyCertificate(CURL* transfer, const std::string& fingerprint);

}  // namespace zun
