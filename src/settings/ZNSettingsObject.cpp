#include "settings/ZNSettingsObject.h"

#include <fmt/format.h>

#include <string_view>
#include <utility>
#include <vector>

#include "platform/foundation/Log.h"

namespace zun {
namespace {

using Choices = ZNSettingsObject::Choices;

constexpr std::uint64_t firstMorningHour = 8;
constexpr std::uint64_t firstEveningHour = 18;

// Calls the function with the name and the member of each choice, in the order in which they are saved.
template <typename Function>
void forEachChoice(Function function) {
    function("shouldUseCloudKit", &Choices::shouldUseCloudKit,
             [](ZNUserDefaults& defaults, bool value) { defaults.onSetiCloudSetting(value ? 1 : 0); });
    function("snoozeType", &Choices::snoozeType,
             [](ZNUserDefaults& defaults, std::uint64_t value) { defaults.onSetSnoozeSetting(value); });
    function("showInMenubar", &Choices::showInMenubar,
             [](ZNUserDefaults& defaults, bool value) { defaults.onSetShowInMenubar(value); });
    function("startAtLogin", &Choices::startAtLogin,
             [](ZNUserDefaults& defaults, bool value) { defaults.onSetStartAtLogin(value); });
    function("shouldDeleteCompleted", &Choices::shouldDeleteCompleted,
             [](ZNUserDefaults& defaults, bool value) { defaults.onSetDeleteCompleted(value); });
    function("shouldUseReturnKeyToSave", &Choices::shouldUseReturnKeyToSave,
             [](ZNUserDefaults& defaults, bool value) { defaults.onSetUseReturnKeyToSave(value); });
    function("morningHour", &Choices::morningHour,
             [](ZNUserDefaults& defaults, std::uint64_t value) { defaults.onSetMorningHour(value); });
    function("eveningHour", &Choices::eveningHour,
             [](ZNUserDefaults& defaults, std::uint64_t value) { defaults.onSetEveningHour(value); });
}

std::uint64_t hourOr(std::uint64_t stored, std::uint64_t fallback) {
    return stored ? stored : fallback;
}

}  // namespace

ZNSettingsObject::ZNSettingsObject(ZNUserDefaults& defaults, LoginItem* loginItem, CloudAccount* account)
    : _defaults(defaults), _loginItem(loginItem), _account(account), _choices(stored()), _lastRead(_choices) {}

ZNSettingsObject::Choices ZNSettingsObject::stored() const {
    return {
        .snoozeType = _defaults.onGetSnoozeSetting(),
        .shouldUseCloudKit = _defaults.onGetiCloudSetting() != 0,
        .showInMenubar = _defaults.onGetShowInMenubar(),
        .startAtLogin = _defaults.onGetStartAtLogin(),
        .shouldDeleteCompleted = _defaults.onGetDeleteCompleted(),
        .shouldUseReturnKeyToSave = _defaults.onGetUseReturnKeyToSave(),
        .morningHour = hourOr(_defaults.onGetMorningHour(), firstMorningHour),
        .eveningHour = hourOr(_defaults.onGetEveningHour(), firstEveningHour),
    };
}

ZNSettingsObject::Choices ZNSettingsObject::choices() const {
    const std::lock_guard lock(_mutex);
    return _choices;
}

template <typename T>
void ZNSettingsObject::set(T Choices::*member, T value, std::string_view key) {
    {
        const std::lock_guard lock(_mutex);
        if (_choices.*member == value) return;
        _choices.*member = value;
    }
    didChangeValueForKey(key);
}

void ZNSettingsObject::setSnoozeType(std::uint64_t value) {
    set(&Choices::snoozeType, value, "snoozeType");
}
void ZNSettingsObject::setShouldUseCloudKit(bool value) {
    set(&Choices::shouldUseCloudKit, value, "shouldUseCloudKit");
}
void ZNSettingsObject::setShowInMenubar(bool value) {
    set(&Choices::showInMenubar, value, "showInMenubar");
}
void ZNSettingsObject::setShouldDeleteCompleted(bool value) {
    set(&Choices::shouldDeleteCompleted, value, "shouldDeleteCompleted");
}
void ZNSettingsObject::setShouldUseReturnKeyToSave(bool value) {
    set(&Choices::shouldUseReturnKeyToSave, value, "shouldUseReturnKeyToSave");
}
void ZNSettingsObject::setMorningHour(std::uint64_t value) {
    set(&Choices::morningHour, value, "morningHour");
}
void ZNSettingsObject::setEveningHour(std::uint64_t value) {
    set(&Choices::eveningHour, value, "eveningHour");
}

void ZNSettingsObject::onSetStartAtLogin(bool value) {
    set(&Choices::startAtLogin, value, "startAtLogin");
    if (_loginItem && !_loginItem->setEnabled(value))
        NSLog(fmt::format("SMLoginItemSetEnabled(..., {}) failed", value));
}

bool ZNSettingsObject::onGetCloudKitStatus() const {
    if (!choices().shouldUseCloudKit) return false;
    // The answer comes too late for this caller; asking lets the account notice that it has become unavailable.
    if (_account) _account->accountStatusWithCompletionHandler([](AccountStatus) {});
    return true;
}

std::uint64_t ZNSettingsObject::windowLayoutMode() const {
    const std::lock_guard lock(_mutex);
    return _windowLayoutMode;
}

void ZNSettingsObject::setWindowLayoutMode(std::uint64_t value) {
    {
        const std::lock_guard lock(_mutex);
        if (_windowLayoutMode == value) return;
        _windowLayoutMode = value;
    }
    didChangeValueForKey("windowLayoutMode");
}

void ZNSettingsObject::setDefaults() {
    _defaults.onSetSnoozeSetting(0);
    _defaults.onSetWhatsNew(true);
    _defaults.onSetShouldShowQuitNotice(true);
    _defaults.onSetShowInMenubar(false);
    _defaults.onSetDeleteCompleted(true);
    _defaults.onSetUseReturnKeyToSave(false);
    _defaults.onSetMorningHour(firstMorningHour);
    _defaults.onSetEveningHour(firstEveningHour);
    _defaults.onSetStartAtLogin(_loginItem && _loginItem->isEnabledOnDemand());
    _defaults.onSetiCloudSetting(0);
}

void ZNSettingsObject::setDefaultsIfNecessary() {
    if (_defaults.onGetDidFinishTour()) return;
    setDefaults();
    _defaults.onSetDidFinishTour(true);
}

void ZNSettingsObject::save() {
    Choices mine;
    Choices lastRead;
    {
        const std::lock_guard lock(_mutex);
        mine = _choices;
        lastRead = _lastRead;
    }
    // Only what was changed here: the rest may be newer in the file than in this memory.
    forEachChoice([&](std::string_view, auto member, auto store) {
        if (mine.*member != lastRead.*member) store(_defaults, mine.*member);
    });
    takeOverStored();
}

void ZNSettingsObject::reload() {
    _defaults.reload();
    takeOverStored();
}

void ZNSettingsObject::takeOverStored() {
    const auto now = stored();
    std::vector<std::string_view> changed;
    {
        const std::lock_guard lock(_mutex);
        forEachChoice([&](std::string_view key, auto member, auto) {
            // A choice that could not be written stands as changed here, too, and goes with the next save.
            const bool changedHere = _choices.*member != _lastRead.*member;
            if (!changedHere && _choices.*member != now.*member) {
                _choices.*member = now.*member;
                changed.push_back(key);
            }
        });
        _lastRead = now;
    }
    for (const auto key : changed)
        didChangeValueForKey(key);
}

}  // namespace zun
