#include "settings/CloudAccount.h"

namespace zun {

void StoredSyncCache::resetSyncCache() {
    _defaults.onSetPrivateDBToken(std::nullopt);
    _defaults.onSetPrivateZoneToken(std::nullopt);
    _defaults.onSetSharedDBToken(std::nullopt);
    _defaults.onSetFormerPrivateDBToken(std::nullopt);
    _defaults.onSetFormerSharedDBToken(std::nullopt);
    _defaults.onSetSharedZoneToken(std::nullopt);
    _defaults.onSetLastSyncDate(std::nullopt);
    _defaults.onSetDidRunPrivateZoneMigration(false);
}

}  // namespace zun
