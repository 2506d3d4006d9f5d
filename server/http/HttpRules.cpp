#include "server/http/HttpRules.h"

#include <fmt/format.h>

#include <boost/asio/ip/address.hpp>
#include <boost/asio/ip/network_v6.hpp>
#include <charconv>

#include "platform/cloudprotocol/MessageCodec.h"

namespace zun::cloud {

unsigned statusOf(CKErrorCode code) {
    switch (code) {
        case CKErrorCode::NotAuthenticated:
            return 401;
        case CKErrorCode::PermissionFailure:
        case CKErrorCode::MissingEntitlement:
            return 403;
        case CKErrorCode::UnknownItem:
        case CKErrorCode::ZoneNotFound:
            return 404;
        case CKErrorCode::ServerRecordChanged:
        case CKErrorCode::ServerRejectedRequest:
        case CKErrorCode::ConstraintViolation:
            return 409;
        case CKErrorCode::ChangeTokenExpired:
            return 410;
        case CKErrorCode::LimitExceeded:
            return 413;
        case CKErrorCode::RequestRateLimited:
            return 429;
        case CKErrorCode::InternalError:
            return 500;
        case CKErrorCode::ServiceUnavailable:
        case CKErrorCode::ZoneBusy:
            return 503;
        case CKErrorCode::QuotaExceeded:
            return 507;
        default:
            return 400;
    }
}

std::string bearerOf(std::string_view header) {
    constexpr std::string_view scheme = "Bearer ";
    return header.starts_with(scheme) ? std::string(header.substr(scheme.size())) : std::string();
}

std::optional<std::string_view> pathInProtocol(std::string_view target) {
    constexpr std::string_view root = "/v1/";
    if (!target.starts_with(root)) return std::nullopt;
    return target.substr(root.size());
}

std::optional<std::uint64_t> lastEventOf(std::string_view header) {
    std::uint64_t number = 0;
    const auto* end = header.data() + header.size();
    const auto [stop, error] = std::from_chars(header.data(), end, number);
    if (header.empty() || error != std::errc() || stop != end) return std::nullopt;
    return number;
}

std::string strangerOf(std::string_view text) {
    namespace ip = boost::asio::ip;
    constexpr unsigned short bitsOfNetwork = 64;
    boost::system::error_code error;
    const auto address = ip::make_address(text, error);
    if (error || !address.is_v6()) return std::string(text);
    const auto known = address.to_v6();
    if (known.is_v4_mapped()) return ip::make_address_v4(ip::v4_mapped, known).to_string();
    return ip::network_v6(known, bitsOfNetwork).canonical().to_string();
}

std::string openedEvent(std::uint64_t lastNumber, bool hasGap) {
    return fmt::format("event: opened\nid: {}\ndata: {{\"gap\":{}}}\n\n", lastNumber, hasGap);
}

std::string pushEvent(const Push& push) {
    return fmt::format("event: push\nid: {}\ndata: {}\n\n", push.number, encode(push));
}

}  // namespace zun::cloud
