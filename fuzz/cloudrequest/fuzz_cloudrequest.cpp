// Requests as they reach the service: any bytes are either refused or become a message that is written and read back
// the same, and that another reader of JSON takes as well. The first byte chooses the path.

#include <boost/json/parse.hpp>
#include <cstdint>
#include <cstdlib>

#include "platform/cloudprotocol/MessageCodec.h"
#include "platform/cloudprotocol/Routes.h"

using namespace zun::cloud;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::string_view body(reinterpret_cast<const char*>(data) + 1, size - 1);
    std::string_view path;
    std::size_t index = 0;
    const auto choose = [&](const auto& route) {
        if (index++ == data[0] % std::variant_size_v<Request>) path = route.path;
    };
    std::apply([&](const auto&... route) { (choose(route), ...); }, routes);

    const auto request = decodeRequest(path, body);
    if (!std::holds_alternative<Request>(request)) return 0;
    boost::json::error_code error;
    boost::json::parse(body, error);
    if (error) std::abort();
    const auto written = encode(std::get<Request>(request));
    const auto again = decodeRequest(path, written);
    if (!std::holds_alternative<Request>(again) || encode(std::get<Request>(again)) != written) std::abort();
    return 0;
}
