#include "cards/DeckToolbar.h"
#include "cards/ZNCardViewController.h"
#include "cards/ZNStackView.h"
#include "core/NotificationNames.h"

namespace zun {
namespace {

using namespace std::chrono_literals;

// A failure can be read for this long before the toolbar is as it was.
constexpr auto failureStays = 2800ms;

}  // namespace

void ZNCardViewController::addSyncObservers() {
    auto& notifications = _with.cards.notifications;
    auto& dispatch = _with.cards.dispatch;
    // Set on the thread that reports: the end of the pass, which may be told on the main thread, must find it.
    const auto noteOn = [&](std::string_view name, std::atomic<bool> SyncFailures::*flag) {
        _observations.push_back(notifications.addObserver(
            name, [failures = _syncFailures, flag](const NSNotification&) { (*failures).*flag = true; }));
    };
    noteOn(ZNiCloudSyncFatalError, &SyncFailures::didErrorOnSync);
    noteOn(ZNiCloudSyncTimeoutError, &SyncFailures::didTimeoutOnSync);
    noteOn(ZNiCloudSyncUnreachableError, &SyncFailures::syncWasUnreachable);

    const QPointer<ZNCardViewController> self(this);
    _observations.push_back(notifications.addObserver(ZNiCloudSyncFinished, [self, &dispatch](const NSNotification&) {
        onMainThread(dispatch, [self] {
            if (self) self->syncComplete();
        });
    }));
    _observations.push_back(_with.sync.observeIsSyncing([self, &dispatch] {
        onMainThread(dispatch, [self] {
            if (self) self->toggleLoading(self->_with.sync.isSyncing());
        });
    }));
}

void ZNCardViewController::syncWithiCloud() {
    _syncFailures->didErrorOnSync = false;
    _syncFailures->didTimeoutOnSync = false;
    _syncFailures->syncWasUnreachable = false;
    _failureWasShown = false;
    _with.sync.syncChangesFromCloudKit();
}

void ZNCardViewController::syncComplete() {
    if (moveRequestedReminderToTopIfNecessary()) _stackView->renderStackWithAnimation(false);
}

void ZNCardViewController::toggleLoading(bool isLoading) {
    if (isLoading) {
        if (!_with.sync.isSyncing()) return;
        _toolbar->setSyncingText(text("Default_Sync_Text"));
        return animateToolbarLoadingState(true);
    }
    const auto* failure = _syncFailures->didErrorOnSync       ? "Error_Sync_Text"
                          : _syncFailures->didTimeoutOnSync   ? "Error_Sync_Text_Timeout"
                          : _syncFailures->syncWasUnreachable ? "Error_Sync_Text_Connectivity"
                                                              : nullptr;
    if (failure) {
        _toolbar->setSyncingText(text(failure));
        // A pass that ends before the main thread has heard of it was never shown; its failure still is, once.
        if (!std::exchange(_failureWasShown, true)) animateToolbarLoadingState(true);
    }
    animateToolbarLoadingState(false);
}

void ZNCardViewController::animateToolbarLoadingState(bool on) {
    // What was to come later is overtaken: a new pass must not lose its text to the end of the one before.
    _loadingStateTimer.invalidate();
    if (on) return _toolbar->setShowsSyncing(true);
    const auto& failures = *_syncFailures;
    if (!failures.didErrorOnSync && !failures.didTimeoutOnSync && !failures.syncWasUnreachable)
        return _toolbar->setShowsSyncing(false);
    _loadingStateTimer = NSTimer(_with.cards.dispatch.main(), failureStays, false, [self = QPointer(this)] {
        if (self) self->_toolbar->setShowsSyncing(false);
    });
}

}  // namespace zun
