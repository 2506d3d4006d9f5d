#pragma once

// The independent list: which moments of which reminder have to be alerted, walked one calendar step at a time.
//
//   stated     what scheduling a reminder at some moment gives: its fire date, its nags, and the coming week of its
//              series, whatever the interval
//   followed   once the last of these has passed untouched, every true occurrence
//
// A show of a reminder covers every moment of it that has come by then; each show must cover one, and no moment that
// has come may stay uncovered once everything has settled.

#include <map>
#include <set>
#include <string>
#include <vector>

#include "ZunDataModel/ZNReminderObject.h"
#include "dates/RepeatReplay.h"
#include "platform/foundation/ISO8601.h"
#include "platform/foundation/NSCalendar.h"
#include "support/TestEnvironment.h"

namespace zun {

using namespace std::chrono_literals;

class ExpectedAlerts {
  public:
    explicit ExpectedAlerts(const TestEnvironment& environment)
        : _environment(environment), _replay(environment), _calendar(NSCalendar::current(environment)) {}

    // The reminder was saved at this moment: what its earlier plan had still to come is off.
    void plan(const ReminderAttributes& reminder, NSDate currentDate) {
        auto& alerts = _alerts[reminder.reminderID.value_or("")];
        const auto now = _environment.now();
        std::erase_if(alerts.waiting, [&](NSDate moment) { return moment > now; });
        alerts.followed = {};
        if (reminder.completed_date || !reminder.start_date || reminder.shouldSuppressNotifications) return;
        const auto type = reminder.repeat_type;
        const bool repeats = type != RepeatType::none || reminder.customRepeatDayOrdinals;
        if (!repeats && *reminder.fire_date < now) return;

        std::set<NSDate> stated{*reminder.fire_date};
        if (reminder.naggingNotifications) {
            for (const int minutes : {10, 20, 30})
                stated.insert(*reminder.fire_date + std::chrono::minutes{minutes});
        }
        const auto interval = static_cast<std::int64_t>(std::max<std::uint64_t>(reminder.customRepeatInterval, 1));
        RepeatReplay::Call call{*reminder.start_date, type, 1, 0, AdvancementOption::Next, 0, now};
        if (reminder.customRepeatDayOrdinals) {
            call.interval = interval;
            call.currentDate = currentDate;
            for (const auto date : _replay.advanceToNextWeek(call, *reminder.customRepeatDayOrdinals))
                stated.insert(early(reminder, date));
        } else if (repeats) {
            const auto reference = std::max(*reminder.fire_date, now);
            const auto week = _calendar.dateByAddingUnit(NSCalendarUnit::WeekOfYear, 1, reference);
            for (const auto date : _replay.advanceBetween(call, reference, week))
                stated.insert(early(reminder, date));
        }
        auto after = now;
        for (const auto moment : stated) {
            if (moment <= now || alerts.covered.contains(moment)) continue;
            alerts.waiting.insert(moment);
            after = std::max(after, moment);
        }
        if (!repeats) return;
        RepeatRule rule{*reminder.start_date, type, interval, reminder.customRepeatDayOrdinals.value_or(DayOrdinals{}),
                        reminder.end_date};
        if (!rule.ordinals.empty()) rule.type = RepeatType::weekly;
        const auto end = now + std::chrono::hours{24 * 400};
        for (const auto date : _replay.occurrences(rule, after, end)) {
            if (const auto moment = early(reminder, date); moment > after) alerts.followed.insert(moment);
        }
    }

    // Empty, or why the show was wrong.
    std::string show(const std::string& reminderID) {
        auto& alerts = _alerts[reminderID];
        come(alerts);
        if (alerts.waiting.empty() || *alerts.waiting.begin() > _environment.now())
            return reminderID + " was shown without a reason";
        cover(alerts);
        return "";
    }
    // A summary shows all that have come.
    void showAll() {
        for (auto& [reminderID, alerts] : _alerts) {
            come(alerts);
            cover(alerts);
        }
    }
    // Reminders with a moment that has come and was not shown.
    std::vector<std::string> missing() {
        std::vector<std::string> all;
        for (auto& [reminderID, alerts] : _alerts) {
            come(alerts);
            if (!alerts.waiting.empty() && *alerts.waiting.begin() <= _environment.now()) all.push_back(reminderID);
        }
        return all;
    }
    // What is known of a reminder, for a failure's message.
    std::string describe(const std::string& reminderID) {
        const auto& alerts = _alerts[reminderID];
        const auto list = [](const char* name, const std::set<NSDate>& dates, std::size_t most) {
            std::string text = std::string("\n  ") + name;
            for (auto date = dates.size() > most ? std::prev(dates.end(), static_cast<long>(most)) : dates.begin();
                 date != dates.end(); ++date)
                text += " " + iso8601FromDate(*date);
            return text;
        };
        return list("last covered", alerts.covered, 3) + list("waiting", alerts.waiting, 40) +
               list("followed",
                    {alerts.followed.begin(),
                     std::next(alerts.followed.begin(), std::min<long>(3, static_cast<long>(alerts.followed.size())))},
                    3);
    }
    std::size_t coveredMoments() const {
        std::size_t sum = 0;
        for (const auto& [reminderID, alerts] : _alerts)
            sum += alerts.covered.size();
        return sum;
    }

  private:
    struct Alerts {
        std::set<NSDate> waiting, followed, covered;
    };

    static NSDate early(const ReminderAttributes& reminder, NSDate date) {
        constexpr std::chrono::seconds units[] = {0s, 60s, 3600s, 86400s, 604800s};
        return date - units[reminder.earlyReminderType] * static_cast<std::int64_t>(reminder.earlyReminderInterval);
    }
    void come(Alerts& alerts) const {
        while (!alerts.followed.empty() && *alerts.followed.begin() <= _environment.now()) {
            const auto moment = *alerts.followed.begin();
            if (!alerts.covered.contains(moment)) alerts.waiting.insert(moment);
            alerts.followed.erase(alerts.followed.begin());
        }
    }
    void cover(Alerts& alerts) const {
        while (!alerts.waiting.empty() && *alerts.waiting.begin() <= _environment.now()) {
            alerts.covered.insert(*alerts.waiting.begin());
            alerts.waiting.erase(alerts.waiting.begin());
        }
    }

    const TestEnvironment& _environment;
    RepeatReplay _replay;
    NSCalendar _calendar;
    std::map<std::string, Alerts> _alerts;
};

}  // namespace zun
