#include "support/SimulatedNetwork.h"

#include <deque>
#include <utility>

#include "platform/cloudprotocol/MessageCodec.h"

namespace zun {
namespace {

// After which a client takes a request for lost.
constexpr std::chrono::seconds patience{5};

CKError failure(CKErrorCode code, double retryAfter = 0) {
    CKError error{code, "the simulated network", {}};
    if (retryAfter > 0) error.userInfo.CKErrorRetryAfterKey = retryAfter;
    return error;
}

}  // namespace

SimulatedNetwork::Counts& SimulatedNetwork::Counts::operator+=(const Counts& other) {
    for (const auto count :
         {&Counts::requests, &Counts::lostRequests, &Counts::lostAnswers, &Counts::doubled, &Counts::throttled,
          &Counts::offline, &Counts::pushes, &Counts::lostPushes, &Counts::doubledPushes})
        this->*count += other.*count;
    return *this;
}

std::chrono::microseconds SimulatedNetwork::State::delay() {
    const auto longest = std::chrono::microseconds(faults.longestDelay).count();
    return std::chrono::microseconds(1 + static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(longest + 1)));
}

SimulatedNetwork::SimulatedNetwork(CloudTransport& farSide, Dispatch& dispatch, std::uint64_t seed)
    : _state(std::make_shared<State>(seed)) {
    _state->farSide = &farSide;
    _state->queue = dispatch.concurrent(QualityOfService::Default);
}

void SimulatedNetwork::send(const std::string& deviceToken, cloud::Request request, Completion completion) {
    auto& state = *_state;
    ++state.counts.requests;
    if (!state.isOnline) {
        ++state.counts.offline;
        return state.after(state.delay(), [completion] { completion(failure(CKErrorCode::NetworkUnavailable)); });
    }
    if (state.happens(state.faults.throttles)) {
        ++state.counts.throttled;
        const auto wait = 0.5 + static_cast<double>(state.random() % 20) / 10;
        return state.after(state.delay(),
                           [completion, wait] { completion(failure(CKErrorCode::RequestRateLimited, wait)); });
    }
    if (state.happens(state.faults.losesRequest)) {
        ++state.counts.lostRequests;
        return state.after(patience, [completion] { completion(failure(CKErrorCode::NetworkFailure)); });
    }
    const bool losesAnswer = state.happens(state.faults.losesAnswer);
    const bool isDoubled = state.happens(state.faults.doublesRequest);
    state.counts.lostAnswers += losesAnswer ? 1 : 0;
    state.counts.doubled += isDoubled ? 1 : 0;
    // The copy may come first, and whichever answer is first counts.
    const auto isAnswered = std::make_shared<bool>(false);
    const auto arrive = [shared = _state, deviceToken, request = std::move(request), completion, isAnswered,
                         losesAnswer] {
        ++shared->arrived[std::string(cloud::pathOf(request))];
        shared->farSide->send(
            deviceToken, request, [shared, completion, isAnswered, losesAnswer](cloud::Answer answer) {
                if (losesAnswer) answer = failure(CKErrorCode::NetworkFailure);
                shared->after(losesAnswer ? patience : shared->delay(), [completion, isAnswered, answer] {
                    if (!std::exchange(*isAnswered, true)) completion(answer);
                });
            });
    };
    state.after(state.delay(), arrive);
    if (isDoubled) state.after(state.delay(), arrive);
}

// Pushes of one device. Delays may reorder them, as two connections would.
class SimulatedNetwork::Stream final : public CloudPushStream {
  public:
    Stream(std::shared_ptr<State> state, PushHandlers handlers)
        : _state(std::move(state)), _handlers(std::make_shared<PushHandlers>(std::move(handlers))) {
        _state->streams.insert(this);
    }
    ~Stream() override { _state->streams.erase(this); }

    void connect(const std::string& deviceToken) {
        PushHandlers handlers;
        handlers.push = [this](const cloud::Push& push) { arrive(push); };
        handlers.opened = [this](bool hasGap) { later([hasGap](const PushHandlers& each) { each.opened(hasGap); }); };
        handlers.broken = [this] { later([](const PushHandlers& each) { each.broken(); }); };
        _inner = _state->farSide->openPushStream(deviceToken, std::move(handlers));
    }
    // Hands on what waited while the device was off the network.
    void deliver() {
        auto waiting = std::exchange(_waiting, {});
        for (auto& one : waiting)
            later(std::move(one));
    }

  private:
    using Delivery = std::function<void(const PushHandlers&)>;

    void arrive(const cloud::Push& push) {
        ++_state->counts.pushes;
        const auto give = [push](const PushHandlers& each) { each.push(push); };
        if (_state->happens(_state->faults.losesPush)) {
            ++_state->counts.lostPushes;
            return later([](const PushHandlers& each) { each.opened(true); });
        }
        later(give);
        if (!_state->happens(_state->faults.doublesPush)) return;
        ++_state->counts.doubledPushes;
        later(give);
    }
    void later(Delivery delivery) {
        if (!_state->isOnline) return _waiting.push_back(std::move(delivery));
        _state->after(_state->delay(), [handlers = std::weak_ptr(_handlers), delivery = std::move(delivery)] {
            if (const auto alive = handlers.lock()) delivery(*alive);
        });
    }

    const std::shared_ptr<State> _state;
    const std::shared_ptr<PushHandlers> _handlers;
    std::deque<Delivery> _waiting;
    std::unique_ptr<CloudPushStream> _inner;
};

void SimulatedNetwork::setOnline(bool isOnline) {
    if (std::exchange(_state->isOnline, isOnline) || !isOnline) return;
    for (auto* stream : _state->streams)
        stream->deliver();
}

std::unique_ptr<CloudPushStream> SimulatedNetwork::openPushStream(const std::string& deviceToken,
                                                                  PushHandlers handlers) {
    const auto setIfNot = [](auto& handler) {
        if (!handler) handler = [](auto&&...) {};
    };
    setIfNot(handlers.push);
    setIfNot(handlers.opened);
    setIfNot(handlers.broken);
    auto stream = std::make_unique<Stream>(_state, std::move(handlers));
    stream->connect(deviceToken);
    return stream;
}

}  // namespace zun
