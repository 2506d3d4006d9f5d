#include "server/model/CloudService.h"

#include <atomic>
#include <new>
#include <utility>

#include "server/model/DeviceToken.h"
#include "server/model/Operations.h"
#include "server/model/PushHub.h"
#include "server/model/RateLimiter.h"
#include "server/model/RowCoding.h"
#include "server/model/Secrets.h"
#include "server/model/ServiceIdentity.h"

namespace zun::cloud {
namespace {

constexpr double retryWhenStorageFails = 5;
constexpr double retryWhenBusyWithPasswords = 1;

CKError withRetry(CKErrorCode code, std::string description, double seconds) {
    auto error = makeError(code, std::move(description));
    error.userInfo.CKErrorRetryAfterKey = seconds;
    return error;
}

OptionalError errorOf(const Answer& answer) {
    const auto* error = std::get_if<CKError>(&answer);
    return error ? OptionalError(*error) : std::nullopt;
}

CKError noMemory() {
    return withRetry(CKErrorCode::ServiceUnavailable, "there is no memory left for it", retryWhenBusyWithPasswords);
}

std::optional<std::string> hashIfPossible(const std::string& password, const PasswordCost& cost) {
    try {
        return hashPassword(password, cost);
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

// A name that nobody has takes as long as a wrong password.
std::optional<bool> matchIfPossible(const std::string& hash, const std::string& password, const PasswordCost& cost) {
    if (hash.empty()) return hashIfPossible(password, cost) ? std::optional(false) : std::nullopt;
    try {
        return passwordMatches(hash, password);
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

// One of the few that may hash passwords at the same time, from when it asks to when it is done.
using PasswordTurn = std::shared_ptr<void>;

}  // namespace

struct CloudService::State : std::enable_shared_from_this<CloudService::State> {
    using Operation = std::function<Answer(RequestWork&)>;

    State(Storage& rows, const Environment& environment, RandomSource& random, ServiceOptions options)
        : State(rows, environment, random, std::move(options), serviceIdentity(rows, random)) {}
    State(Storage& rows, const Environment& environment, RandomSource& random, ServiceOptions options,
          ServiceIdentity identity)
        : storage(rows),
          facts(std::make_shared<const ServiceFacts>(ServiceFacts{
              std::move(options), environment, random, std::move(identity.epoch), std::move(identity.secret)})),
          hub(std::make_shared<PushHub>(storage, facts)),
          ofDevices(facts->options.limits.requestsPerSecond, facts->options.limits.requestsAtOnce),
          ofStrangers(facts->options.limits.strangersPerSecond, facts->options.limits.strangersAtOnce) {}

    void run(Access access, const std::string& deviceToken, Operation operation, Completion completion);
    // The account whose password is right; code 9 otherwise. Takes long.
    void withPassword(Operation findAccount, const std::string& deviceToken, std::string password, Operation then,
                      Completion completion);
    void createAccount(CreateAccount request, Completion completion);
    void changePassword(const std::string& deviceToken, ChangePassword request, Completion completion);
    void hash(std::string password, std::function<void(std::string hashed)> then, Completion completion);
    // Runs work over a password aside, if not too much of it is under way. The work gives up the turn when it is done.
    void takeTurn(std::function<void(PasswordTurn)> work, Completion completion);
    void dispatch(const std::string& deviceToken, Request request, Completion completion);
    // Why the asker is not even listened to, if so.
    [[nodiscard]] OptionalError whyNotDevice(const std::string& deviceToken);
    [[nodiscard]] OptionalError whyNotStranger(const std::string& peer);
    [[nodiscard]] OptionalError throttle(RateLimiter& limiter, const std::string& key);

    Storage& storage;
    const std::shared_ptr<const ServiceFacts> facts;
    const std::shared_ptr<PushHub> hub;
    RateLimiter ofDevices, ofStrangers;
    std::atomic<bool> isStopping{false};
    std::atomic<int> hashing{0};
    std::atomic<std::uint64_t> requests{0}, refused{0}, throttled{0}, recordsSaved{0}, recordsDeleted{0}, pushes{0};
};

// A work may be run again, so it leaves its mark only in the answer, which it overwrites.
void CloudService::State::run(Access access, const std::string& deviceToken, Operation operation,
                              Completion completion) {
    struct Outcome {
        Answer answer;
        bool needsWriting = false;
        std::uint64_t saved = 0, deleted = 0, pushes = 0;
    };
    auto outcome = std::make_shared<Outcome>();
    auto self = shared_from_this();
    auto work = [self, access, deviceToken, operation, outcome](Transaction& rows) {
        RequestWork request(rows, *self->facts, access);
        try {
            if (!deviceToken.empty()) request.authenticate(deviceToken);
            *outcome = {operation(request)};
            request.finish();
        } catch (const RequestRefused& refusal) {
            *outcome = {refusal.error};
            return Storage::Ending::Rollback;
        } catch (const NeedsWriting&) {
            *outcome = {CKError{}, true};
            return Storage::Ending::Rollback;
        } catch (const std::bad_alloc&) {
            // One request that is too much for the machine ends by itself.
            throw StorageFailure("there is no memory left for the work");
        }
        outcome->saved = request.recordsSaved;
        outcome->deleted = request.recordsDeleted;
        outcome->pushes = request.pushes;
        return Storage::Ending::Commit;
    };
    auto done = [self, deviceToken, operation, outcome, completion = std::move(completion)](auto failure) {
        if (failure) {
            ++self->refused;
            completion(
                withRetry(CKErrorCode::ServiceUnavailable, "the storage is not available", retryWhenStorageFails));
            return;
        }
        if (outcome->needsWriting) {
            self->run(Access::Write, deviceToken, operation, completion);
            return;
        }
        self->recordsSaved += outcome->saved;
        self->recordsDeleted += outcome->deleted;
        self->pushes += outcome->pushes;
        if (std::holds_alternative<CKError>(outcome->answer)) ++self->refused;
        completion(std::move(outcome->answer));
    };
    access == Access::Write ? storage.write(std::move(work), std::move(done))
                            : storage.read(std::move(work), std::move(done));
}

OptionalError CloudService::State::whyNotDevice(const std::string& deviceToken) {
    const auto token = DeviceToken::read(deviceToken);
    if (token) return throttle(ofDevices, std::string(token->credentials));
    ++refused;
    return makeError(CKErrorCode::NotAuthenticated, "not signed in");
}

OptionalError CloudService::State::whyNotStranger(const std::string& peer) {
    return throttle(ofStrangers, peer);
}

OptionalError CloudService::State::throttle(RateLimiter& limiter, const std::string& key) {
    const auto wait = limiter.take(key, facts->environment.now());
    if (!wait) return std::nullopt;
    ++throttled;
    return withRetry(CKErrorCode::RequestRateLimited, "too many requests", *wait);
}

void CloudService::State::takeTurn(std::function<void(PasswordTurn)> work, Completion completion) {
    PasswordTurn turn(nullptr, [self = shared_from_this()](auto) { --self->hashing; });
    if (hashing.fetch_add(1) >= facts->options.limits.passwordsAtOnce) {
        completion(
            withRetry(CKErrorCode::RequestRateLimited, "too many passwords at once", retryWhenBusyWithPasswords));
        return;
    }
    auto run = [work = std::move(work), turn = std::move(turn)]() mutable { work(std::exchange(turn, nullptr)); };
    facts->options.aside ? facts->options.aside(std::move(run)) : run();
}

void CloudService::State::hash(std::string password, std::function<void(std::string hashed)> then,
                               Completion completion) {
    try {
        checkPassword(password);
    } catch (const RequestRefused& refusal) {
        completion(refusal.error);
        return;
    }
    auto work = [self = shared_from_this(), password = std::move(password), then = std::move(then),
                 completion](PasswordTurn turn) {
        auto hashed = hashIfPossible(password, self->facts->options.passwordCost);
        turn.reset();
        hashed ? then(std::move(*hashed)) : completion(noMemory());
    };
    takeTurn(std::move(work), std::move(completion));
}

void CloudService::State::createAccount(CreateAccount request, Completion completion) {
    auto password = std::exchange(request.password, {});
    auto create = [self = shared_from_this(), request = std::move(request), completion](std::string hashed) {
        auto add = [request, hashed = std::move(hashed)](RequestWork& work) {
            return cloud::createAccount(work, request, hashed);
        };
        self->run(Access::Write, {}, std::move(add), completion);
    };
    hash(std::move(password), std::move(create), std::move(completion));
}

// The password is compared outside of any transaction. The second transaction makes sure that it is still the
// account's.
void CloudService::State::withPassword(Operation findAccount, const std::string& deviceToken, std::string password,
                                       Operation then, Completion completion) {
    struct Known {
        std::string id, hash;
    };
    auto known = std::make_shared<Known>();
    auto self = shared_from_this();
    auto look = [known, findAccount = std::move(findAccount)](RequestWork& work) -> Answer {
        *known = {};
        auto answer = findAccount(work);
        if (const auto* account = work.accountID.empty() ? nullptr : work.findAccount(work.accountID))
            if (!account->isDisabled) *known = {account->id, account->passwordHash};
        return answer;
    };
    auto finish = [known, then = std::move(then)](RequestWork& work) {
        work.accountID = known->id;
        const auto* account = work.findAccount(known->id);
        if (!account || account->isDisabled || account->passwordHash != known->hash)
            refuse(CKErrorCode::NotAuthenticated, "the name or the password is wrong");
        return then(work);
    };
    auto compare = [self, known, deviceToken, password = std::move(password), finish = std::move(finish),
                    completion](PasswordTurn turn) {
        const auto isRight = matchIfPossible(known->hash, password, self->facts->options.passwordCost);
        turn.reset();
        if (!isRight) {
            completion(noMemory());
            return;
        }
        if (*isRight) {
            self->run(Access::Write, deviceToken, finish, completion);
            return;
        }
        ++self->refused;
        completion(makeError(CKErrorCode::NotAuthenticated, "the name or the password is wrong"));
    };
    auto looked = [self, compare = std::move(compare), completion = std::move(completion)](Answer answer) {
        if (std::holds_alternative<CKError>(answer)) {
            completion(std::move(answer));
        } else {
            self->takeTurn(compare, completion);
        }
    };
    run(Access::Read, deviceToken, std::move(look), std::move(looked));
}

void CloudService::State::changePassword(const std::string& deviceToken, ChangePassword request,
                                         Completion completion) {
    auto compare = [self = shared_from_this(), deviceToken, old = std::move(request.oldPassword),
                    completion](std::string hashed) {
        auto change = [hashed = std::move(hashed)](RequestWork& work) -> Answer {
            work.me().passwordHash = hashed;
            return Done{};
        };
        self->withPassword([](RequestWork&) -> Answer { return Done{}; }, deviceToken, old, std::move(change),
                           completion);
    };
    hash(std::move(request.newPassword), std::move(compare), std::move(completion));
}

namespace {

template <class Message>
constexpr bool onlyReads = std::is_same_v<Message, FetchAccount> || std::is_same_v<Message, FetchDevices> ||
                           std::is_same_v<Message, FetchZones> || std::is_same_v<Message, FetchRecords> ||
                           std::is_same_v<Message, QueryRecords> || std::is_same_v<Message, FetchDatabaseChanges> ||
                           std::is_same_v<Message, FetchZoneChanges> || std::is_same_v<Message, FetchSubscriptions> ||
                           std::is_same_v<Message, FetchShareMetadata>;

// Of who is signed in, and not of what is stored.
template <class Message>
constexpr bool isAboutAccount = std::is_same_v<Message, SignOut> || std::is_same_v<Message, FetchAccount> ||
                                std::is_same_v<Message, FetchDevices> || std::is_same_v<Message, RevokeDevice>;

// Requests that need no password, by their types.
Answer perform(RequestWork& work, const SignOut&) {
    return removeDevice(work, work.deviceID);
}
Answer perform(RequestWork& work, const FetchAccount&) {
    return fetchAccount(work);
}
Answer perform(RequestWork& work, const FetchDevices&) {
    return fetchDevices(work);
}
Answer perform(RequestWork& work, const RevokeDevice& request) {
    return removeDevice(work, request.deviceID);
}
Answer perform(RequestWork& work, const FetchZones& request) {
    return fetchZones(work, request);
}
Answer perform(RequestWork& work, const ModifyZones& request) {
    return modifyZones(work, request);
}
Answer perform(RequestWork& work, const ModifyRecords& request) {
    return modifyRecords(work, request);
}
Answer perform(RequestWork& work, const FetchRecords& request) {
    return fetchRecords(work, request);
}
Answer perform(RequestWork& work, const QueryRecords& request) {
    return queryRecords(work, request);
}
Answer perform(RequestWork& work, const FetchDatabaseChanges& request) {
    return fetchDatabaseChanges(work, request);
}
Answer perform(RequestWork& work, const FetchZoneChanges& request) {
    return fetchZoneChanges(work, request);
}
Answer perform(RequestWork& work, const SaveSubscription& request) {
    return saveSubscription(work, request);
}
Answer perform(RequestWork& work, const FetchSubscriptions& request) {
    return fetchSubscriptions(work, request);
}
Answer perform(RequestWork& work, const DeleteSubscription& request) {
    return deleteSubscription(work, request);
}
Answer perform(RequestWork& work, const FetchShareMetadata& request) {
    return fetchShareMetadata(work, request);
}
Answer perform(RequestWork& work, const AcceptShares& request) {
    return acceptShares(work, request);
}

}  // namespace

void CloudService::State::dispatch(const std::string& deviceToken, Request request, Completion completion) {
    auto visitor = [&]<class Message>(Message& message) {
        if constexpr (std::is_same_v<Message, CreateAccount>) {
            createAccount(std::move(message), std::move(completion));
        } else if constexpr (std::is_same_v<Message, SignIn>) {
            auto find = [name = std::move(message.name)](RequestWork& work) -> Answer {
                work.accountID = accountIDOfName(work.rows, accountNameOf(name)).value_or("");
                return Done{};
            };
            auto add = [device = std::move(message.deviceName)](RequestWork& work) -> Answer {
                return addDevice(work, work.me(), device);
            };
            withPassword(std::move(find), {}, std::move(message.password), std::move(add), std::move(completion));
        } else if constexpr (std::is_same_v<Message, ChangePassword>) {
            changePassword(deviceToken, std::move(message), std::move(completion));
        } else if constexpr (std::is_same_v<Message, DeleteAccount>) {
            auto remove = [](RequestWork& work) -> Answer {
                deleteAccount(work, work.accountID);
                return Done{};
            };
            withPassword([](RequestWork&) -> Answer { return Done{}; }, deviceToken, std::move(message.password),
                         std::move(remove), std::move(completion));
        } else {
            auto shared = std::make_shared<const Message>(std::move(message));
            run(
                onlyReads<Message> ? Access::Read : Access::Write, deviceToken,
                [shared](RequestWork& work) {
                    if constexpr (!isAboutAccount<Message>) work.requireThisEpoch();
                    return perform(work, *shared);
                },
                std::move(completion));
        }
    };
    std::visit(visitor, request);
}

CloudService::CloudService(Storage& storage, const Environment& environment, RandomSource& random,
                           ServiceOptions options)
    : _state(std::make_shared<State>(storage, environment, random, std::move(options))) {
    storage.setWakeListener([hub = std::weak_ptr(_state->hub)](const std::string& account) {
        if (auto open = hub.lock()) open->wake(account);
    });
}

CloudService::~CloudService() {
    _state->storage.setWakeListener(nullptr);
}

void CloudService::handle(const std::string& deviceToken, const std::string& peer, Request request,
                          Completion completion) {
    const bool isStranger = std::holds_alternative<CreateAccount>(request) || std::holds_alternative<SignIn>(request);
    ++_state->requests;
    if (_state->isStopping) {
        const std::chrono::duration<double> wait = _state->facts->options.limits.retryWhenStopping;
        completion(withRetry(CKErrorCode::ServiceUnavailable, "the service is stopping", wait.count()));
        return;
    }
    const auto refused = isStranger ? _state->whyNotStranger(peer) : _state->whyNotDevice(deviceToken);
    if (refused) {
        completion(*refused);
        return;
    }
    _state->dispatch(deviceToken, std::move(request), std::move(completion));
}

void CloudService::authenticate(const std::string& deviceToken, std::function<void(OptionalError)> completion) {
    if (!DeviceToken::read(deviceToken)) {
        completion(makeError(CKErrorCode::NotAuthenticated, "not signed in"));
        return;
    }
    _state->run(
        Access::Read, deviceToken, [](RequestWork&) -> Answer { return Done{}; },
        [completion = std::move(completion)](const Answer& answer) { completion(errorOf(answer)); });
}

void CloudService::openPushStream(const std::string& deviceToken, std::optional<std::uint64_t> lastNumber,
                                  PushStreamHandlers handlers, StreamOpened opened) {
    if (_state->isStopping) {
        const std::chrono::duration<double> wait = _state->facts->options.limits.retryWhenStopping;
        opened(withRetry(CKErrorCode::ServiceUnavailable, "the service is stopping", wait.count()));
        return;
    }
    if (auto refused = _state->whyNotDevice(deviceToken)) {
        opened(std::move(*refused));
        return;
    }
    _state->hub->open(deviceToken, lastNumber, std::move(handlers), std::move(opened));
}

void CloudService::checkPushStreams() {
    _state->hub->wakeAll();
}

void CloudService::stop() {
    _state->isStopping = true;
    _state->hub->closeAll();
}

ServiceCounters CloudService::counters() const {
    return {_state->requests,       _state->refused, _state->throttled,   _state->recordsSaved,
            _state->recordsDeleted, _state->pushes,  _state->hub->count()};
}

void CloudService::seedDefaultZone(const std::string& accountID, std::vector<CKRecord> records,
                                   std::function<void(OptionalError)> completion) {
    auto seed = [accountID, records = std::move(records)](RequestWork& work) -> Answer {
        work.accountID = accountID;
        if (!work.findAccount(accountID)) throw RequestRefused{noSuchRecord()};
        seedRecords(work, records);
        return Done{};
    };
    _state->run(Access::Write, {}, std::move(seed),
                [completion = std::move(completion)](const Answer& answer) { completion(errorOf(answer)); });
}

}  // namespace zun::cloud
