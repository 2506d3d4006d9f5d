#pragma once

// The files of one store and the durable ways of changing them. Everything here throws std::system_error.

#include <filesystem>
#include <string>
#include <string_view>

#include "platform/foundation/NSDate.h"

namespace zun {

struct StoreFiles {
    explicit StoreFiles(std::filesystem::path inFolder);

    std::filesystem::path folder;
    std::filesystem::path database;  // the records; SQLite puts -wal and -shm beside it
    std::filesystem::path lock;      // the right to write, and the bell that tells of a commit
    std::filesystem::path session;   // who has the store open, and whether it was left cleanly
    std::filesystem::path salvaged;  // complete and waiting to take the damaged file's place
    std::filesystem::path backups;   // a folder

    [[nodiscard]] std::filesystem::path writeAheadLog() const;
    // Where a damaged file goes. Never a name that exists.
    [[nodiscard]] std::filesystem::path setAside(NSDate now) const;
    // Never a name that exists. `reason` is one word: "v1", "cleared".
    [[nodiscard]] std::filesystem::path backup(NSDate now, std::string_view reason) const;
};

// The three files of one database: itself, its write-ahead log, its shared memory.
inline constexpr std::string_view databaseSuffixes[] = {"", "-wal", "-shm"};
[[nodiscard]] std::filesystem::path withSuffix(const std::filesystem::path& file, std::string_view suffix);

// An unfinished file carries this ending until it is complete and synced.
inline constexpr std::string_view unfinishedSuffix = ".part";

// Makes the folder and its missing parents, open to this user only, and durable.
void makeFolder(const std::filesystem::path& folder);
void syncFile(const std::filesystem::path& file);
void syncFolder(const std::filesystem::path& folder);
// Returns when the new name is durable.
void renameDurably(const std::filesystem::path& from, const std::filesystem::path& to);
// The file with its -wal and -shm; those that are not there are passed over.
void removeDatabase(const std::filesystem::path& file);
// The file goes before its log.
void renameDatabaseDurably(const std::filesystem::path& from, const std::filesystem::path& to);

}  // namespace zun
