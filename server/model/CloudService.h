#pragma once

// The record service without sockets: accounts, zones, records, feeds, subscriptions, shares and pushes, with every
// rule about them. It has no threads of its own: work runs on the caller's thread, on those of the storage, or where
// the options say.
//
// Any thread. handle() does not wait for the storage if the storage does not; a completion runs exactly once, perhaps
// before handle() returns, and never under a lock. The service must outlive the completions of what it accepted. What
// is refused has changed nothing. What is answered is durable.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "platform/cloudprotocol/Messages.h"
#include "platform/foundation/Environment.h"
#include "server/model/RandomSource.h"
#include "server/model/ServiceLimits.h"
#include "server/storage/Storage.h"

namespace zun::cloud {

// Open while it lives; destroying it closes it. A handler that is under way on another thread may still end after that.
class PushStream {
  public:
    virtual ~PushStream() = default;
};

struct PushStreamHandlers {
    // In the order of their numbers, one at a time.
    std::function<void(const Push&)> push;
    // The device was signed out, or the service is stopping: nothing comes after it. May destroy the stream.
    std::function<void()> closed;
};

struct OpenedPushStream {
    std::unique_ptr<PushStream> stream;
    std::uint64_t lastNumber = 0;  // from which the stream goes on
    bool hasGap = false;           // pushes between the number asked for and that one are lost
};

struct ServiceOptions {
    ServiceLimits limits;
    PasswordCost passwordCost;
    Registration registration = Registration::Open;
    // What the URLs of shares begin with; the address under which clients know the service.
    std::string shareURLBase = "zun-cloud://share/";
    // Runs what keeps a core busy for long, which is the hash of a password, on a thread that nobody waits for. Must
    // run all of it before the service's collaborators end. Empty: it runs at once.
    std::function<void(std::function<void()>)> aside;
};

// Numbers since the start, for those who host it.
struct ServiceCounters {
    std::uint64_t requests = 0, refused = 0, throttled = 0, recordsSaved = 0, recordsDeleted = 0, pushes = 0;
    std::uint64_t openStreams = 0;
};

class CloudService {
  public:
    using Completion = std::function<void(Answer)>;
    using StreamOpened = std::function<void(std::variant<OpenedPushStream, CKError>)>;

    // The collaborators outlive the service. Makes the service's epoch and secret where the storage has none; throws
    // StorageFailure.
    CloudService(Storage& storage, const Environment& environment, RandomSource& random, ServiceOptions options = {});
    ~CloudService();
    CloudService(const CloudService&) = delete;
    CloudService& operator=(const CloudService&) = delete;

    // `peer` tells strangers apart, such as an address; `deviceToken` may be empty where the request needs none.
    void handle(const std::string& deviceToken, const std::string& peer, Request request, Completion completion);

    // Whether a request of this device would be listened to, for whoever wants to know before reading all of it. Code 9
    // if not.
    void authenticate(const std::string& deviceToken, std::function<void(OptionalError)> completion);

    // Goes on after `lastNumber`; without one, with what comes from now on. The handlers may run before `opened`.
    void openPushStream(const std::string& deviceToken, std::optional<std::uint64_t> lastNumber,
                        PushStreamHandlers handlers, StreamOpened opened);
    // Closes the streams of devices that are no longer signed in. To be called now and then.
    void checkPushStreams();

    // From now on requests are answered with code 6, and streams are closed. What was accepted goes on.
    void stop();
    [[nodiscard]] ServiceCounters counters() const;

    // For moving in from elsewhere: puts records into the default zone, into which clients cannot write. Their tags and
    // dates are the service's. Returns what was wrong, if something was.
    void seedDefaultZone(const std::string& accountID, std::vector<CKRecord> records,
                         std::function<void(OptionalError)> completion);

  private:
    struct State;
    std::shared_ptr<State> _state;
};

}  // namespace zun::cloud
