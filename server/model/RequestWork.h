#pragma once

// One request's work inside one transaction: who asks, the accounts that it touches, and what will have to be pushed.
// The operations are free functions over it, one source a topic. Used by the thread that runs the transaction.

#include <map>
#include <set>
#include <string>
#include <vector>

#include "platform/cloudprotocol/Messages.h"
#include "server/model/AccountState.h"
#include "server/model/CloudService.h"
#include "server/model/StoredRecord.h"

namespace zun::cloud {

// Ends the work without a trace; the request is answered with the error.
struct RequestRefused {
    CKError error;
};
[[noreturn]] void refuse(CKErrorCode code, std::string description);
[[nodiscard]] CKError makeError(CKErrorCode code, std::string description);
// For what does not exist and for what is not the asker's business, alike.
[[nodiscard]] CKError noSuchRecord();
[[nodiscard]] CKError noSuchZone();

// The work began as a read and has found that it must write.
struct NeedsWriting {};

enum class Access { Read, Write };

// What is the same for all requests.
struct ServiceFacts {
    ServiceOptions options;
    const Environment& environment;
    RandomSource& random;
    std::string epoch, secret;
};

// A zone in the eyes of the account that asks, and where its records are. One's own zone is both.
struct ZoneView {
    DatabaseScope scope = DatabaseScope::Private;
    std::uint64_t incarnation = 0;  // of the zone in the asker's database: names its feed
    std::string ownerID;
    std::uint64_t ownerIncarnation = 0;  // of the zone in the owner's database: names its records
    bool isDefaultZone = false;

    [[nodiscard]] bool isOwn() const { return scope == DatabaseScope::Private; }
};

class RequestWork {
  public:
    RequestWork(Transaction& transaction, const ServiceFacts& serviceFacts, Access how)
        : rows(transaction), facts(serviceFacts), access(how), now(serviceFacts.environment.now()) {}
    RequestWork(const RequestWork&) = delete;
    RequestWork& operator=(const RequestWork&) = delete;

    Transaction& rows;
    const ServiceFacts& facts;
    const Access access;
    const NSDate now;
    std::string accountID, deviceID;  // who asks
    std::string epochOfAsker;         // the state of the service that the asker knows; may be empty

    // Code 9 for whatever is wrong with the token: account, device and secret, perhaps an epoch, with points between.
    void authenticate(std::string_view deviceToken);
    // Code 21 for an asker who builds on a state before the service was restored.
    void requireThisEpoch() const;
    [[nodiscard]] AccountState& me() { return account(accountID); }
    // Of an account that must exist. The reference stays until the work ends; what is changed in it is stored then.
    [[nodiscard]] AccountState& account(const std::string& id);
    [[nodiscard]] AccountState* findAccount(const std::string& id);
    // For an account that is new in this work.
    AccountState& addAccount(AccountState account);
    void forgetAccount(const std::string& id);
    void requireWriting() const {
        if (access == Access::Read) throw NeedsWriting{};
    }

    // Nothing if the asker has no such zone.
    [[nodiscard]] std::optional<ZoneView> findZone(DatabaseScope scope, const CKRecordZoneID& zoneID);

    // Takes a change into the feed of one account's zone; returns its number there. `former` is the place of the
    // record's last change in that feed, 0 if there was none.
    std::uint64_t appendToFeed(const std::string& viewerID, DatabaseScope scope, std::uint64_t incarnation,
                               std::uint64_t former, const FeedEntry& entry);

    // To be told to the devices of an account but for the one that asks.
    struct Change {
        CKRecordID recordID;
        std::string recordType;
        Push::Reason reason = Push::Reason::Updated;
    };
    void noteChange(const std::string& account, DatabaseScope scope, Change change) {
        _changes[{account, scope}].list.push_back(std::move(change));
    }
    // More has changed than can be named.
    void noteManyChanges(const std::string& account, DatabaseScope scope) { _changes[{account, scope}].areMany = true; }
    // Stores the pushes and the accounts. Once, at the end of work that succeeded.
    void finish();

    std::uint64_t recordsSaved = 0, recordsDeleted = 0, pushes = 0;

  private:
    void forgetOldDeletions(const std::string& viewerID, ZoneState& zone);
    void forgetOldZones(AccountState& account);
    void forgetSurplusZones(DatabaseState& database) const;
    struct Changes {
        std::vector<Change> list;
        bool areMany = false;
    };
    void pushChanges(AccountState& account, DatabaseScope scope, const Changes& changes);
    void push(AccountState& account, Push push);

    struct Loaded {
        AccountState state;
        std::string row;  // as it is stored
    };
    std::map<std::string, Loaded, std::less<>> _accounts;
    std::map<std::pair<std::string, DatabaseScope>, Changes> _changes;
};

[[nodiscard]] std::string pushRow(std::string_view deviceID, std::uint64_t number);

}  // namespace zun::cloud
