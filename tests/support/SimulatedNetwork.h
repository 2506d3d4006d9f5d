#pragma once

// A network between one device and a transport, with the faults of one, drawn from a seed. Requests take drawn times,
// so they overtake each other, and so do their answers. Healing it stops new faults; what is under way still arrives.
//
// With a SimulatedDispatch only; on its thread.

#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>

#include "platform/cloudkit/CloudTransport.h"
#include "platform/foundation/Dispatch.h"

namespace zun {

class SimulatedNetwork final : public CloudTransport {
  public:
    // Chances of one request or push, in percent.
    struct Faults {
        int losesRequest = 0, losesAnswer = 0, doublesRequest = 0, throttles = 0, losesPush = 0, doublesPush = 0;
        std::chrono::milliseconds longestDelay{50};
    };
    struct Counts {
        std::uint64_t requests = 0, lostRequests = 0, lostAnswers = 0, doubled = 0, throttled = 0, offline = 0;
        std::uint64_t pushes = 0, lostPushes = 0, doubledPushes = 0;
        Counts& operator+=(const Counts& other);
    };

    SimulatedNetwork(CloudTransport& farSide, Dispatch& dispatch, std::uint64_t seed);

    void setFaults(Faults faults) { _state->faults = faults; }
    // Off the network, requests fail with code 3 at once and pushes wait.
    void setOnline(bool isOnline);
    [[nodiscard]] bool isOnline() const { return _state->isOnline; }
    [[nodiscard]] const Counts& counts() const { return _state->counts; }
    // The requests that arrived at the far side, by path.
    [[nodiscard]] const std::map<std::string, std::uint64_t, std::less<>>& arrived() const { return _state->arrived; }

    void send(const std::string& deviceToken, cloud::Request request, Completion completion) override;
    [[nodiscard]] std::unique_ptr<CloudPushStream> openPushStream(const std::string& deviceToken,
                                                                  PushHandlers handlers) override;

  private:
    class Stream;
    // Shared with what is under way.
    struct State {
        explicit State(std::uint64_t seed) : random(seed) {}
        bool happens(int percent) { return static_cast<int>(random() % 100) < percent; }
        std::chrono::microseconds delay();
        void after(std::chrono::microseconds time, Block block) { queue->asyncAfter(time, std::move(block)); }

        CloudTransport* farSide = nullptr;
        DispatchQueuePtr queue;
        std::mt19937_64 random;
        Faults faults;
        Counts counts;
        std::map<std::string, std::uint64_t, std::less<>> arrived;
        bool isOnline = true;
        std::set<Stream*> streams;
    };

    const std::shared_ptr<State> _state;
};

}  // namespace zun
