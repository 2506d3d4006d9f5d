#include <gmock/gmock.h>
#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <fstream>
#include <random>

#include "platform/foundation/Log.h"
#include "usernotifications/StoredAlerts.h"

namespace zun {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testing::IsEmpty;
using testing::SizeIs;

constexpr std::size_t pageSize = 4096;

class DamagedAlerts : public testing::Test {
  protected:
    static fs::path file(const fs::path& folder) {
        return StoredNotificationCenter::storeFolder(folder) / "alerts.sqlite";
    }
    NSDate at(std::chrono::minutes time) const { return _environment.now() + time; }
    // Some dozen pages: both lists, what was shown, and what has to be closed.
    void fill(AlertDevice& device) const {
        for (int number = 0; number < 300; ++number)
            device.center.scheduleNotification(alertFor("r" + std::to_string(number), at(1min * number)));
        device.deliver(at(90min));
        for (int number = 0; number < 9; ++number)
            device.center.removeDeliveredNotification(device.center.deliveredNotifications()[number]);
        device.center.synchronize();
    }
    // All that a program and the service ask of the file; it must bear it and answer something.
    void use(AlertDevice& device) const {
        device.service.check();
        static_cast<void>(device.center.deliveredNotifications());
        static_cast<void>(device.center.scheduledReminders(std::nullopt, 10));
        static_cast<void>(device.service.nextDueDate());
        device.deliver(at(100min));
        static_cast<void>(device.service.standing());
        static_cast<void>(device.service.takeClosings("bus/1"));
        device.service.forgetShownBefore(at(-1min));
        device.service.setLookedAt(at(0min));
    }

    TestEnvironment _environment;
    std::size_t _said = 0;
    ScopedLogSink _log{[this](std::string_view) { ++_said; }};
};

TEST_F(DamagedAlerts, AreSetAsideAndWhatIsScheduledThenIsNotLost) {
    const TemporaryFolder whole;
    {
        AlertDevice device(whole.path(), _environment);
        fill(device);
    }
    std::ifstream stream(file(whole.path()), std::ios::binary);
    const std::string sound{std::istreambuf_iterator<char>(stream), {}};
    ASSERT_GT(sound.size(), 20 * pageSize);

    std::vector<std::string> damaged;
    std::mt19937 random(7);
    for (std::size_t page = 0; page < sound.size() / pageSize; ++page) {
        auto garbage = sound;
        for (std::size_t index = 0; index < pageSize; ++index)
            garbage[page * pageSize + index] = static_cast<char>(random());
        damaged.push_back(garbage);
        auto zeroes = sound;
        zeroes.replace(page * pageSize, pageSize, pageSize, '\0');
        damaged.push_back(zeroes);
    }
    for (const auto length : {std::size_t{0}, std::size_t{1}, std::size_t{100}, pageSize, pageSize + 1,
                              sound.size() / 2, sound.size() - 1, sound.size() - pageSize})
        damaged.push_back(sound.substr(0, length));
    damaged.push_back(std::string(sound.size(), 'x'));

    std::size_t number = 0;
    for (const auto& content : damaged) {
        // A program that has had it open all along, and one that finds it so.
        for (const bool isOpenBefore : {true, false}) {
            SCOPED_TRACE("case " + std::to_string(number) + (isOpenBefore ? ", open" : ""));
            const TemporaryFolder folder;
            fs::copy(whole.path(), folder.path(), fs::copy_options::recursive);
            AlertDevice running(folder.path(), _environment);
            if (isOpenBefore) {
                EXPECT_THAT(running.center.scheduledNotifications(), Not(IsEmpty()));
            }
            std::ofstream(file(folder.path()), std::ios::binary) << content;
            running.center.removeScheduledNotificationsForReminderID("new");
            running.center.scheduleNotification(alertFor("new", at(500min)));
            running.center.synchronize();
            EXPECT_THAT(running.center.scheduledNotificationsForReminderID("new"), SizeIs(1));

            AlertDevice service(folder.path(), _environment);
            use(service);
            // It stands there still, or the service knows that it has to fill a new file.
            EXPECT_TRUE(service.service.mustBeFilled() ||
                        service.center.scheduledNotificationsForReminderID("new").size() == 1);
            use(running);
            running.center.scheduleNotification(alertFor("last", at(501min)));
            running.dispatch.advance(1min);
            EXPECT_THAT(service.center.scheduledNotificationsForReminderID("last"), SizeIs(1));
        }
        ++number;
    }
}

fs::path asideOf(const fs::path& file) {
    return fs::path(file) += ".aside";
}

// Takes from this thread the right to pass over permissions, which only the superuser has.
void obeyPermissions() {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[2]{};
    ASSERT_EQ(syscall(SYS_capget, &header, data), 0);
    data[0].effective &= ~((1u << CAP_DAC_OVERRIDE) | (1u << CAP_DAC_READ_SEARCH));
    ASSERT_EQ(syscall(SYS_capset, &header, data), 0);
}

TEST_F(DamagedAlerts, AreWaitedForWhereTheyCannotBeUsedForAWhile) {
    obeyPermissions();
    struct Case {
        const char* name;
        void (*begin)(const fs::path& file);
        void (*end)(const fs::path& file);
    };
    for (const auto& one : {
             Case{"a folder in its place",
                  [](const fs::path& file) {
                      fs::rename(file, asideOf(file));
                      fs::create_directory(file);
                  },
                  [](const fs::path& file) {
                      fs::remove(file);
                      fs::rename(asideOf(file), file);
                  }},
             Case{"no rights to the file", [](const fs::path& file) { fs::permissions(file, fs::perms::none); },
                  [](const fs::path& file) { fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write); }},
             Case{"only to be read", [](const fs::path& file) { fs::permissions(file, fs::perms::owner_read); },
                  [](const fs::path& file) { fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write); }},
             Case{"no rights to the folder",
                  [](const fs::path& file) { fs::permissions(file.parent_path(), fs::perms::none); },
                  [](const fs::path& file) { fs::permissions(file.parent_path(), fs::perms::owner_all); }},
         }) {
        for (const bool isOpenBefore : {true, false}) {
            SCOPED_TRACE(std::string(one.name) + (isOpenBefore ? ", open" : ""));
            const TemporaryFolder folder;
            {
                AlertDevice device(folder.path(), _environment);
                device.center.scheduleNotification(alertFor("a", at(10min)));
            }
            AlertDevice device(folder.path(), _environment);
            if (isOpenBefore) {
                EXPECT_THAT(device.center.scheduledNotifications(), SizeIs(1));
            }
            one.begin(file(folder.path()));
            device.center.scheduleNotification(alertFor("b", at(20min)));
            device.dispatch.advance(1min);
            use(device);
            device.center.scheduleNotification(alertFor("b", at(30min)));
            one.end(file(folder.path()));
            device.dispatch.advance(1min);
            AlertDevice other(folder.path(), _environment);
            EXPECT_THAT(lines(other.center.scheduledNotifications()), SizeIs(3));
        }
    }
    EXPECT_GT(_said, 8u) << "the log tells";
}

}  // namespace
}  // namespace zun
