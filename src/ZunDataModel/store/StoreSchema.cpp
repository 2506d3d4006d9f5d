#include "ZunDataModel/store/StoreSchema.h"

#include <SQLiteCpp/Transaction.h>

#include <string>

#include "ZunDataModel/SearchFolding.h"
#include "ZunDataModel/store/CloudChanges.h"

namespace zun {

namespace {

// The partial indexes repeat the conditions of the queries letter by letter, which is how SQLite sees that they apply.
// The deck's index also carries the columns that its condition tests, without which a count would read the rows.
//
// Entries of the change log are numbered without AUTOINCREMENT: the newest entry is never deleted, so no number comes
// twice, and a commit spares the page that would hold the counter.
void createFirstSchema(StoreConnection& connection) {
    connection.execute(R"sql(
        CREATE TABLE reminders (
            reminderID TEXT NOT NULL,
            title TEXT NOT NULL,
            notes TEXT,
            checklist TEXT,
            created_date INTEGER,
            modified_date INTEGER,
            completed_date INTEGER,
            start_date INTEGER,
            due_date INTEGER,
            fire_date INTEGER,
            end_date INTEGER,
            repeat_type INTEGER NOT NULL,
            customRepeatInterval INTEGER NOT NULL,
            customRepeatDayOrdinals TEXT,
            earlyReminderType INTEGER NOT NULL,
            earlyReminderInterval INTEGER NOT NULL,
            snoozeCount INTEGER NOT NULL,
            naggingNotifications INTEGER NOT NULL,
            shouldSuppressNotifications INTEGER NOT NULL,
            locationLatitude REAL NOT NULL,
            locationLongitude REAL NOT NULL,
            locationName TEXT,
            locationActivation INTEGER NOT NULL,
            locationActivationRadius INTEGER NOT NULL,
            rank INTEGER NOT NULL,
            didPersistToiCloud INTEGER NOT NULL,
            hasLocalChanges INTEGER NOT NULL,
            shouldDeleteRemote INTEGER,
            shareURL TEXT,
            shareParticipantsCanEdit INTEGER NOT NULL,
            sharedZoneID BLOB
        ) STRICT;
        CREATE INDEX reminders_by_id ON reminders (reminderID);
        CREATE INDEX reminders_open ON reminders
            (fire_date, start_date, completed_date, shouldDeleteRemote, locationLatitude, locationLongitude)
            WHERE locationLatitude = 0 AND locationLongitude = 0 AND completed_date IS NULL
                AND (shouldDeleteRemote = 0 OR shouldDeleteRemote IS NULL);
        CREATE INDEX reminders_completed ON reminders (completed_date) WHERE completed_date IS NOT NULL;
        CREATE INDEX reminders_at_places ON reminders (fire_date)
            WHERE locationLatitude IS NOT 0 AND locationLongitude IS NOT 0 AND completed_date IS NULL;
        CREATE INDEX reminders_unsent ON reminders (didPersistToiCloud) WHERE didPersistToiCloud = 0;
        CREATE INDEX reminders_changed ON reminders (hasLocalChanges) WHERE hasLocalChanges = 1;
        CREATE INDEX reminders_to_delete ON reminders (shouldDeleteRemote) WHERE shouldDeleteRemote = 1;
        CREATE INDEX reminders_shared ON reminders (shareURL) WHERE shareURL IS NOT NULL;
        CREATE TABLE change_log (
            seq INTEGER PRIMARY KEY,
            kind INTEGER NOT NULL,
            reminderID TEXT,
            writer INTEGER NOT NULL
        ) STRICT;
    )sql");
}

void foldInSQL(sqlite3_context* context, int, sqlite3_value** values) {
    const auto* const data = reinterpret_cast<const char*>(sqlite3_value_text(values[0]));
    const std::string folded =
        foldedForSearch({data ? data : "", static_cast<std::size_t>(sqlite3_value_bytes(values[0]))});
    sqlite3_result_text64(context, folded.data(), folded.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

void addFoldedTitles(StoreConnection& connection) {
    constexpr int flags = SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_DIRECTONLY;
    sqlite3_create_function_v2(connection.handle(), "zun_folded", 1, flags, nullptr, foldInSQL, nullptr, nullptr,
                               nullptr);
    connection.execute(R"sql(
        ALTER TABLE reminders ADD COLUMN title_folded TEXT NOT NULL DEFAULT '';
        UPDATE reminders SET title_folded = zun_folded(title);
    )sql");
}

constexpr Migration migrations[] = {
    {1, "records and the change log", createFirstSchema},
    {2, "folded titles, so that a search need not fold every title anew", addFoldedTitles},
    {3, "versions that the sync replaced, and pushes under way", createCloudTables},
};

}  // namespace

std::span<const Migration> storeMigrations() {
    return migrations;
}

int currentStoreVersion() {
    return storeMigrations().back().toVersion;
}

void migrate(StoreConnection& connection, int upTo) {
    SQLite::Transaction transaction(connection.database(), SQLite::TransactionBehavior::IMMEDIATE);
    const auto version = connection.integer("PRAGMA user_version");
    for (const Migration& migration : storeMigrations())
        if (migration.toVersion > version && migration.toVersion <= upTo) migration.apply(connection);
    connection.execute(("PRAGMA application_id = " + std::to_string(storeApplicationId)).c_str());
    connection.execute(("PRAGMA user_version = " + std::to_string(upTo)).c_str());
    transaction.commit();
}

}  // namespace zun
