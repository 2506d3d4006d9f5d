#include "sync/ChangeTokens.h"

#include <utility>

namespace zun {

ChangeTokens::Reading::~Reading() {
    if (const auto tokens = _tokens.lock()) tokens->end(_generation, _knowsZones && _missing.empty());
}

bool ChangeTokens::Reading::isWanted() const {
    const auto tokens = _tokens.lock();
    return tokens && tokens->isWanted(_generation);
}

void ChangeTokens::Reading::setToken(const OptionalToken& token) {
    auto needsFormer = NeedsFormer::Yes;
    {
        const std::lock_guard lock(_mutex);
        if (_knowsZones && _missing.empty()) needsFormer = NeedsFormer::No;
    }
    if (const auto tokens = _tokens.lock()) tokens->setToken(_generation, token, needsFormer);
}

void ChangeTokens::Reading::expectZones(const std::vector<CKRecordZoneID>& zones) {
    const std::lock_guard lock(_mutex);
    _missing.insert(zones.begin(), zones.end());
    _knowsZones = true;
}

void ChangeTokens::Reading::didReadZone(const CKRecordZoneID& zone) {
    const std::lock_guard lock(_mutex);
    _missing.erase(zone);
}

ChangeTokens::ChangeTokens(ZNUserDefaults& defaults, CloudDatabaseKind kind) : _defaults(defaults), _kind(kind) {
    putBackFormer();
}

OptionalToken ChangeTokens::token() const {
    const std::lock_guard lock(_mutex);
    const auto bytes = stored();
    if (!bytes || bytes->empty()) return std::nullopt;
    return CKServerChangeToken(bytes->begin(), bytes->end());
}

void ChangeTokens::forget() {
    const std::lock_guard lock(_mutex);
    ++_generation;
    _readings = 0;
    _hasFailure = false;
    store(std::nullopt);
    storeFormer(std::nullopt);
}

void ChangeTokens::close() {
    const std::lock_guard lock(_mutex);
    _isClosed = true;
}

std::uint64_t ChangeTokens::begin() {
    const std::lock_guard lock(_mutex);
    ++_readings;
    return _generation;
}

void ChangeTokens::end(std::uint64_t generation, bool isComplete) {
    const std::lock_guard lock(_mutex);
    if (!isCurrent(generation)) return;
    // While another reading is under way, it is not known yet whether the former token is still needed.
    _hasFailure = _hasFailure || !isComplete;
    if (--_readings > 0) return;
    if (std::exchange(_hasFailure, false))
        putBackFormer();
    else
        storeFormer(std::nullopt);
}

bool ChangeTokens::isWanted(std::uint64_t generation) const {
    const std::lock_guard lock(_mutex);
    return isCurrent(generation);
}

void ChangeTokens::setToken(std::uint64_t generation, const OptionalToken& token, NeedsFormer needsFormer) {
    const std::lock_guard lock(_mutex);
    if (!isCurrent(generation)) return;
    if (!token) {
        // The service knows nothing of the former one either.
        store(std::nullopt);
        return storeFormer(std::nullopt);
    }
    // Empty bytes stand for no token at all.
    if (needsFormer == NeedsFormer::Yes && !former()) storeFormer(stored().value_or(Bytes()));
    store(Bytes(token->begin(), token->end()));
}

std::optional<Bytes> ChangeTokens::stored() const {
    return _kind == CloudDatabaseKind::Private ? _defaults.onGetPrivateDBToken() : _defaults.onGetSharedDBToken();
}

void ChangeTokens::store(const std::optional<Bytes>& token) {
    _kind == CloudDatabaseKind::Private ? _defaults.onSetPrivateDBToken(token) : _defaults.onSetSharedDBToken(token);
}

std::optional<Bytes> ChangeTokens::former() const {
    return _kind == CloudDatabaseKind::Private ? _defaults.onGetFormerPrivateDBToken()
                                               : _defaults.onGetFormerSharedDBToken();
}

void ChangeTokens::storeFormer(const std::optional<Bytes>& token) {
    _kind == CloudDatabaseKind::Private ? _defaults.onSetFormerPrivateDBToken(token)
                                        : _defaults.onSetFormerSharedDBToken(token);
}

void ChangeTokens::putBackFormer() {
    const auto token = former();
    if (!token) return;
    store(token->empty() ? std::nullopt : token);
    storeFormer(std::nullopt);
}

}  // namespace zun
