#pragma once

// The names under which the rooms call to each other through the notification centre, in one place. The four by which
// the store tells of changes stand with the store. Posting is synchronous, on the posting thread.

#include <string_view>

#include "ZunDataModel/ZNDatabase.h"

namespace zun {

// Commands of the menus and keys, without an object.
inline constexpr std::string_view ZNNewReminderMenuActionNotification =
    "com.zunlabs.ZNNewReminderMenuActionNotification";
inline constexpr std::string_view ZNCompleteTopCardMenuActionNotification =
    "com.zunlabs.ZNCompleteTopCardMenuActionNotification";
inline constexpr std::string_view ZNSnoozeTopCardMenuActionNotification =
    "com.zunlabs.ZNSnoozeTopCardMenuActionNotification";
inline constexpr std::string_view ZNSkipTopCardMenuActionNotification =
    "com.zunlabs.ZNSkipTopCardMenuActionNotification";
inline constexpr std::string_view ZNSkipTopCardLeftMenuActionNotification =
    "com.zunlabs.ZNSkipTopCardLeftMenuActionNotification";
inline constexpr std::string_view ZNEditTopCardMenuActionNotification =
    "com.zunlabs.ZNEditTopCardMenuActionNotification";
inline constexpr std::string_view ZNListViewMenuActionNotification = "com.zunlabs.ZNListViewMenuActionNotification";
inline constexpr std::string_view ZNListViewShouldSearchNotification = "com.zunlabs.ZNListViewShouldSearchNotification";
inline constexpr std::string_view ZNSaveCardMenuActionNotification = "com.zunlabs.ZNSaveCardMenuActionNotification";
inline constexpr std::string_view ZNSettingsMenuActionNotification = "com.zunlabs.ZNSettingsMenuActionNotification";
inline constexpr std::string_view ZNAccountMenuActionNotification = "com.zunlabs.ZNAccountMenuActionNotification";
inline constexpr std::string_view ZNShowKeyboardShortcutsNotification =
    "com.zunlabs.ZNShowKeyboardShortcutsNotification";
inline constexpr std::string_view ZNCloseWindowActionNotification = "com.zunlabs.ZNCloseWindowActionNotification";
inline constexpr std::string_view ZNOpenWindowActionNotification = "com.zunlabs.ZNOpenWindowActionNotification";
inline constexpr std::string_view ZNQuitActionNotification = "com.zunlabs.ZNQuitActionNotification";

// Screens asked for, with the reminder.
inline constexpr std::string_view ZNEditControllerRequested = "com.zunlabs.ZNEditControllerRequested";
inline constexpr std::string_view ZNShareControllerRequested = "com.zunlabs.ZNShareControllerRequested";
inline constexpr std::string_view ZNChecklistRequestedNotification = "com.zunlabs.ZNChecklistRequestedNotification";

// What the menus offer just now, without an object.
inline constexpr std::string_view ZNDisableCardControllerMenuActionsNotification =
    "com.zunlabs.ZNDisableCardControllerMenuActionsNotification";
inline constexpr std::string_view ZNEnableCardControllerMenuActionsNotification =
    "com.zunlabs.ZNEnableCardControllerMenuActionsNotification";
inline constexpr std::string_view ZNDisableEditControllerMenuActionsNotification =
    "com.zunlabs.ZNDisableEditControllerMenuActionsNotification";
inline constexpr std::string_view ZNEnableEditControllerMenuActionsNotification =
    "com.zunlabs.ZNEnableEditControllerMenuActionsNotification";
inline constexpr std::string_view ZNDisableNewReminderMenuActionsNotification =
    "com.zunlabs.ZNDisableNewReminderMenuActionsNotification";
inline constexpr std::string_view ZNEnableNewReminderMenuActionsNotification =
    "com.zunlabs.ZNEnableNewReminderMenuActionsNotification";

// The checklist under edit, with its view.
inline constexpr std::string_view ZNChecklistCheckUpdated = "com.zunlabs.ZNChecklistCheckUpdated";
inline constexpr std::string_view ZNChecklistTextViewUpdated = "com.zunlabs.ZNChecklistTextViewUpdated";

// What the user did to a reminder in a screen, with the reminder.
inline constexpr std::string_view ZNUserAddedReminderNotification = "com.zunlabs.ZNUserAddedReminderNotification";
inline constexpr std::string_view ZNUserUpdatedReminderNotification = "com.zunlabs.ZNUserUpdatedReminderNotification";
inline constexpr std::string_view ZNUserDeletedReminderNotification = "com.zunlabs.ZNUserDeletedReminderNotification";

// Sync. ZNiCloudSyncError carries the error, the others nothing.
inline constexpr std::string_view ZNiCloudSyncFinished = "com.zunlabs.ZNiCloudSyncFinished";
inline constexpr std::string_view ZNiCloudSyncError = "com.zunlabs.ZNiCloudSyncError";
inline constexpr std::string_view ZNiCloudSyncFatalError = "com.zunlabs.ZNiCloudSyncFatalError";
inline constexpr std::string_view ZNiCloudSyncTimeoutError = "com.zunlabs.ZNiCloudSyncTimeoutError";
inline constexpr std::string_view ZNiCloudSyncUnreachableError = "com.zunlabs.ZNiCloudSyncUnreachableError";

// The application.
inline constexpr std::string_view ZNAppModeDidChangeNotification = "com.zunlabs.ZNAppModeDidChangeNotification";
inline constexpr std::string_view ZNUpdateBadgeNotification = "com.zunlabs.ZNUpdateBadgeNotification";
inline constexpr std::string_view ZNReminderCountDidUpdateNotification =
    "com.zunlabs.ZNReminderCountDidUpdateNotification";  // with the title, a std::string
inline constexpr std::string_view ZNAcceptShareCompleteNotification =
    "com.zunlabs.ZNAcceptShareCompleteNotification";  // with the reminder
inline constexpr std::string_view ZNTourCompleteNotification = "com.zunlabs.ZNTourCompleteNotification";
inline constexpr std::string_view ZNListViewUpdatedNotification = "com.zunlabs.ZNListViewUpdatedNotification";

}  // namespace zun
