#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/foundation/Log.h"
#include "shell/ShellWorld.h"

namespace zun {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using LinkIntakeTest = ShellWorld;

std::vector<std::string> logOf(const std::function<void()>& action) {
    std::vector<std::string> lines;
    const ScopedLogSink sink([&](std::string_view line) { lines.emplace_back(line); });
    action();
    return lines;
}

TEST(LinkIntake, SavesSilentlyAndCanBeUndone) {
    LinkIntakeTest world;
    world.environment.giveIdentifier("rent");
    world.open();
    world.links.open("zun.create://Pay%20rent?d=2026-01-14T09:00:00Z&a=1&r=3&silent=0");
    world.advance(std::chrono::seconds(1));
    ASSERT_THAT(world.deck(), ElementsAre("rent"));
    EXPECT_EQ(world.stored("rent")->title(), "Pay rent");
    EXPECT_TRUE(world.stored("rent")->created_date().has_value());

    world.press(Qt::Key_Z);
    EXPECT_THAT(world.deck(), IsEmpty());
    EXPECT_THAT(world.manager.fetchAllIncompleteReminders(), IsEmpty());
}

TEST(LinkIntake, FailuresGoToTheLogAndNowhereElse) {
    LinkIntakeTest world;
    world.open();
    EXPECT_THAT(logOf([&] { world.links.open("zun.create://?d=2026-01-14T09:00:00Z&silent=0"); }),
                ElementsAre(HasSubstr("unable to create a reminder")));
    EXPECT_THAT(logOf([&] { world.links.open("zun.create://%zz"); }), testing::SizeIs(2));
    world.advance(std::chrono::seconds(1));
    EXPECT_THAT(world.storedIDs(), IsEmpty());
    EXPECT_TRUE(world.tabs->messages().message().isEmpty());
}

// A page that opens link after link must not fill the store.
TEST(LinkIntake, LetsABurstThroughAndThenOneForEachInterval) {
    LinkIntakeTest world;
    const auto lines = logOf([&] {
        for (int i = 0; i < 200; ++i)
            world.links.open("zun.create://Spam?silent=0");
    });
    EXPECT_THAT(lines, testing::SizeIs(190));
    world.settle();
    EXPECT_THAT(world.storedIDs(), testing::SizeIs(10));

    world.advance(std::chrono::seconds(7));
    for (int i = 0; i < 5; ++i)
        world.links.open("zun.create://More?silent=0");
    world.settle();
    EXPECT_THAT(world.storedIDs(), testing::SizeIs(12));

    world.advance(std::chrono::hours(1));
    for (int i = 0; i < 50; ++i)
        world.links.open("zun.create://Again?silent=0");
    world.settle();
    EXPECT_THAT(world.storedIDs(), testing::SizeIs(22)) << "rest earns one burst, not more";
}

}  // namespace
}  // namespace zun
