#pragma once

// What a device shows: account, device and secret with points between, perhaps followed by the epoch that it knows.
// Plain values; the views are of the text that was read.

#include <optional>
#include <string_view>

namespace zun::cloud {

struct DeviceToken {
    // Of three random texts and an identifier; nothing that is longer was ever given out.
    static constexpr std::size_t longest = 256;

    std::string_view accountID, deviceID, secret, epoch;
    // All but the epoch, of which a device may name any.
    std::string_view credentials;

    // Nothing for what cannot be a token.
    [[nodiscard]] static std::optional<DeviceToken> read(std::string_view text) {
        const auto first = text.find('.');
        const auto second = first == std::string_view::npos ? first : text.find('.', first + 1);
        if (text.size() > longest || first == 0 || second == std::string_view::npos) return std::nullopt;
        const auto third = text.find('.', second + 1);
        const auto end = third == std::string_view::npos ? text.size() : third;
        return DeviceToken{text.substr(0, first), text.substr(first + 1, second - first - 1),
                           text.substr(second + 1, end - second - 1),
                           third == std::string_view::npos ? std::string_view() : text.substr(third + 1),
                           text.substr(0, end)};
    }
};

}  // namespace zun::cloud
