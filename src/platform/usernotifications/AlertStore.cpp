#include "platform/usernotifications/AlertStore.h"

#include "platform/usernotifications/AlertRows.h"

namespace zun {

using alertRows::notificationFrom;

bool AlertStore::write(const std::function<void()>& block) {
    const std::lock_guard lock(_mutex);
    return _file.run(AlertFile::Access::Write, block);
}

bool AlertStore::read(const std::function<void()>& block) {
    const std::lock_guard lock(_mutex);
    return _file.run(AlertFile::Access::Read, block);
}

void AlertStore::check() {
    const std::lock_guard lock(_mutex);
    _file.check();
}

// ---- changes

bool AlertStore::apply(const std::vector<AlertChange::Any>& changes) {
    return changes.empty() || write([&] {
               for (const auto& change : changes)
                   std::visit([this](const auto& one) { applyOne(one); }, change);
           });
}

void AlertStore::applyOne(const AlertChange::Schedule& change) {
    const auto& notification = change.notification;
    AlertQuery insert(_file,
                      "INSERT INTO scheduled(reminderID, deliveryDate, deliveryTimeZone, dueDate, dueZone, title, "
                      "subtitle, actionButtonTitle, soundName) VALUES(?1, ?2, ?3, ?2, ?3, ?4, ?5, ?6, ?7)");
    insert.with(1, notification.reminderID().value_or(""))
        .with(2, notification.deliveryDate)
        .with(3, notification.deliveryTimeZone)
        .with(4, notification.title)
        .with(5, notification.subtitle)
        .with(7, notification.soundName);
    if (notification.hasActionButton) insert.with(6, notification.actionButtonTitle);
    insert.run();
}

void AlertStore::applyOne(const AlertChange::RemoveScheduled& change) {
    AlertQuery(_file, "DELETE FROM scheduled WHERE identifier = ?").with(1, change.identifier).run();
}

void AlertStore::applyOne(const AlertChange::RemoveScheduledOfReminder& change) {
    AlertQuery(_file, "DELETE FROM scheduled WHERE reminderID = ?").with(1, change.reminderID).run();
}

void AlertStore::applyOne(const AlertChange::RemoveDelivered& change) {
    std::vector<ScreenPlace> places;
    {
        AlertQuery query(
            _file, "SELECT serverIdentifier, server FROM delivered WHERE identifier = ? AND serverIdentifier <> 0");
        query.with(1, change.identifier);
        while (query.next())
            places.push_back({static_cast<std::uint32_t>(query.integer(0)), query.text(1)});
    }
    AlertQuery(_file, "DELETE FROM delivered WHERE identifier = ?").with(1, change.identifier).run();
    for (const auto& place : places)
        closeUnlessNeeded(place.serverIdentifier, place.server);
}

// A newer alert may stand in the same place.
void AlertStore::closeUnlessNeeded(std::uint32_t serverIdentifier, const std::string& server) {
    AlertQuery insert(_file,
                      "INSERT OR REPLACE INTO closing(serverIdentifier, server) SELECT ?1, ?2 WHERE NOT EXISTS "
                      "(SELECT 1 FROM delivered WHERE serverIdentifier = ?1 AND server = ?2)");
    insert.with(1, std::int64_t{serverIdentifier}).with(2, server).run();
}

// ---- the lists

std::vector<NSUserNotification> AlertStore::scheduled() {
    std::vector<NSUserNotification> all;
    read([&] {
        AlertQuery query(_file, ZN_SELECT_SCHEDULED " ORDER BY deliveryDate, identifier");
        while (query.next())
            all.push_back(notificationFrom(query));
    });
    return all;
}

std::vector<NSUserNotification> AlertStore::scheduledForReminder(const std::string& reminderID) {
    std::vector<NSUserNotification> all;
    read([&] {
        AlertQuery query(_file, ZN_SELECT_SCHEDULED " WHERE reminderID = ? ORDER BY deliveryDate, identifier");
        query.with(1, reminderID);
        while (query.next())
            all.push_back(notificationFrom(query));
    });
    return all;
}

void AlertStore::visitScheduledReminders(const std::optional<std::string>& after, std::size_t most,
                                         const std::function<void(std::string reminderID, std::size_t alerts)>& visit) {
    read([&] {
        AlertQuery query(_file, after ? "SELECT reminderID, count(*) FROM scheduled WHERE reminderID > ?2 GROUP BY "
                                        "reminderID ORDER BY reminderID LIMIT ?1"
                                      : "SELECT reminderID, count(*) FROM scheduled GROUP BY reminderID ORDER BY "
                                        "reminderID LIMIT ?1");
        query.with(1, static_cast<std::int64_t>(most));
        if (after) query.with(2, *after);
        while (query.next())
            visit(query.text(0), static_cast<std::size_t>(query.integer(1)));
    });
}

std::vector<NSUserNotification> AlertStore::delivered() {
    std::int64_t fromTheStart = 0;
    return deliveredAfter(fromTheStart);
}

std::vector<NSUserNotification> AlertStore::deliveredAfter(std::int64_t& sequence) {
    std::vector<NSUserNotification> all;
    // A fresh file, in the place of a damaged one, counts from the start again.
    if (lastDelivered() < sequence) sequence = 0;
    read([&] {
        AlertQuery query(_file, ZN_SELECT_DELIVERED " WHERE sequence > ? ORDER BY sequence");
        query.with(1, sequence);
        while (query.next()) {
            all.push_back(notificationFrom(query));
            sequence = query.integer(alertRows::sequenceColumn);
        }
    });
    return all;
}

std::int64_t AlertStore::lastDelivered() {
    std::int64_t last = 0;
    read([&] {
        // Not the largest that is there: numbers of alerts that have gone are not given again.
        AlertQuery query(_file, "SELECT seq FROM sqlite_sequence WHERE name = 'delivered'");
        if (query.next()) last = query.integer(0);
    });
    return last;
}

bool AlertStore::wasShown(const std::string& reminderID, NSDate deliveryDate) {
    bool was = false;
    read([&] {
        AlertQuery query(_file, "SELECT 1 FROM shown WHERE reminderID = ? AND deliveryDate = ?");
        was = query.with(1, reminderID).with(2, deliveryDate).next();
    });
    return was;
}

// ---- what is remembered

bool AlertStore::forgetShownAfter(NSDate date, NSDate limit) {
    bool hasAny = false;
    read([&] {
        AlertQuery query(_file, "SELECT 1 FROM shown WHERE deliveryDate > ? LIMIT 1");
        hasAny = query.with(1, limit).next();
    });
    return hasAny && write([&] { AlertQuery(_file, "DELETE FROM shown WHERE deliveryDate > ?").with(1, date).run(); });
}

void AlertStore::forgetShownBefore(NSDate date) {
    write([&] { AlertQuery(_file, "DELETE FROM shown WHERE deliveryDate < ?").with(1, date).run(); });
}

OptionalDate AlertStore::lastDeliveryDate(const std::string& reminderID) {
    OptionalDate last;
    read([&] {
        AlertQuery query(_file, "SELECT max(deliveryDate) FROM scheduled WHERE reminderID = ?");
        if (query.with(1, reminderID).next() && !query.isNull(0)) last = query.date(0);
    });
    return last;
}

bool AlertStore::mustBeFilled() {
    bool must = true;
    read([&] {
        AlertQuery query(_file, "SELECT value FROM facts WHERE name = 'mustBeFilled'");
        must = query.next() && query.integer(0) != 0;
    });
    return must;
}

void AlertStore::setFilled() {
    write([&] { AlertQuery(_file, "UPDATE facts SET value = 0 WHERE name = 'mustBeFilled'").run(); });
}

OptionalDate AlertStore::lookedAt() {
    OptionalDate date;
    read([&] {
        AlertQuery query(_file, "SELECT value FROM facts WHERE name = 'lookedAt'");
        if (query.next()) date = query.date(0);
    });
    return date;
}

void AlertStore::setLookedAt(NSDate date) {
    write([&] { AlertQuery(_file, "INSERT OR REPLACE INTO facts VALUES('lookedAt', ?)").with(1, date).run(); });
}

}  // namespace zun
