// Answers, pushes and the bytes of stored records as they reach the client: any bytes are either refused or become
// something that is written and read back the same. The first byte chooses what was asked.

#include <cstdint>
#include <cstdlib>

#include "platform/cloudprotocol/MessageCodec.h"
#include "platform/cloudprotocol/Routes.h"

using namespace zun::cloud;

namespace {

template <class Whole, class Decode>
void check(std::string_view body, Decode decode) {
    const std::variant<Whole, Malformed> message = decode(body);
    if (!std::holds_alternative<Whole>(message)) return;
    const auto written = encode(std::get<Whole>(message));
    const std::variant<Whole, Malformed> again = decode(written);
    if (!std::holds_alternative<Whole>(again) || encode(std::get<Whole>(again)) != written) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::string_view body(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::size_t chosen = data[0] % (std::variant_size_v<Request> + 2);
    std::size_t index = 0;
    const auto answer = [&]<class Asks, class Answers>(const Route<Asks, Answers>&) {
        if (index++ == chosen) check<Answer>(body, [](std::string_view text) { return decodeAnswer(Asks(), text); });
    };
    std::apply([&](const auto&... route) { (answer(route), ...); }, routes);
    if (index++ == chosen) check<Push>(body, decodePush);
    if (index++ == chosen) check<zun::CKRecord>(body, decodeRecord);
    return 0;
}
