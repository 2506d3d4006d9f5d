#include "server/transport/InProcessTransport.h"

#include <map>
#include <mutex>
#include <utility>

#include "platform/cloudprotocol/MessageCodec.h"
#include "platform/foundation/BlockGate.h"

namespace zun {
namespace {

constexpr std::chrono::seconds firstWait{1}, longestWait{60};

cloud::Answer failure(CKErrorCode code, std::string description) {
    CKError error;
    error.code = code;
    error.description = std::move(description);
    return error;
}

// What the service makes of the written request.
std::variant<cloud::Request, cloud::Answer> arriving(const cloud::Request& request) {
    auto received = cloud::decodeRequest(cloud::pathOf(request), cloud::encode(request));
    if (auto* malformed = std::get_if<cloud::Malformed>(&received))
        return failure(CKErrorCode::InvalidArguments, malformed->reason);
    return std::get<cloud::Request>(std::move(received));
}

cloud::Answer returning(const cloud::Request& asked, const cloud::Answer& answer) {
    auto received = cloud::decodeAnswer(asked, cloud::encode(answer));
    if (auto* malformed = std::get_if<cloud::Malformed>(&received))
        return failure(CKErrorCode::InternalError, malformed->reason);
    return std::get<cloud::Answer>(std::move(received));
}

}  // namespace

// The pushes of one device. Opened again a while after each break, until it is closed or the device is not known.
class InProcessTransport::Pushes : public std::enable_shared_from_this<Pushes> {
  public:
    Pushes(std::shared_ptr<Road> road, std::string deviceToken, PushHandlers handlers)
        : _road(std::move(road)), _deviceToken(std::move(deviceToken)), _handlers(std::move(handlers)) {}

    void connect();
    void close() {
        _gate.close();
        drop();
    }
    void serviceWentAway() { breakOff(attempt()); }

  private:
    int attempt() {
        const std::scoped_lock lock(_mutex);
        return _attempt;
    }
    std::unique_ptr<cloud::PushStream> drop() {
        const std::scoped_lock lock(_mutex);
        return std::move(_stream);
    }
    void opened(int attempt, std::variant<cloud::OpenedPushStream, CKError> result);
    void breakOff(int attempt);

    const std::shared_ptr<Road> _road;
    const std::string _deviceToken;
    const PushHandlers _handlers;
    BlockGate _gate;
    std::mutex _mutex;
    std::unique_ptr<cloud::PushStream> _stream;
    std::optional<std::uint64_t> _lastNumber;
    std::chrono::seconds _wait = firstWait;
    int _attempt = 0;  // what earlier attempts report does not count any more
};

// Shared with the completions that the service holds.
class InProcessTransport::Road : public std::enable_shared_from_this<Road> {
  public:
    Road(cloud::CloudService* service, Dispatch& dispatch, std::string peer)
        : _dispatch(dispatch), _peer(std::move(peer)), _service(service) {}

    void send(const std::string& deviceToken, const cloud::Request& request, Completion completion) {
        auto toService = arriving(request);
        if (auto* refused = std::get_if<cloud::Answer>(&toService)) return completion(std::move(*refused));
        const auto number = begin(completion);
        const auto use = [&](cloud::CloudService& service) {
            service.handle(deviceToken, _peer, std::get<cloud::Request>(std::move(toService)),
                           [self = shared_from_this(), number, request](const cloud::Answer& answer) {
                               self->end(number, returning(request, answer));
                           });
        };
        if (!withService(use)) end(number, failure(CKErrorCode::NetworkUnavailable, "the service does not run"));
    }

    // False without a service. It is not taken away while the block runs.
    template <class Block>
    bool withService(Block block) {
        std::shared_ptr<BlockGate> gate;
        cloud::CloudService* service = nullptr;
        {
            const std::scoped_lock lock(_mutex);
            gate = _gate;
            service = _service;
        }
        bool isThere = false;
        gate->pass([&] {
            isThere = service != nullptr;
            if (isThere) block(*service);
        });
        return isThere;
    }

    void setService(cloud::CloudService* service) {
        std::map<std::uint64_t, Completion> broken;
        std::shared_ptr<BlockGate> former;
        {
            const std::scoped_lock lock(_mutex);
            former = std::exchange(_gate, std::make_shared<BlockGate>());
            _service = service;
            broken.swap(_underWay);
        }
        former->close();
        for (const auto& stream : streams())
            stream->serviceWentAway();
        for (auto& [number, completion] : broken)
            completion(failure(CKErrorCode::NetworkFailure, "the service went away"));
    }

    void add(const std::shared_ptr<Pushes>& stream) {
        const std::scoped_lock lock(_mutex);
        _streams.push_back(stream);
    }
    Dispatch& dispatch() { return _dispatch; }

  private:
    std::vector<std::shared_ptr<Pushes>> streams() {
        const std::scoped_lock lock(_mutex);
        std::erase_if(_streams, [](const auto& stream) { return stream.expired(); });
        std::vector<std::shared_ptr<Pushes>> open;
        for (const auto& stream : _streams)
            if (auto one = stream.lock()) open.push_back(std::move(one));
        return open;
    }
    std::uint64_t begin(Completion completion) {
        const std::scoped_lock lock(_mutex);
        _underWay.emplace(++_lastNumber, std::move(completion));
        return _lastNumber;
    }
    void end(std::uint64_t number, cloud::Answer answer) {
        Completion completion;
        {
            const std::scoped_lock lock(_mutex);
            const auto found = _underWay.find(number);
            if (found == _underWay.end()) return;
            completion = std::move(found->second);
            _underWay.erase(found);
        }
        completion(std::move(answer));
    }

    Dispatch& _dispatch;
    const std::string _peer;
    std::mutex _mutex;
    std::shared_ptr<BlockGate> _gate = std::make_shared<BlockGate>();  // to the service there is
    cloud::CloudService* _service;
    std::vector<std::weak_ptr<Pushes>> _streams;
    std::map<std::uint64_t, Completion> _underWay;
    std::uint64_t _lastNumber = 0;
};

void InProcessTransport::Pushes::connect() {
    int attempt = 0;
    std::optional<std::uint64_t> lastNumber;
    {
        const std::scoped_lock lock(_mutex);
        attempt = ++_attempt;
        lastNumber = _lastNumber;
    }
    cloud::PushStreamHandlers handlers;
    handlers.push = [self = weak_from_this()](const cloud::Push& push) {
        const auto pushes = self.lock();
        const auto received = cloud::decodePush(cloud::encode(push));
        if (!pushes || !std::holds_alternative<cloud::Push>(received)) return;
        {
            const std::scoped_lock lock(pushes->_mutex);
            pushes->_lastNumber = push.number;
        }
        pushes->_gate.pass([&] {
            if (pushes->_handlers.push) pushes->_handlers.push(std::get<cloud::Push>(received));
        });
    };
    handlers.closed = [self = weak_from_this(), attempt] {
        if (const auto pushes = self.lock()) pushes->breakOff(attempt);
    };
    const auto open = [&](cloud::CloudService& service) {
        service.openPushStream(_deviceToken, lastNumber, std::move(handlers),
                               [self = weak_from_this(), attempt](auto result) {
                                   if (const auto pushes = self.lock()) pushes->opened(attempt, std::move(result));
                               });
    };
    if (!_road->withService(open)) breakOff(attempt);
}

void InProcessTransport::Pushes::opened(int attempt, std::variant<cloud::OpenedPushStream, CKError> result) {
    if (const auto* error = std::get_if<CKError>(&result)) {
        // A device that is not signed in will not be by waiting.
        if (error->code != CKErrorCode::NotAuthenticated) breakOff(attempt);
        return;
    }
    auto& stream = std::get<cloud::OpenedPushStream>(result);
    bool isCurrent = false;
    {
        const std::scoped_lock lock(_mutex);
        isCurrent = attempt == _attempt;
        if (isCurrent) {
            _stream = std::move(stream.stream);
            _lastNumber = std::max(_lastNumber.value_or(0), stream.lastNumber);
            if (stream.hasGap) _lastNumber = stream.lastNumber;
            _wait = firstWait;
        }
    }
    if (isCurrent)
        _gate.pass([&] {
            if (_handlers.opened) _handlers.opened(stream.hasGap);
        });
}

void InProcessTransport::Pushes::breakOff(int attempt) {
    auto wait = firstWait;
    bool wasOpen = false;
    {
        const std::scoped_lock lock(_mutex);
        if (attempt != _attempt) return;
        ++_attempt;
        wait = _wait;
        _wait = std::min(_wait * 2, longestWait);
        wasOpen = _stream != nullptr;
    }
    drop();
    _gate.pass([&] {
        if (wasOpen && _handlers.broken) _handlers.broken();
        _road->dispatch().concurrent(QualityOfService::Utility)->asyncAfter(wait, [self = weak_from_this()] {
            if (const auto pushes = self.lock()) pushes->_gate.pass([&] { pushes->connect(); });
        });
    });
}

class InProcessTransport::Stream final : public CloudPushStream {
  public:
    explicit Stream(std::shared_ptr<Pushes> pushes) : _pushes(std::move(pushes)) {}
    ~Stream() override { _pushes->close(); }

  private:
    const std::shared_ptr<Pushes> _pushes;
};

InProcessTransport::InProcessTransport(cloud::CloudService* service, Dispatch& dispatch, std::string peer)
    : _road(std::make_shared<Road>(service, dispatch, std::move(peer))) {}

InProcessTransport::~InProcessTransport() = default;

void InProcessTransport::send(const std::string& deviceToken, cloud::Request request, Completion completion) {
    _road->send(deviceToken, request, std::move(completion));
}

std::unique_ptr<CloudPushStream> InProcessTransport::openPushStream(const std::string& deviceToken,
                                                                    PushHandlers handlers) {
    auto pushes = std::make_shared<Pushes>(_road, deviceToken, std::move(handlers));
    _road->add(pushes);
    pushes->connect();
    return std::make_unique<Stream>(std::move(pushes));
}

void InProcessTransport::setService(cloud::CloudService* service) {
    _road->setService(service);
}

}  // namespace zun
