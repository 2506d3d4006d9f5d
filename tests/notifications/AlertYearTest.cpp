// A year of two hundred reminders in a zone with summer time, with a machine that sleeps, a service that is killed and
// a clock that is set, compared with the independent list.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <random>

#include "notifications/ExpectedAlerts.h"
#include "notifications/ReminderAlertWorld.h"

namespace zun {
namespace {

using namespace std::chrono_literals;

constexpr std::chrono::hours day{24};

class Year {
  public:
    explicit Year(std::uint64_t seed)
        : _world(seed, "2026-01-01T12:00:00Z"), _random(seed), _expected(makeExpected()) {}

    void run(int reminders, int days) {
        _world.server.onShown = [this](const ScreenNotification& notification) { noticed(notification); };
        _world.start();
        for (int number = 0; number < reminders; ++number) {
            const auto reminderID = "r" + std::to_string(number);
            _world.save(anyReminder(reminderID));
            replan(reminderID);
            _reminderIDs.push_back(reminderID);
        }
        changed();
        const auto end = _world.environment.now() + days * day;
        while (_world.environment.now() < end && !testing::Test::HasFailure())
            step();
        if (_clockIsOff) setClock(0s);
        settle();
    }
    std::size_t moments() const { return _expected.coveredMoments(); }

  private:
    TestEnvironment& environment() { return _world.environment; }
    ExpectedAlerts makeExpected() {
        _world.environment.setTimeZone("Europe/Berlin");
        return ExpectedAlerts(_world.environment);
    }
    int any(int below) { return static_cast<int>(_random() % static_cast<unsigned>(below)); }

    ReminderAttributes anyReminder(const std::string& reminderID) {
        // Some in the hour that summer time skips or repeats.
        const auto hours = std::chrono::hours{any(10) == 0 ? 2 : any(24)};
        const auto midnight = std::chrono::floor<std::chrono::days>(
            environment().timeZone()->localTime(environment().now() + any(120) * day - 20 * day));
        const auto start = environment().timeZone()->instant(midnight + hours + std::chrono::minutes{15 * any(4)});
        auto attributes = _world.dated(reminderID, start);
        attributes.repeat_type = std::array<std::uint64_t, 8>{0, 0, 1, 1, 2, 2, 3, 4}[static_cast<unsigned>(any(8))];
        if (attributes.repeat_type != 0 && any(3) == 0)
            attributes.customRepeatInterval = static_cast<std::uint64_t>(2 + any(4));
        if (attributes.repeat_type == RepeatType::weekly && any(2) == 0) {
            DayOrdinals ordinals;
            for (int ordinal = 1; ordinal <= 7; ++ordinal) {
                if (any(3) == 0) ordinals.push_back(ordinal);
            }
            if (!ordinals.empty()) attributes.customRepeatDayOrdinals = ordinals;
        }
        if (attributes.repeat_type != 0 && any(4) == 0) attributes.end_date = start + any(200) * day;
        attributes.naggingNotifications = any(5) == 0;
        attributes.shouldSuppressNotifications = any(12) == 0;
        if (any(4) == 0) {
            attributes.earlyReminderType = static_cast<std::uint64_t>(1 + any(4));
            attributes.earlyReminderInterval = static_cast<std::uint64_t>(1 + any(3));
            attributes.fire_date = ZNReminderObject(attributes).dateAdjustedForEarlyReminderType(start);
        }
        return attributes;
    }

    void replan(const std::string& reminderID) {
        if (const auto reminder = _world.stored(reminderID))
            _expected.plan(reminder->attributes(), _world.manager.currentDateToUseForReminder(*reminder));
    }

    void step() {
        const auto kind = any(20);
        if (kind < 9) {
            pass(std::chrono::minutes{any(24 * 60)});
        } else if (kind < 12) {
            _world.alarmClock.suspend(std::chrono::minutes{any(any(10) == 0 ? 20 * 24 * 60 : 24 * 60)});
        } else if (kind < 14) {
            _world.kill();
            _world.pass(std::chrono::minutes{any(12 * 60)});
            _world.start();
        } else if (kind == 14) {
            killWhileShowing();
        } else if (kind == 15) {
            // Off by an hour or a day to either side, and right again with the next.
            static constexpr std::chrono::hours offsets[] = {1h, -1h, 24h, -24h};
            setClock(_clockIsOff ? 0h : offsets[any(4)]);
        } else if (kind == 16) {
            _world.server.restart();
        } else {
            touch();
        }
        settle();
    }

    void pass(std::chrono::microseconds time) { _world.pass(time); }
    void setClock(std::chrono::microseconds offset) {
        const auto right = environment().now() - _offset;
        _offset = offset;
        _clockIsOff = offset != 0s;
        _world.alarmClock.setClock(right + offset);
    }

    // It dies when the next alert is on the screen, before it has heard of that: this one comes twice.
    void killWhileShowing() {
        auto waited = 0h;
        _world.server.beforeAnswer = [this] {
            _world.service.reset();
            _comesTwice = _lastTag;
        };
        while (_world.service && ++waited < 48h)
            pass(1h);
        _world.server.beforeAnswer = nullptr;
        if (!_world.service) _world.start();
    }

    // The user deals with a reminder.
    void touch() {
        const auto& reminderID = _reminderIDs[static_cast<unsigned>(any(static_cast<int>(_reminderIDs.size())))];
        const auto reminder = _world.stored(reminderID);
        if (!reminder || reminder->completed_date()) return;
        if (any(2) == 0 && reminder->fire_date() <= environment().now()) {
            _world.manager.completeReminder(reminder);
        } else {
            _world.manager.snoozeReminder(reminder, environment().now() + std::chrono::minutes{1 + any(3000)});
        }
        _world.manager.waitUntilSettled();
        if (_world.stored(reminderID)) {
            replan(reminderID);
        } else {
            // A series that ended with this.
            auto gone = reminder->attributes();
            gone.completed_date = environment().now();
            _expected.plan(gone, environment().now());
        }
        changed();
    }
    // As the store's bell does. Everything here happens on whole minutes, so nothing comes due before the look.
    void changed() {
        _world.service->remindersChanged();
        pass(1min);
    }

    // Whatever is noticed has a reason at that moment.
    void noticed(const ScreenNotification& notification) {
        _lastTag = notification.tag;
        const bool isExpectedTwice = std::exchange(_comesTwice, {}) == notification.tag;
        if (notification.tag == "zun-summary") {
            _expected.showAll();
        } else if (const auto wrong = _expected.show(notification.tag.substr(4)); !isExpectedTwice) {
            EXPECT_EQ(wrong, "") << describe(notification.tag.substr(4));
        }
    }
    // And whatever had a reason was noticed.
    void settle() {
        _world.settle();
        const auto missing = _expected.missing();
        EXPECT_EQ(missing, std::vector<std::string>()) << describe(missing.front());
    }
    std::string describe(const std::string& reminderID) {
        std::string text = "at " + iso8601FromDate(environment().now());
        if (const auto reminder = _world.stored(reminderID)) {
            text += " start " + iso8601FromDate(*reminder->start_date()) + " fire " +
                    iso8601FromDate(*reminder->fire_date()) + " type " + std::to_string(reminder->repeat_type()) +
                    " every " + std::to_string(reminder->customRepeatInterval()) + " early " +
                    std::to_string(reminder->earlyReminderInterval()) + " of " +
                    std::to_string(reminder->earlyReminderType()) + " on";
            for (const int ordinal : reminder->customRepeatDayOrdinals().value_or(DayOrdinals{}))
                text += " " + std::to_string(ordinal);
        }
        text += _expected.describe(reminderID) + "\n  scheduled";
        for (const auto date : _world.scheduledDates(reminderID))
            text += " " + iso8601FromDate(date);
        return text;
    }

    ReminderAlertWorld _world;
    std::mt19937_64 _random;
    ExpectedAlerts _expected;
    std::vector<std::string> _reminderIDs;
    std::chrono::microseconds _offset{0};
    bool _clockIsOff = false;
    std::string _lastTag, _comesTwice;
};

// ZUN_ALERT_SEEDS=FIRST-LAST runs further years, each from a seed of its own.
std::pair<std::uint64_t, std::uint64_t> seeds() {
    const char* wanted = std::getenv("ZUN_ALERT_SEEDS");
    std::uint64_t first = 1, last = 1;
    if (wanted) std::sscanf(wanted, "%lu-%lu", &first, &last);
    return {first, last};
}

TEST(AlertYear, AlertsEachReminderAndMomentOnce) {
    const auto [first, last] = seeds();
    for (auto seed = first; seed <= last && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        Year year(seed);
        year.run(200, 365);
        EXPECT_GT(year.moments(), 5000U);
    }
}

}  // namespace
}  // namespace zun
