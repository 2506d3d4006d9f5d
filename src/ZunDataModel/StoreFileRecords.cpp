#include "ZunDataModel/StoreFileRecords.h"

#include <fstream>
#include <string_view>

#include "ZunDataModel/store/RecordMapping.h"
#include "ZunDataModel/store/StoreSchema.h"

namespace zun {

bool isDatabaseFile(const std::filesystem::path& file) {
    constexpr std::string_view beginning = "SQLite format 3";
    std::string bytes(beginning.size(), '\0');
    std::ifstream stream(file, std::ios::binary);
    return stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size())) && bytes == beginning;
}

std::variant<std::vector<ReminderAttributes>, std::string> recordsOfStoreFile(const std::filesystem::path& file) {
    // A store that is open, or was not closed, has its newest records beside the file.
    std::error_code none;
    auto log = file;
    log += "-wal";
    if (std::filesystem::file_size(log, none) > 0 && !none) return "it is in use, or was not closed; a backup is not";
    try {
        StoreConnection source(file, StoreConnection::Access::Frozen);
        if (source.integer("PRAGMA application_id") != storeApplicationId) return "it is no store of reminders";
        if (source.integer("PRAGMA user_version") > currentStoreVersion()) return "a later version of Zun wrote it";
        std::vector<ReminderAttributes> records;
        const StatementUse rows(source.statement("SELECT " + recordColumns() + " FROM reminders ORDER BY rowid"));
        while (rows->step()) {
            auto record = readRecord(*rows);
            if (!record.shouldDeleteRemote.value_or(false)) records.push_back(std::move(record));
        }
        return records;
    } catch (const SQLite::Exception& exception) {
        return std::string(exception.what());
    }
}

}  // namespace zun
