#include "platform/foundation/Dispatch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "platform/foundation/BlocksUnderWay.h"
#include "platform/foundation/SimulatedDispatch.h"
#include "platform/foundation/SystemDispatch.h"

namespace zun {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

// What both implementations promise.
class DispatchContract : public testing::TestWithParam<bool> {
  protected:
    DispatchContract() {
        if (GetParam()) {
            dispatch = std::make_unique<SystemDispatch>(std::make_shared<LoopQueue>());
        } else {
            dispatch = std::make_unique<SimulatedDispatch>(7);
        }
    }

    std::unique_ptr<Dispatch> dispatch;
};

TEST_P(DispatchContract, SerialQueuesKeepTheirOrderAndRunOneBlockAtATime) {
    constexpr int count = 200;
    std::atomic<int> finished = 0;
    std::atomic<int> overlaps = 0;
    std::vector<std::vector<int>> orders(3);
    std::vector<DispatchQueuePtr> queues;
    for (const auto quality : {QualityOfService::Utility, QualityOfService::Default, QualityOfService::Default}) {
        queues.push_back(dispatch->makeSerialQueue("test", quality));
    }
    for (std::size_t q = 0; q < orders.size(); ++q) {
        auto inside = std::make_shared<std::atomic<int>>(0);
        for (int i = 0; i < count; ++i) {
            queues[q]->async([&, q, i, inside] {
                if (++*inside != 1 || !queues[q]->isCurrent() || queues[(q + 1) % 3]->isCurrent()) ++overlaps;
                orders[q].push_back(i);
                --*inside;
                ++finished;
                dispatch->notify();
            });
        }
    }
    dispatch->waitUntil([&] { return finished == 3 * count; });
    EXPECT_EQ(overlaps, 0);
    for (const auto& order : orders) {
        EXPECT_TRUE(std::ranges::is_sorted(order));
        EXPECT_EQ(order.size(), std::size_t{count});
    }
    EXPECT_FALSE(queues[0]->isCurrent());
}

TEST_P(DispatchContract, MainRunsOnTheWaitingThreadAndBlocksAlreadySubmittedOutliveTheirQueue) {
    std::vector<std::string> log;
    const auto here = std::this_thread::get_id();
    onMainThread(*dispatch, [&] { log.push_back("at once"); });
    auto queue = dispatch->makeSerialQueue("short-lived", QualityOfService::Default);
    queue->async([&] {
        EXPECT_FALSE(dispatch->main()->isCurrent());
        onMainThread(*dispatch, [&] {
            EXPECT_EQ(std::this_thread::get_id(), here);
            EXPECT_TRUE(dispatch->main()->isCurrent());
            log.push_back("later");
        });
    });
    queue.reset();
    dispatch->waitUntil([&] { return log.size() == 2; });
    EXPECT_THAT(log, ElementsAre("at once", "later"));
}

TEST_P(DispatchContract, DelayedBlocksRunInTheOrderOfTheirMoments) {
    std::mutex mutex;
    std::vector<int> order;
    const auto queue = dispatch->makeSerialQueue("delays", QualityOfService::Default);
    const auto note = [&](int number) {
        return [&, number] {
            {
                const std::lock_guard lock(mutex);
                order.push_back(number);
            }
            dispatch->notify();
        };
    };
    queue->asyncAfter(5ms, note(3));
    queue->asyncAfter(1ms, note(2));
    queue->async(note(1));
    bool mainRan = false;
    dispatch->main()->asyncAfter(2ms, [&] { mainRan = true; });
    dispatch->waitUntil([&] {
        const std::lock_guard lock(mutex);
        return mainRan && order.size() == 3;
    });
    EXPECT_THAT(order, ElementsAre(1, 2, 3));
}

TEST_P(DispatchContract, AWaitInsideAMainBlockStartsNoOtherMainBlock) {
    bool inside = false;
    bool nested = false;
    std::atomic<bool> worked = false;
    bool done = false;
    const auto queue = dispatch->makeSerialQueue("worker", QualityOfService::Default);
    dispatch->main()->async([&] {
        inside = true;
        queue->async([&] {
            worked = true;
            dispatch->notify();
        });
        dispatch->waitUntil([&] { return worked.load(); });
        inside = false;
    });
    dispatch->main()->async([&] {
        nested = inside;
        done = true;
    });
    dispatch->waitUntil([&] { return done; });
    EXPECT_FALSE(nested);
}

TEST_P(DispatchContract, BlocksUnderWayEndBeforeTheirMakerDoes) {
    const auto queue = dispatch->makeSerialQueue("test", QualityOfService::Default);
    for (int round = 0; round < 20; ++round) {
        std::atomic<int> finished = 0;
        {
            BlocksUnderWay blocks(*dispatch);
            for (int i = 0; i < 3; ++i)
                blocks.async(*queue, [&] { ++finished; });
        }
        ASSERT_EQ(finished, 3);
    }
}

INSTANTIATE_TEST_SUITE_P(Implementations, DispatchContract, testing::Bool(),
                         [](const auto& tested) { return tested.param ? "System" : "Simulated"; });

TEST(SimulatedDispatch, TheSeedDecidesTheOrderBetweenQueuesAndNothingElse) {
    const auto orderFor = [](std::uint64_t seed) {
        SimulatedDispatch dispatch(seed);
        std::string order;
        const auto a = dispatch.makeSerialQueue("a", QualityOfService::Default);
        const auto b = dispatch.makeSerialQueue("b", QualityOfService::Default);
        const auto c = dispatch.concurrent(QualityOfService::Default);
        for (int i = 0; i < 4; ++i) {
            a->async([&] { order += 'a'; });
            b->async([&] { order += 'b'; });
            c->async([&, i] { order += static_cast<char>('0' + i); });
        }
        dispatch.runUntilIdle();
        return order;
    };
    std::set<std::string> orders;
    for (std::uint64_t seed = 0; seed < 20; ++seed) {
        EXPECT_EQ(orderFor(seed), orderFor(seed));
        orders.insert(orderFor(seed));
    }
    EXPECT_GT(orders.size(), 10u);
}

TEST(NSTimer, FiresOnceOrAgainUntilItIsInvalidated) {
    SimulatedDispatch dispatch(1);
    int once = 0;
    int often = 0;
    NSTimer bare;
    EXPECT_FALSE(bare.isValid());
    bare.invalidate();

    auto held = std::make_shared<int>(0);
    NSTimer single(dispatch.main(), 4s, false, [&, held] { ++once; });
    NSTimer repeating(dispatch.main(), 3s, true, [&] {
        if (++often == 3) repeating.invalidate();
    });
    dispatch.advance(3999ms);
    EXPECT_EQ(once, 0);
    EXPECT_TRUE(single.isValid());
    dispatch.advance(1ms);
    EXPECT_EQ(once, 1);
    EXPECT_FALSE(single.isValid());
    EXPECT_EQ(held.use_count(), 1) << "a spent timer lets go of what its block held";
    dispatch.advance(60s);
    EXPECT_EQ(often, 3);

    // Replacing a pending timer is the same as invalidating it.
    single = NSTimer(dispatch.main(), 4s, false, [&] { once += 10; });
    dispatch.advance(2s);
    single = NSTimer(dispatch.main(), 4s, false, [&] { once += 100; });
    dispatch.advance(3s);
    EXPECT_EQ(once, 1);
    {
        const NSTimer scoped(dispatch.main(), 1s, false, [&] { once += 1000; });
    }
    dispatch.advance(1s);
    EXPECT_EQ(once, 101);
}

}  // namespace
}  // namespace zun
