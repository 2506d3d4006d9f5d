#pragma once

// The user's choices in memory: read from ZNUserDefaults once at creation, changed by the settings screen, written back
// by save(). The layout mode is not persisted; the window sets it. Observable by property name. Any thread.

#include <cstdint>
#include <mutex>

#include "platform/foundation/KeyValueObserving.h"
#include "settings/CloudAccount.h"
#include "settings/LoginItem.h"
#include "settings/ZNUserDefaults.h"

namespace zun {

class ZNSettingsObject final : public KeyValueObservable {
  public:
    // What was chosen; a plain value.
    struct Choices {
        std::uint64_t snoozeType = 0;  // 0 next day, 1 one hour, 2 fifteen minutes
        bool shouldUseCloudKit = false;
        bool showInMenubar = false;
        bool startAtLogin = false;
        bool shouldDeleteCompleted = false;
        bool shouldUseReturnKeyToSave = false;
        std::uint64_t morningHour = 8;   // a stored 0 reads as 8
        std::uint64_t eveningHour = 18;  // a stored 0 reads as 18
        bool operator==(const Choices&) const = default;
    };

    // The login item and the cloud account may be null where the program has none.
    ZNSettingsObject(ZNUserDefaults& defaults, LoginItem* loginItem, CloudAccount* account);

    [[nodiscard]] Choices choices() const;
    [[nodiscard]] std::uint64_t snoozeType() const { return choices().snoozeType; }
    [[nodiscard]] bool showInMenubar() const { return choices().showInMenubar; }
    [[nodiscard]] bool startAtLogin() const { return choices().startAtLogin; }
    [[nodiscard]] bool shouldDeleteCompleted() const { return choices().shouldDeleteCompleted; }
    [[nodiscard]] bool shouldUseReturnKeyToSave() const { return choices().shouldUseReturnKeyToSave; }
    [[nodiscard]] std::uint64_t morningHour() const { return choices().morningHour; }
    [[nodiscard]] std::uint64_t eveningHour() const { return choices().eveningHour; }
    void setSnoozeType(std::uint64_t value);
    void setShouldUseCloudKit(bool value);
    void setShowInMenubar(bool value);
    void setShouldDeleteCompleted(bool value);
    void setShouldUseReturnKeyToSave(bool value);
    void setMorningHour(std::uint64_t value);
    void setEveningHour(std::uint64_t value);
    // Stores the property and enables or disables the login item; a failure is logged.
    void onSetStartAtLogin(bool value);

    // `shouldUseCloudKit`; each call with YES also asks for the account status without awaiting it.
    [[nodiscard]] bool onGetCloudKitStatus() const;

    // 0 to 3 by the window's width.
    [[nodiscard]] std::uint64_t windowLayoutMode() const;
    void setWindowLayoutMode(std::uint64_t value);

    // Writes the first-run values; the properties of this object stay as they are.
    void setDefaults();
    // The same once in the life of a home, marked by the flag that the tour ends with.
    void setDefaultsIfNecessary();
    // Writes what was changed here since it was last read, and takes over the rest, which another process may have
    // changed.
    void save();
    // Takes over what another process has stored; a property changed here and not saved keeps its value.
    void reload();

    [[nodiscard]] ZNUserDefaults& defaults() const { return _defaults; }

  private:
    template <typename T>
    void set(T Choices::*member, T value, std::string_view key);
    [[nodiscard]] Choices stored() const;
    void takeOverStored();

    ZNUserDefaults& _defaults;
    LoginItem* _loginItem;
    CloudAccount* _account;
    mutable std::mutex _mutex;
    Choices _choices;
    Choices _lastRead;
    std::uint64_t _windowLayoutMode = 0;
};

}  // namespace zun
