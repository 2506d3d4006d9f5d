#include "platform/foundation/NSTimeZone.h"
#include "platform/usernotifications/AlertRows.h"
#include "platform/usernotifications/AlertStore.h"

namespace zun {

using alertRows::notificationFrom;

// ---- when the next one is due

OptionalDate AlertStore::nextDueDate() {
    OptionalDate next;
    read([&] {
        AlertQuery query(_file, "SELECT min(dueDate) FROM scheduled");
        if (query.next() && !query.isNull(0)) next = query.date(0);
    });
    return next;
}

void AlertStore::adaptTo(const NSTimeZone& zone) {
    struct Moved {
        std::int64_t identifier;
        NSDate dueDate;
    };
    std::vector<Moved> moved;
    read([&] {
        AlertQuery query(_file,
                         "SELECT identifier, deliveryDate, deliveryTimeZone FROM scheduled "
                         "WHERE dueZone < ?1 OR dueZone > ?1");
        query.with(1, zone.name());
        std::string scheduledIn;
        std::shared_ptr<const NSTimeZone> from;
        while (query.next()) {
            if (auto name = query.text(2); name != scheduledIn || !from) {
                scheduledIn = std::move(name);
                from = NSTimeZone::fromVariable(scheduledIn);
            }
            const auto date = query.date(1);
            // Back where it was scheduled, a repeated hour must not move it.
            const bool isHome = scheduledIn == zone.name();
            moved.push_back({query.integer(0), isHome ? date : zone.instant(from->localTime(date))});
        }
    });
    if (moved.empty()) return;
    write([&] {
        for (const auto& [identifier, dueDate] : moved) {
            AlertQuery update(_file, "UPDATE scheduled SET dueDate = ?2, dueZone = ?3 WHERE identifier = ?1");
            update.with(1, identifier).with(2, dueDate).with(3, zone.name()).run();
        }
    });
}

// ---- what is due, and that it was shown

AlertStore::Due AlertStore::due(NSDate now, std::size_t most) {
    Due due;
    bool hasRepeats = false;
    read([&] {
        AlertQuery repeats(_file,
                           "SELECT 1 FROM scheduled JOIN shown USING(reminderID, deliveryDate) WHERE dueDate <= ? "
                           "LIMIT 1");
        hasRepeats = repeats.with(1, now).next();
    });
    if (hasRepeats) {
        write([&] {
            AlertQuery drop(_file,
                            "DELETE FROM scheduled WHERE identifier IN (SELECT identifier FROM scheduled JOIN shown "
                            "USING(reminderID, deliveryDate) WHERE dueDate <= ?)");
            drop.with(1, now).run();
        });
    }
    due.isKnown = read([&] {
        {
            AlertQuery count(_file,
                             "SELECT count(DISTINCT reminderID), max(identifier) FROM scheduled WHERE dueDate <= ?");
            if (!count.with(1, now).next()) return;
            due.reminders = static_cast<std::size_t>(count.integer(0));
            if (due.reminders == 0) return;
            due.lastIdentifier = count.integer(1);
        }
        // The plus signs keep SQLite from walking another index than that of the due dates.
        AlertQuery query(
            _file, ZN_SELECT_SCHEDULED
            " WHERE identifier IN (SELECT identifier FROM (SELECT identifier, min(dueDate) AS first FROM "
            "scheduled WHERE dueDate <= ?1 AND +identifier <= ?2 GROUP BY +reminderID ORDER BY first LIMIT "
            "?3)) ORDER BY dueDate, identifier");
        query.with(1, now).with(2, due.lastIdentifier).with(3, static_cast<std::int64_t>(most));
        while (query.next())
            due.first.push_back(notificationFrom(query));
    });
    return due;
}

bool AlertStore::recordShown(NSDate now, const Due& due, const std::optional<std::string>& reminderID,
                             const ScreenPlace& place) {
    // Written twice, since the one reminder's alerts are found by its own index.
    const auto run = [&](const char* ofOne, const char* ofAll, bool hasPlace) {
        AlertQuery query(_file, reminderID ? ofOne : ofAll);
        query.with(1, now).with(2, due.lastIdentifier);
        if (reminderID) query.with(3, *reminderID);
        if (hasPlace) {
            query.with(4, std::int64_t{place.serverIdentifier})
                .with(5, place.server)
                .with(6, std::int64_t{place.inSummary});
        }
        query.run();
    };
#define ZN_DELIVER(condition)                                                                                        \
    "INSERT INTO delivered(identifier, reminderID, deliveryDate, deliveryTimeZone, actualDeliveryDate, title, "      \
    "subtitle, actionButtonTitle, soundName, serverIdentifier, server, inSummary) SELECT identifier, reminderID, "   \
    "deliveryDate, deliveryTimeZone, ?1, title, subtitle, actionButtonTitle, soundName, ?4, ?5, ?6 FROM (SELECT *, " \
    "min(dueDate) FROM scheduled WHERE " condition " GROUP BY +reminderID) ORDER BY dueDate, identifier"
#define ZN_REMEMBER(condition) \
    "INSERT OR IGNORE INTO shown SELECT reminderID, deliveryDate FROM scheduled WHERE " condition
#define ZN_UNSCHEDULE(condition) "DELETE FROM scheduled WHERE " condition
#define ZN_OF_ALL "dueDate <= ?1 AND +identifier <= ?2"
#define ZN_OF_ONE "reminderID = ?3 AND dueDate <= ?1 AND +identifier <= ?2"
    return write([&] {
        run(ZN_DELIVER(ZN_OF_ONE), ZN_DELIVER(ZN_OF_ALL), true);
        run(ZN_REMEMBER(ZN_OF_ONE), ZN_REMEMBER(ZN_OF_ALL), false);
        run(ZN_UNSCHEDULE(ZN_OF_ONE), ZN_UNSCHEDULE(ZN_OF_ALL), false);
    });
#undef ZN_DELIVER
#undef ZN_REMEMBER
#undef ZN_UNSCHEDULE
#undef ZN_OF_ALL
#undef ZN_OF_ONE
}

// ---- the screen

std::uint32_t AlertStore::placeOfReminder(const std::string& reminderID, const std::string& server) {
    std::uint32_t place = 0;
    read([&] {
        AlertQuery query(_file,
                         "SELECT serverIdentifier FROM delivered WHERE reminderID = ? AND server = ? AND "
                         "serverIdentifier <> 0 AND inSummary = 0 ORDER BY sequence DESC LIMIT 1");
        if (query.with(1, reminderID).with(2, server).next()) place = static_cast<std::uint32_t>(query.integer(0));
    });
    return place;
}

std::uint32_t AlertStore::placeOfSummary(const std::string& server) {
    std::uint32_t place = 0;
    read([&] {
        AlertQuery query(_file,
                         "SELECT serverIdentifier FROM delivered WHERE server = ? AND serverIdentifier <> 0 AND "
                         "inSummary <> 0 ORDER BY sequence DESC LIMIT 1");
        if (query.with(1, server).next()) place = static_cast<std::uint32_t>(query.integer(0));
    });
    return place;
}

namespace {

StandingAlert standingFrom(const AlertQuery& row) {
    return {notificationFrom(row),
            {static_cast<std::uint32_t>(row.integer(alertRows::serverIdentifierColumn)),
             row.text(alertRows::serverColumn), row.integer(alertRows::inSummaryColumn) != 0}};
}

}  // namespace

std::vector<StandingAlert> AlertStore::standing() {
    std::vector<StandingAlert> all;
    read([&] {
        AlertQuery query(_file, ZN_SELECT_DELIVERED
                         " WHERE sequence IN (SELECT max(sequence) FROM delivered WHERE serverIdentifier <> 0 GROUP BY "
                         "serverIdentifier, server) ORDER BY sequence");
        while (query.next())
            all.push_back(standingFrom(query));
    });
    return all;
}

std::vector<StandingAlert> AlertStore::standingAt(std::uint32_t serverIdentifier, const std::string& server,
                                                  std::size_t most) {
    std::vector<StandingAlert> all;
    read([&] {
        AlertQuery query(
            _file, ZN_SELECT_DELIVERED " WHERE serverIdentifier = ? AND server = ? ORDER BY sequence DESC LIMIT ?");
        query.with(1, std::int64_t{serverIdentifier}).with(2, server).with(3, static_cast<std::int64_t>(most));
        while (query.next())
            all.push_back(standingFrom(query));
    });
    return all;
}

std::size_t AlertStore::remindersAt(std::uint32_t serverIdentifier, const std::string& server) {
    std::size_t count = 0;
    read([&] {
        AlertQuery query(_file,
                         "SELECT count(DISTINCT reminderID) FROM delivered WHERE serverIdentifier = ? AND server = ?");
        if (query.with(1, std::int64_t{serverIdentifier}).with(2, server).next())
            count = static_cast<std::size_t>(query.integer(0));
    });
    return count;
}

bool AlertStore::movePlace(const ScreenPlace& from, const ScreenPlace& to) {
    return write([&] {
        AlertQuery update(_file,
                          "UPDATE delivered SET serverIdentifier = ?3, server = ?4 WHERE serverIdentifier = ?1 AND "
                          "server = ?2");
        update.with(1, std::int64_t{from.serverIdentifier})
            .with(2, from.server)
            .with(3, std::int64_t{to.serverIdentifier})
            .with(4, to.server)
            .run();
    });
}

bool AlertStore::leftScreen(std::uint32_t serverIdentifier, const std::string& server) {
    return movePlace({serverIdentifier, server}, {0, ""});
}

bool AlertStore::dismissed(std::uint32_t serverIdentifier, const std::string& server) {
    return write([&] {
        AlertQuery remove(_file, "DELETE FROM delivered WHERE serverIdentifier = ? AND server = ?");
        remove.with(1, std::int64_t{serverIdentifier}).with(2, server).run();
    });
}

std::vector<std::uint32_t> AlertStore::takeClosings(const std::string& server) {
    bool hasAny = false;
    read([&] { hasAny = AlertQuery(_file, "SELECT 1 FROM closing LIMIT 1").next(); });
    std::vector<std::uint32_t> all;
    if (!hasAny) return all;
    write([&] {
        {
            // Those of servers that have gone went with them.
            AlertQuery query(_file, "SELECT serverIdentifier FROM closing WHERE server = ?");
            query.with(1, server);
            while (query.next())
                all.push_back(static_cast<std::uint32_t>(query.integer(0)));
        }
        AlertQuery(_file, "DELETE FROM closing").run();
    });
    return all;
}

}  // namespace zun
