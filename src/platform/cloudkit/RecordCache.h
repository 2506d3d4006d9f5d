#pragma once

// What was last read of zones: their records and the token up to which they were read. With it, reading a zone from its
// beginning costs one small request: what has changed since, and the rest from here.
//
//     records of a zone = what the service held when it gave the token
//     deletions of a zone = what was deleted since it was first read and nobody has taken in yet
//
// One SQLite file in the folder, held by one process at a time; a second process, or one with an empty folder, keeps it
// in memory. Nothing here is the only copy of anything: what cannot be read is deleted, and the next reading takes
// everything from the service. What is too large to be kept is not.
//
// Any thread; blocks on the disk. Calls fail by giving nothing, after which the service is to be asked instead.

#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/cloudprotocol/Messages.h"

namespace SQLite {
class Database;
}

namespace zun {

struct CachedZoneKey {
    std::string accountID;
    cloud::DatabaseScope database = cloud::DatabaseScope::Private;
    CKRecordZoneID zoneID;
};

class RecordCache {
  public:
    static constexpr std::uint64_t defaultLimit = 256u << 20;  // bytes of records; more is read from the service

    enum class Outcome { Applied, OtherToken, Failed };
    struct Contents {
        std::vector<std::string> records;  // encoded
        std::vector<cloud::ZoneChanges::Deleted> deleted;
        std::int64_t lastDeletion = 0;  // the number of the newest of them
    };

    explicit RecordCache(std::filesystem::path folder, std::uint64_t limit = defaultLimit);
    ~RecordCache();
    RecordCache(const RecordCache&) = delete;
    RecordCache& operator=(const RecordCache&) = delete;

    [[nodiscard]] std::optional<cloud::Token> tokenOf(const CachedZoneKey& key);
    // Takes in what was read from `from`; OtherToken if somebody else took something in meanwhile. Pages that are not
    // the last one may be followed by others later.
    [[nodiscard]] Outcome apply(const CachedZoneKey& key, const std::optional<cloud::Token>& from,
                                const cloud::ZoneChanges::Zone& page);
    // Absent if the zone is not kept or stands at another token.
    [[nodiscard]] std::optional<Contents> contentsOf(const CachedZoneKey& key, const cloud::Token& token);
    // Whoever reads has taken in those that came up to this one.
    void forgetDeletions(const CachedZoneKey& key, std::int64_t lastDeletion);
    void forget(const CachedZoneKey& key);
    void forgetAll();

  private:
    void openWhatCanBe();
    void openFile();
    void openInMemory();
    void discard();
    // Runs the work in a transaction. After a failure everything is forgotten and `otherwise` is the result.
    template <class Result, class Work>
    Result guarded(Result otherwise, Work work);

    const std::filesystem::path _folder;
    const std::uint64_t _limit;
    std::mutex _mutex;
    std::unique_ptr<SQLite::Database> _database;
    bool _staysInMemory = false;
};

}  // namespace zun
