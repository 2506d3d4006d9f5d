#pragma once

// The records of one zone where they are kept, and what follows from each change: the owner's feed, the feeds of those
// with whom a record is shared, the bytes used, the pushes. Lives inside one request's work.

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "server/model/RequestWork.h"

namespace zun::cloud {

class ZoneRecords {
  public:
    ZoneRecords(RequestWork& work, std::string ownerID, std::uint64_t incarnation);

    // Reads many at once, for find().
    void prefetch(const std::vector<std::string>& names);
    // Null if there never was one; what is found may be deleted.
    [[nodiscard]] const StoredRecord* find(const std::string& name);
    // Only one that is there.
    [[nodiscard]] const StoredRecord* findLive(const std::string& name);
    // The record is the owner's: its zone and references are named as the owner names them. Gives it tag and date.
    const StoredRecord& store(CKRecord record, const std::string& shareName);
    // A shared one must have been stopped before.
    void remove(const std::string& name);

    [[nodiscard]] const std::string& zoneName() const { return _zoneName; }
    [[nodiscard]] const std::string& ownerID() const { return _ownerID; }
    [[nodiscard]] std::uint64_t incarnation() const { return _incarnation; }
    // Those who have accepted the share, without the owner.
    [[nodiscard]] const std::vector<CKShareParticipant>& participantsOf(const std::string& shareName);

  private:
    void keep(const std::string& name, StoredRecord stored, Push::Reason reason);

    RequestWork& _work;
    const std::string _ownerID;
    const std::uint64_t _incarnation;
    std::string _zoneName;
    std::map<std::string, std::optional<StoredRecord>, std::less<>> _known;
    std::map<std::string, std::vector<CKShareParticipant>> _participants;
};

}  // namespace zun::cloud
