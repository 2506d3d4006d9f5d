#pragma once

// The persisted keys, one getter and one setter each, over one suite. Each setter is durable when it returns; any
// thread.

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "platform/foundation/NSUserDefaults.h"

namespace zun {

class ZNUserDefaults {
  public:
    static constexpr std::string_view suiteName = "Q4ZUNL8BSX.group.com.zunlabs.Zunreminder";

    explicit ZNUserDefaults(const std::filesystem::path& configurationFolder)
        : _suite(configurationFolder, suiteName) {}

#define ZN_BOOLEAN(getter, setter, key) \
    [[nodiscard]] bool getter() const { \
        return _suite.boolForKey(key);  \
    }                                   \
    void setter(bool value) {           \
        _suite.setValue(key, value);    \
    }
#define ZN_UNSIGNED(getter, setter, key)                        \
    [[nodiscard]] std::uint64_t getter() const {                \
        return _suite.unsignedForKey(key);                      \
    }                                                           \
    void setter(std::uint64_t value) {                          \
        _suite.setValue(key, static_cast<std::int64_t>(value)); \
    }
#define ZN_OBJECT(type, read, getter, setter, key)     \
    [[nodiscard]] std::optional<type> getter() const { \
        return _suite.read(key);                       \
    }                                                  \
    void setter(const std::optional<type>& value) {    \
        if (value)                                     \
            _suite.setValue(key, *value);              \
        else                                           \
            _suite.setValue(key, std::nullopt);        \
    }

    ZN_BOOLEAN(onGetDidFinishTour, onSetDidFinishTour, "com.zunlabs.didFinishTour")
    ZN_OBJECT(NSDate, dateForKey, onGetLastSyncDate, onSetLastSyncDate, "zniCloudLastSyncDate")
    ZN_OBJECT(std::string, stringForKey, onGetiCloudNotificationID, onSetiCloudNotificationID, "iCloudSubscriptionID")
    ZN_OBJECT(std::string, stringForKey, onGetiCloudSharesNotificationID, onSetiCloudSharesNotificationID,
              "iCloudSharesSubscriptionID")
    ZN_UNSIGNED(onGetSnoozeSetting, onSetSnoozeSetting, "znSnoozeSetting")
    ZN_UNSIGNED(onGetiCloudSetting, onSetiCloudSetting, "znCloudKitSetting")
    ZN_BOOLEAN(onGetDidAcceptOrRejectNotificationSettings, onSetDidAcceptOrRejectNotificationSettings,
               "znNotificationSettingsKey")
    ZN_BOOLEAN(onGetWhatsNew, onSetWhatsNew, "znWhatsNewSwiping12")
    ZN_BOOLEAN(onGetShouldShowQuitNotice, onSetShouldShowQuitNotice, "znQuitNoticeKey")
    ZN_BOOLEAN(onGetShowInMenubar, onSetShowInMenubar, "znMenubarVisibility")
    ZN_BOOLEAN(onGetStartAtLogin, onSetStartAtLogin, "znAutoStartKey")
    ZN_BOOLEAN(onGetDeleteCompleted, onSetDeleteCompleted, "znDeleteCompletedKey")
    ZN_BOOLEAN(onGetPromptForContacts, onSetPromptForContacts, "znContactsPermissionKey")
    ZN_UNSIGNED(onGetMorningHour, onSetMorningHour, "znMorningHourKey")
    ZN_UNSIGNED(onGetEveningHour, onSetEveningHour, "znEveningHourKey")
    ZN_OBJECT(Bytes, dataForKey, onGetSharedDBToken, onSetSharedDBToken, "znCloudKitSharedDBChangeToken")
    ZN_OBJECT(Bytes, dataForKey, onGetSharedZoneToken, onSetSharedZoneToken, "znCloudKitSharedZoneChangeToken")
    ZN_OBJECT(Bytes, dataForKey, onGetPrivateDBToken, onSetPrivateDBToken, "znCloudKitPrivateDBChangeToken")
    ZN_OBJECT(Bytes, dataForKey, onGetPrivateZoneToken, onSetPrivateZoneToken, "znCloudKitPrivateZoneChangeToken")
    ZN_OBJECT(Bytes, dataForKey, onGetUseriCloudIdentityToken, onSetUseriCloudIdentityToken, "znUbiquityTokenKey")
    // Beside a token whose changes are still being taken in: the one before it, empty if there was none.
    ZN_OBJECT(Bytes, dataForKey, onGetFormerPrivateDBToken, onSetFormerPrivateDBToken,
              "znCloudKitFormerPrivateDBChangeToken")
    ZN_OBJECT(Bytes, dataForKey, onGetFormerSharedDBToken, onSetFormerSharedDBToken,
              "znCloudKitFormerSharedDBChangeToken")
    // The account that has what is marked as sent; stays when its owner signs out.
    ZN_OBJECT(Bytes, dataForKey, onGetIdentityOfSentReminders, onSetIdentityOfSentReminders,
              "znIdentityOfSentReminders")
    ZN_BOOLEAN(onGetDidRunPrivateZoneMigration, onSetDidRunPrivateZoneMigration, "znPrivateZoneMigrationKey")
    ZN_BOOLEAN(onGetDidClearCacheForTwoOh, onSetDidClearCacheForTwoOh, "znTwoPointOhCacheClearKey")
    ZN_BOOLEAN(onGetUseReturnKeyToSave, onSetUseReturnKeyToSave, "znReturnToSaveKey")
#undef ZN_BOOLEAN
#undef ZN_UNSIGNED
#undef ZN_OBJECT

    // The file behind the keys, for watchers; reload() sees other processes' changes.
    [[nodiscard]] const std::filesystem::path& file() const {
        return _suite.file();
    }
    bool reload() {
        return _suite.reload();
    }

  private:
    NSUserDefaults _suite;
};

}  // namespace zun
