#pragma once

// What the service does with libsodium: passwords, secrets that are stored hashed, and tokens that only the service can
// make. Plain functions; any thread. Hashing a password takes as long as its cost says.

#include <optional>
#include <string>
#include <string_view>

#include "server/model/RandomSource.h"
#include "server/model/ServiceLimits.h"

namespace zun::cloud {

// Both throw std::bad_alloc where there is no memory for it.
[[nodiscard]] std::string hashPassword(std::string_view password, const PasswordCost& cost);
[[nodiscard]] bool passwordMatches(std::string_view hash, std::string_view password);

// Letters, digits, '-' and '_'.
[[nodiscard]] std::string asText(std::string_view bytes);
[[nodiscard]] std::optional<std::string> fromText(std::string_view text);

// For secrets of full entropy, which need no slow hash.
[[nodiscard]] std::string hashSecret(std::string_view secret);
[[nodiscard]] bool equalSecrets(std::string_view left, std::string_view right);

// A token is `content` and a seal over it and over `binding`, which the token does not carry.
[[nodiscard]] std::string seal(std::string_view content, std::string_view binding, std::string_view key);
// The content; nothing if the service did not make this token for this binding.
[[nodiscard]] std::optional<std::string> unseal(std::string_view token, std::string_view binding, std::string_view key);

}  // namespace zun::cloud
