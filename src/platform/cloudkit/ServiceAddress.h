#pragma once

#include <string>

namespace zun {

// Where a service is. The address is "https://HOST[:PORT]", or "http://..." for one on this computer or network.
struct ServiceAddress {
    std::string URL;
    // SHA-256 of the one certificate that is accepted, as fingerprintOf() writes it; empty: what the system trusts.
    std::string certificateFingerprint;
    bool operator==(const ServiceAddress&) const = default;
};

}  // namespace zun
