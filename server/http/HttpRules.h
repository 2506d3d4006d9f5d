#pragma once

// How requests and answers of the protocol look in HTTP, without any socket. Plain functions; any thread.

#include <optional>
#include <string>
#include <string_view>

#include "platform/cloudprotocol/Messages.h"

namespace zun::cloud {

[[nodiscard]] unsigned statusOf(CKErrorCode code);
// The secret of "Bearer SECRET"; empty for anything else.
[[nodiscard]] std::string bearerOf(std::string_view header);
// The part of the path after the version; nothing if it is not of this protocol.
[[nodiscard]] std::optional<std::string_view> pathInProtocol(std::string_view target);
// The number that a stream goes on from; nothing if it is none.
[[nodiscard]] std::optional<std::uint64_t> lastEventOf(std::string_view header);

// By what strangers are told apart: an address, but of IPv6 the network, since whoever has one address there has all of
// its network.
[[nodiscard]] std::string strangerOf(std::string_view address);

// The events of a push stream: that it is open, and each push.
[[nodiscard]] std::string openedEvent(std::uint64_t lastNumber, bool hasGap);
[[nodiscard]] std::string pushEvent(const Push& push);
inline constexpr std::string_view heartbeat = ":\n\n";

}  // namespace zun::cloud
