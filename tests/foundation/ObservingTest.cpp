#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "platform/foundation/KeyValueObserving.h"
#include "platform/foundation/NSNotificationCenter.h"

namespace zun {
namespace {

using testing::ElementsAre;

TEST(NSNotificationCenter, PostsSynchronouslyToTheObserversOfTheNameInTheirOrder) {
    NSNotificationCenter centre;
    std::vector<std::string> log;
    auto first = centre.addObserver("a", [&](const NSNotification& n) { log.push_back("1:" + std::string(n.name)); });
    auto second = centre.addObserver("a", [&](const NSNotification& n) {
        log.push_back("2:" + std::to_string(std::any_cast<int>(n.object)));
        first.reset();
        centre.postNotificationName("b");
    });
    auto other = centre.addObserver("b", [&](const NSNotification& n) {
        EXPECT_FALSE(n.object.has_value());
        log.push_back("b");
    });
    centre.postNotificationName("a", 5);
    EXPECT_THAT(log, ElementsAre("1:a", "2:5", "b"));

    log.clear();
    second = std::move(other);  // ends what `second` observed
    centre.postNotificationName("a", 6);
    centre.postNotificationName("b");
    centre.postNotificationName("nobody");
    EXPECT_THAT(log, ElementsAre("b"));
}

TEST(NSNotificationCenter, ObserversMayComeAndGoWhileOthersPost) {
    NSNotificationCenter centre;
    std::atomic<int> seen = 0;
    std::atomic<bool> stop = false;
    auto steady = centre.addObserver("a", [&](const NSNotification&) { ++seen; });
    std::thread coming([&] {
        while (!stop)
            auto brief = centre.addObserver("a", [](const NSNotification&) {});
    });
    std::thread posting([&] {
        for (int i = 0; i < 500; ++i)
            centre.postNotificationName("a");
    });
    for (int i = 0; i < 500; ++i)
        centre.postNotificationName("a");
    posting.join();
    stop = true;
    coming.join();
    EXPECT_EQ(seen, 1000);
}

class Observed : public KeyValueObservable {
  public:
    void change(std::string_view key) { didChangeValueForKey(key); }
    [[nodiscard]] bool watched() const { return isObserved(); }
};

TEST(KeyValueObserving, TellsTheObserversOfAKeyAndStopsWhenTheyGo) {
    std::vector<std::string> log;
    auto object = std::make_unique<Observed>();
    EXPECT_FALSE(object->watched());
    object->change("title");

    Observation removed = object->observe({"notes"}, [&](std::string_view) { log.push_back("removed too late"); });
    // Registered after `removed`, so it is asked second; the one below removes another while a change is being told.
    auto remover = object->observe({"title"}, [&](std::string_view key) {
        log.push_back("first " + std::string(key));
        removed.reset();
    });
    removed =
        object->observe({"title", "notes"}, [&](std::string_view key) { log.push_back("second " + std::string(key)); });
    object->change("notes");
    object->change("title");
    object->change("notes");
    EXPECT_THAT(log, ElementsAre("second notes", "first title"));
    EXPECT_TRUE(object->watched());

    const Observed copy(*object);
    EXPECT_FALSE(copy.watched());
    object.reset();
    remover.reset();
}

TEST(KeyValueObserving, ManyThreadsMayObserveAndChange) {
    Observed object;
    std::atomic<int> told = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 200; ++i) {
                const auto mine = object.observe({"title"}, [&](std::string_view) { ++told; });
                object.change("title");
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_GE(told, 800);
    EXPECT_FALSE(object.watched());
}

}  // namespace
}  // namespace zun
