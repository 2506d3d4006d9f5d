#include "server/model/Administration.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>

#include "server/model/Operations.h"
#include "server/model/RowCoding.h"
#include "server/model/Secrets.h"
#include "server/model/ServiceIdentity.h"

namespace zun::cloud {
namespace {

constexpr std::size_t invitationBytes = 9;

// Goes through all rows in their order and compares what each says with the others.
class Checker {
  public:
    void look(std::string_view account, Table table, std::string_view name, std::string_view value) {
        try {
            if (table == Table::Account) {
                startAccount(account, value);
            } else if (table == Table::Record) {
                lookAtRecord(name, value);
            } else if (table == Table::Feed) {
                lookAtFeed(name, value);
            }
        } catch (const StorageFailure& failure) {
            complain(account, failure.what());
        }
    }
    [[nodiscard]] ServiceCheck finish() {
        endAccount();
        return std::move(_found);
    }

  private:
    void startAccount(std::string_view id, std::string_view value) {
        endAccount();
        _account = decodeAccount(value);
        _found.seen.add(_account);
        _bytes = 0;
        _places.clear();
        if (_account.id != id) complain(id, "the row is another account's");
    }

    void lookAtRecord(std::string_view row, std::string_view value) {
        const auto stored = decodeStored(value);
        _found.seen.add(stored);
        _bytes += stored.bytesTaken();
        const auto name = row.substr(zonePrefix(0).size());
        if (!stored.isDeleted && stored.record().recordID.recordName != name)
            complain(_account.id, "a record bears the name of another one");
        const auto zone = numberAtEnd(row.substr(0, zonePrefix(0).size()));
        const auto* state = _account.privateDatabase.incarnation(zone);
        if (!state || state->isDeleted) {
            complain(_account.id, "a record belongs to no zone");
        } else if (state->name != CKRecordZoneDefaultName && stored.sequence > state->forgottenThrough) {
            _places[feedRow(zone, stored.sequence)] = name;
        }
    }

    void lookAtFeed(std::string_view row, std::string_view value) {
        const auto zone = numberAtEnd(row.substr(0, zonePrefix(0).size()));
        const auto* state = _account.privateDatabase.incarnation(zone);
        if (!state) return;  // of the shared database
        const auto found = _places.find(std::string(row));
        if (found == _places.end()) {
            if (numberAtEnd(row) > state->forgottenThrough) complain(_account.id, "a change names no record");
            return;
        }
        if (found->second != decodeEntry(value).recordName) complain(_account.id, "a change names another record");
        _places.erase(found);
    }

    void endAccount() {
        if (_account.id.empty()) return;
        if (!_places.empty()) complain(_account.id, fmt::format("records in no feed: {}", _places.size()));
        if (_bytes != _account.usedBytes)
            complain(_account.id, fmt::format("{} bytes are used, not {}", _bytes, _account.usedBytes));
    }

    void complain(std::string_view account, std::string_view what) {
        _found.complaints.push_back(fmt::format("account {}: {}", account, what));
    }

    AccountState _account;
    std::uint64_t _bytes = 0;
    std::map<std::string, std::string> _places;  // in the feed -> the record that says so
    ServiceCheck _found;
};

ServiceOptions withCost(PasswordCost cost) {
    ServiceOptions options;
    options.passwordCost = cost;
    return options;
}

}  // namespace

void ServiceStatistics::add(const AccountState& account) {
    ++accounts;
    disabledAccounts += account.isDisabled ? 1 : 0;
    devices += account.devices.size();
    for (const auto& zone : account.privateDatabase.zones)
        zones += zone.isDeleted ? 0 : 1;
    recordBytes += account.usedBytes;
}

void ServiceStatistics::add(const StoredRecord& stored) {
    ++(stored.isDeleted ? deletedRecords : records);
    shares += !stored.isDeleted && stored.recordType == CKRecordTypeShare ? 1 : 0;
}

Administration::Administration(Storage& storage, const Environment& environment, RandomSource& random,
                               PasswordCost cost)
    : _storage(storage), _facts{withCost(cost), environment, random, {}, {}} {
    (void)serviceIdentity(storage, random);
}

void Administration::write(const std::function<void(RequestWork&)>& work) {
    std::optional<CKError> refused;
    writeAndWait(_storage, [&](Transaction& rows) {
        RequestWork request(rows, _facts, Access::Write);
        refused.reset();
        try {
            work(request);
            request.finish();
            return Storage::Ending::Commit;
        } catch (const RequestRefused& refusal) {
            refused = refusal.error;
            return Storage::Ending::Rollback;
        }
    });
    if (refused) throw RequestRefused{*refused};
}

void Administration::change(const std::string& name, const std::function<void(RequestWork&, AccountState&)>& work) {
    write([&](RequestWork& request) {
        const auto id = accountIDOfName(request.rows, accountNameOf(name));
        if (!id) refuse(CKErrorCode::UnknownItem, "there is no account with this name");
        work(request, request.account(*id));
        request.rows.wake(*id);
    });
}

std::string Administration::addAccount(const CreateAccount& request) {
    checkPassword(request.password);
    const auto hash = hashPassword(request.password, _facts.options.passwordCost);
    std::string id;
    write([&](RequestWork& work) { id = makeAccount(work, request, hash).id; });
    return id;
}

std::vector<AccountState> Administration::accounts() {
    std::vector<AccountState> accounts;
    _storage.dump([&](std::string_view, Table table, std::string_view, std::string_view value) {
        if (table == Table::Account) accounts.push_back(decodeAccount(value));
    });
    std::ranges::sort(accounts, {}, &AccountState::name);
    return accounts;
}

void Administration::setDisabled(const std::string& name, bool isDisabled) {
    change(name, [&](RequestWork&, AccountState& account) { account.isDisabled = isDisabled; });
}

void Administration::setPassword(const std::string& name, const std::string& password) {
    checkPassword(password);
    const auto hash = hashPassword(password, _facts.options.passwordCost);
    change(name, [&](RequestWork& work, AccountState& account) {
        account.passwordHash = hash;
        account.devices.clear();
        for (auto table : {Table::Push, Table::ExpiredToken})
            work.rows.erasePrefix(account.id, table, {});
    });
}

std::string Administration::invite(std::chrono::hours validFor) {
    const auto code = asText(_facts.random.bytes(invitationBytes));
    write([&](RequestWork& work) {
        work.rows.put({}, Table::Invitation, hashSecret(code), RowWriter().date(work.now + validFor).take());
    });
    return code;
}

ServiceStatistics Administration::statistics() {
    ServiceStatistics sum;
    _storage.dump([&](std::string_view, Table table, std::string_view, std::string_view value) {
        if (table == Table::Account) {
            sum.add(decodeAccount(value));
        } else if (table == Table::Record) {
            sum.add(decodeStored(value));
        }
    });
    return sum;
}

ServiceCheck Administration::check() {
    const auto ofStorage = _storage.check();
    Checker checker;
    _storage.dump([&](std::string_view account, Table table, std::string_view name, std::string_view value) {
        checker.look(account, table, name, value);
    });
    auto found = checker.finish();
    found.complaints.insert(found.complaints.begin(), ofStorage.begin(), ofStorage.end());
    return found;
}

}  // namespace zun::cloud
