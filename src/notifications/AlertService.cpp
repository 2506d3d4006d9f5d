#include "notifications/AlertService.h"

#include <algorithm>
#include <utility>

#include "platform/foundation/NSCalendar.h"
#include "platform/usernotifications/AlertTuning.h"

namespace zun {

struct AlertService::Batch {
    NSDate at;
    AlertStore::Due due;
    std::size_t next = 0;  // of those shown one by one
    std::vector<std::string> reminderIDs{};
    bool isRecorded = true;
};

AlertService::AlertService(Collaborators collaborators)
    : _with(std::move(collaborators)),
      _self(std::make_shared<AlertService*>(this)),
      _retryPause(alertTuning::firstRetry) {
    _with.alarmClock.setEvents({[this] { rang(); }, [this] { surroundingsChanged(); }});
    _with.server.setEvents(
        {[this](auto identifier, const auto& action, const auto& token) { actionInvoked(identifier, action, token); },
         [this](auto identifier, auto reason) { closed(identifier, reason); },
         [this] { restoreScreen(Restart::Server); }});
}

AlertService::~AlertService() {
    *_self = nullptr;
    _with.alarmClock.setEvents({});
    _with.server.setEvents({});
}

void AlertService::start() {
    _with.store.check();
    restoreScreen(Restart::Service);
    look();
}

// ---- what wakes the service

void AlertService::rang() {
    if (_with.environment.now() >= _lookAt) return look();
    deliver();
}

void AlertService::alertsChanged() {
    closeRemoved();
    deliver();
}

void AlertService::remindersChanged() {
    _quiet = NSTimer(_with.dispatch.main(), alertTuning::quietBeforeLook, false, [self = _self] {
        if (*self) (*self)->look();
    });
}

void AlertService::surroundingsChanged() {
    // First what is due: the look may take longer than a person waits after opening the lid.
    deliver();
    look();
}

void AlertService::look() {
    _quiet.invalidate();
    _lookAt = nextDailyLook();
    _with.lookAtReminders();
    deliverDue();
}

NSDate AlertService::nextDailyLook() const {
    const auto zone = _with.environment.timeZone();
    const auto local = zone->localTime(_with.environment.now());
    const auto today = std::chrono::floor<std::chrono::days>(local) + alertTuning::dailyLookHour;
    return zone->instant(local < today ? today : today + std::chrono::days{1});
}

void AlertService::arm() {
    const auto due = _with.store.nextDueDate();
    // While a server refuses, what is due already must not ring again and again.
    const bool canRing = due && !(_isRefused && *due <= _with.environment.now());
    _with.alarmClock.setAlarm(canRing ? std::min(*due, _lookAt) : _lookAt);
}

// ---- showing

void AlertService::deliver() {
    // Once what is being shown stands, this is called again.
    if (_isShowing) return;
    // A damaged file has been set aside, here or by another program.
    if (_with.store.mustBeFilled()) return look();
    deliverDue();
}

void AlertService::deliverDue() {
    if (_isShowing) return;
    const auto now = _with.environment.now();
    _with.store.adaptTo(*_with.environment.timeZone());
    const auto batch = std::make_shared<Batch>(Batch{now, _with.store.due(now, alertTuning::namedInSummary)});
    if (!batch->due.isKnown) return batchIsRefused();
    if (batch->due.first.empty()) {
        _isRefused = false;
        _unrecorded.clear();
        return arm();
    }
    _isShowing = true;
    if (batch->due.reminders > alertTuning::shownSingly) {
        showSummary(batch);
    } else {
        showNext(batch);
    }
}

void AlertService::record(Batch& batch, const std::optional<std::string>& reminderID, const ScreenPlace& place) {
    if (_with.store.recordShown(batch.at, batch.due, reminderID, place)) return;
    batch.isRecorded = false;
    const auto& first = batch.due.first[reminderID ? batch.next : 0];
    _unrecorded[{reminderID.value_or(""), first.deliveryDate}] = place;
}

void AlertService::showNext(const std::shared_ptr<Batch>& batch) {
    if (batch->next == batch->due.first.size()) return batchIsShown(batch);
    const auto& notification = batch->due.first[batch->next];
    const auto reminderID = notification.reminderID().value_or("");
    const auto isShown = [self = _self, batch, reminderID](const ScreenPlace& place) {
        auto& service = **self;
        service.record(*batch, reminderID, place);
        batch->reminderIDs.push_back(reminderID);
        ++batch->next;
        service.showNext(batch);
    };
    const auto unrecorded = _unrecorded.find({reminderID, notification.deliveryDate});
    if (unrecorded != _unrecorded.end()) return isShown(unrecorded->second);

    auto shown = screenNotification(notification);
    shown.replacesIdentifier = _with.store.placeOfReminder(reminderID, _with.server.server());
    _with.server.show(shown, [self = _self, isShown](const std::optional<NotificationServer::Shown>& answer) {
        if (!*self) return;
        if (!answer) return (*self)->batchIsRefused();
        isShown({answer->identifier, answer->server});
    });
}

void AlertService::showSummary(const std::shared_ptr<Batch>& batch) {
    const auto isShown = [self = _self, batch](const ScreenPlace& place) {
        (*self)->record(*batch, std::nullopt, place);
        (*self)->batchIsShown(batch);
    };
    const auto unrecorded = _unrecorded.find({"", batch->due.first.front().deliveryDate});
    if (unrecorded != _unrecorded.end()) return isShown(unrecorded->second);

    const auto server = _with.server.server();
    const auto replaced = _with.store.placeOfSummary(server);
    auto shown =
        summary(batch->due.reminders + (replaced ? _with.store.remindersAt(replaced, server) : 0), batch->due.first);
    shown.replacesIdentifier = replaced;
    _with.server.show(shown, [self = _self, isShown](const std::optional<NotificationServer::Shown>& answer) {
        if (!*self) return;
        if (!answer) return (*self)->batchIsRefused();
        isShown({answer->identifier, answer->server, true});
    });
}

void AlertService::batchIsShown(const std::shared_ptr<Batch>& batch) {
    if (!batch->isRecorded) return batchIsRefused();
    _isShowing = false;
    _isRefused = false;
    _retryPause = alertTuning::firstRetry;
    _retry.invalidate();
    _with.tellPrograms();
    // Of a summary, the names of all are not at hand.
    if (batch->reminderIDs.empty()) {
        _with.lookAtReminders();
    } else {
        _with.extendSeries(batch->reminderIDs);
    }
    if (!restoreWhatWaits()) deliver();
}

void AlertService::batchIsRefused() {
    _isShowing = false;
    _isRefused = true;
    _retry = NSTimer(_with.dispatch.main(), _retryPause, false, [self = _self] {
        if (*self) (*self)->deliver();
    });
    _retryPause = std::min<std::chrono::seconds>(_retryPause * 2, alertTuning::longestRetry);
    arm();
    restoreWhatWaits();
}

// A server that has just appeared shows nothing, and one that outlived the service may have taken its notifications
// down with it. Those of another session have been seen there.
void AlertService::restoreScreen(Restart restarted) {
    // A server that the bus has started for the alert under way appears before it answers.
    if (_isShowing) {
        _restoreWaits = restarted;
        return;
    }
    const auto server = _with.server.server();
    const auto session = [](const std::string& name) { return name.substr(0, name.find('/')); };
    // A new alert must find where the one before it stands now, so it waits for the last answer.
    _isShowing = true;
    _restoring = 1;
    for (const auto& alert : server.empty() ? std::vector<StandingAlert>{} : _with.store.standing()) {
        const bool isInPlace = restarted == Restart::Server && alert.place.server == server;
        if (session(alert.place.server) == session(server)) {
            if (!isInPlace) restore(alert, server);
        } else {
            _with.store.leftScreen(alert.place.serverIdentifier, alert.place.server);
        }
    }
    oneIsRestored();
}

void AlertService::oneIsRestored() {
    if (--_restoring > 0) return;
    _isShowing = false;
    closeRemoved();
    if (!restoreWhatWaits()) deliverDue();
}

bool AlertService::restoreWhatWaits() {
    const auto restarted = std::exchange(_restoreWaits, std::nullopt);
    if (restarted) restoreScreen(*restarted);
    return restarted.has_value();
}

void AlertService::restore(const StandingAlert& alert, const std::string& server) {
    const auto& place = alert.place;
    auto shown = screenNotification(alert.notification);
    if (place.inSummary) {
        std::vector<NSUserNotification> first;
        for (auto& one : _with.store.standingAt(place.serverIdentifier, place.server, alertTuning::namedInSummary))
            first.push_back(std::move(one.notification));
        shown = summary(_with.store.remindersAt(place.serverIdentifier, place.server), first);
    }
    if (place.server == server) shown.replacesIdentifier = place.serverIdentifier;
    shown.hasSound = false;
    ++_restoring;
    _with.server.show(shown, [self = _self, place](const std::optional<NotificationServer::Shown>& answer) {
        if (!*self) return;
        if (answer) (*self)->_with.store.movePlace(place, {answer->identifier, answer->server, place.inSummary});
        (*self)->oneIsRestored();
    });
}

ScreenNotification AlertService::screenNotification(const NSUserNotification& notification) const {
    return {.tag = "zun-" + notification.reminderID().value_or(std::to_string(notification.identifier)),
            .title = notification.title,
            .body = notification.subtitle,
            .openLabel = _with.strings.string("Alert_Open_Action"),
            .actionLabel = notification.hasActionButton ? notification.actionButtonTitle : "",
            .hasSound = !notification.soundName.empty()};
}

ScreenNotification AlertService::summary(std::size_t reminders, const std::vector<NSUserNotification>& first) const {
    const auto format = _with.strings.string(reminders == 1 ? "Alert_Summary_Title_Singular" : "Alert_Summary_Title");
    std::string titles;
    for (const auto& notification : first)
        titles += (titles.empty() ? "" : "\n") + notification.title;
    if (first.size() < reminders) {
        titles += "\n" + stringWithFormat(_with.strings.string("Alert_Summary_More"),
                                          {std::to_string(reminders - first.size())});
    }
    return {.tag = "zun-summary",
            .title = stringWithFormat(format, {std::to_string(reminders)}),
            .body = titles,
            .openLabel = _with.strings.string("Alert_Open_Action"),
            .actionLabel = ""};
}

// ---- what happens on the screen

void AlertService::closeRemoved() {
    for (const auto identifier : _with.store.takeClosings(_with.server.server()))
        _with.server.close(identifier);
}

void AlertService::actionInvoked(std::uint32_t identifier, const std::string& action,
                                 const std::string& activationToken) {
    const auto alerts = _with.store.standingAt(identifier, _with.server.server(), 1);
    if (alerts.empty()) return;
    const auto& newest = alerts.front();
    AlertActivation activation;
    activation.activationToken = activationToken;
    if (!newest.place.inSummary) {
        activation.kind = action == NotificationServer::buttonAction ? AlertActivation::Kind::SnoozeReminder
                                                                     : AlertActivation::Kind::ShowReminder;
        activation.identifier = newest.notification.identifier;
        activation.reminderID = newest.notification.reminderID().value_or("");
    }
    _with.activate(activation);
}

void AlertService::closed(std::uint32_t identifier, NotificationServer::CloseReason reason) {
    if (reason == NotificationServer::CloseReason::Dismissed) {
        _with.store.dismissed(identifier, _with.server.server());
        _with.tellPrograms();
    } else {
        // It made room for others, or its time was over: nobody has answered it.
        _with.store.leftScreen(identifier, _with.server.server());
    }
}

}  // namespace zun
