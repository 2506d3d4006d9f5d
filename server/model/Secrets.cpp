#include "server/model/Secrets.h"

#include <sodium.h>

#include <array>
#include <cerrno>
#include <new>
#include <stdexcept>

#include "server/model/RowCoding.h"

namespace zun::cloud {
namespace {

constexpr std::size_t sealBytes = 16;

const unsigned char* unsignedBytes(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

void startLibrary() {
    static const bool started = sodium_init() >= 0;
    if (!started) throw std::runtime_error("the library of ciphers cannot start");
}

std::string sealOf(std::string_view content, std::string_view binding, std::string_view key) {
    startLibrary();
    crypto_generichash_state state;
    std::string sealed(sealBytes, '\0');
    const auto length = orderedNumber(content.size());
    crypto_generichash_init(&state, unsignedBytes(key), key.size(), sealBytes);
    // With the length before it, no other split of the two can give the same seal.
    crypto_generichash_update(&state, unsignedBytes(length), length.size());
    crypto_generichash_update(&state, unsignedBytes(content), content.size());
    crypto_generichash_update(&state, unsignedBytes(binding), binding.size());
    crypto_generichash_final(&state, reinterpret_cast<unsigned char*>(sealed.data()), sealBytes);
    return sealed;
}

}  // namespace

SystemRandomSource::SystemRandomSource() {
    startLibrary();
}

std::string SystemRandomSource::bytes(std::size_t count) {
    std::string random(count, '\0');
    randombytes_buf(random.data(), count);
    return random;
}

std::string hashPassword(std::string_view password, const PasswordCost& cost) {
    startLibrary();
    std::array<char, crypto_pwhash_STRBYTES> hash{};
    if (crypto_pwhash_str_alg(hash.data(), password.data(), password.size(), cost.operations, cost.memoryBytes,
                              crypto_pwhash_ALG_ARGON2ID13) != 0)
        throw std::bad_alloc();
    return hash.data();
}

bool passwordMatches(std::string_view hash, std::string_view password) {
    startLibrary();
    errno = 0;
    if (crypto_pwhash_str_verify(std::string(hash).c_str(), password.data(), password.size()) == 0) return true;
    // Nobody shall hear that the password is wrong because the machine is short of memory.
    if (errno == ENOMEM) throw std::bad_alloc();
    return false;
}

std::string asText(std::string_view bytes) {
    constexpr int variant = sodium_base64_VARIANT_URLSAFE_NO_PADDING;
    std::string text(sodium_base64_encoded_len(bytes.size(), variant), '\0');
    sodium_bin2base64(text.data(), text.size(), unsignedBytes(bytes), bytes.size(), variant);
    text.pop_back();  // its final zero
    return text;
}

std::optional<std::string> fromText(std::string_view text) {
    std::string bytes(text.size(), '\0');
    std::size_t length = 0;
    const char* end = nullptr;
    if (sodium_base642bin(reinterpret_cast<unsigned char*>(bytes.data()), bytes.size(), text.data(), text.size(),
                          nullptr, &length, &end, sodium_base64_VARIANT_URLSAFE_NO_PADDING) != 0 ||
        end != text.data() + text.size())
        return std::nullopt;
    bytes.resize(length);
    return bytes;
}

std::string hashSecret(std::string_view secret) {
    startLibrary();
    std::string hash(crypto_generichash_BYTES, '\0');
    crypto_generichash(reinterpret_cast<unsigned char*>(hash.data()), hash.size(), unsignedBytes(secret), secret.size(),
                       nullptr, 0);
    return hash;
}

bool equalSecrets(std::string_view left, std::string_view right) {
    return left.size() == right.size() && sodium_memcmp(left.data(), right.data(), left.size()) == 0;
}

std::string seal(std::string_view content, std::string_view binding, std::string_view key) {
    return asText(std::string(content) + sealOf(content, binding, key));
}

std::optional<std::string> unseal(std::string_view token, std::string_view binding, std::string_view key) {
    auto bytes = fromText(token);
    if (!bytes || bytes->size() < sealBytes || bytes->size() > sealBytes + 1'024) return std::nullopt;
    const auto stated = bytes->substr(bytes->size() - sealBytes);
    bytes->resize(bytes->size() - sealBytes);
    if (!equalSecrets(stated, sealOf(*bytes, binding, key))) return std::nullopt;
    return bytes;
}

}  // namespace zun::cloud
