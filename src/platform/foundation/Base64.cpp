#include "platform/foundation/Base64.h"

#include <array>

namespace zun {
namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace

std::string base64FromBytes(const Bytes& bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
        std::uint32_t group = 0;
        for (std::size_t j = 0; j < 3; ++j)
            group = group << 8 | (j < count ? bytes[i + j] : 0u);
        for (std::size_t j = 0; j < 4; ++j) {
            text += j <= count ? alphabet[group >> (18 - 6 * j) & 63u] : '=';
        }
    }
    return text;
}

std::optional<Bytes> bytesFromBase64(std::string_view text) {
    if (text.size() % 4 != 0) return std::nullopt;
    std::size_t padding = 0;
    while (padding < 2 && padding < text.size() && text[text.size() - 1 - padding] == '=')
        ++padding;
    Bytes bytes;
    bytes.reserve(text.size() / 4 * 3);
    std::uint32_t group = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isPadding = i >= text.size() - padding;
        const auto digit = isPadding ? 0 : alphabet.find(text[i]);
        if (digit == std::string_view::npos) return std::nullopt;
        group = group << 6 | static_cast<std::uint32_t>(digit);
        if (i % 4 != 3) continue;
        for (int shift = 16; shift >= 0; shift -= 8)
            bytes.push_back(static_cast<std::uint8_t>(group >> shift));
        group = 0;
    }
    bytes.erase(bytes.end() - static_cast<std::ptrdiff_t>(padding), bytes.end());
    return bytes;
}

}  // namespace zun
