#include "cards/ZNSnoozeMenu.h"

#include <algorithm>

#include "cards/ZNStackViewItem.h"
#include "dates/ZNDateHelper.h"
#include "platform/foundation/NSCalendar.h"

namespace zun {
namespace {

constexpr std::uint64_t lastHour = 23;

}  // namespace

ZNSnoozeMenu::ZNSnoozeMenu(ReminderPtr reminder, ZNStackViewItem* withStackItem, const Collaborators& collaborators)
    : QMenu(QString::fromStdString(collaborators.strings.string("Snooze_Card_Title"))),
      _reminder(std::move(reminder)),
      _stackItem(withStackItem),
      _with(collaborators) {
    setMinimumWidth(minimumMenuWidth);
    setAccessibleName(title());
    setToolTipsVisible(true);
    addItem(FifteenMinutes, "Snooze_15_minutes");
    addItem(OneHour, "Snooze_1_hour");
    if (!isEveningAlready()) addItem(Tonight, "Snooze_Until_Tonight");
    addItem(OneDay, "Snooze_1_day");
    addItem(Weekend, "Date_Weekend_Preset");
    addSeparator();
    addItem(SelectDate, "Snooze_Select_Date");
}

void ZNSnoozeMenu::addItem(Tag tag, std::string_view titleKey) {
    auto* item = addAction(QString::fromStdString(_with.strings.string(titleKey)));
    item->setData(tag);
    item->setToolTip(tooltip(tag));
    connect(item, &QAction::triggered, this, [this, tag] { onSelectMenuItem(tag); });
}

QString ZNSnoozeMenu::tooltip(Tag tag) const {
    if (tag == SelectDate) return QString::fromStdString(_with.strings.string("Snooze_Select_Date_Tooltip"));
    const auto date = snoozeDateForTag(tag);
    if (!date) return {};
    // Only what has a date of its own is alerted.
    const auto key = _reminder->start_date() ? "Snooze_Menu_Tooltip" : "Snooze_Menu_Quiet_Tooltip";
    return QString::fromStdString(
        stringWithFormat(_with.strings.string(key), {_with.labels.dateAsRelativeString(*date)}));
}

bool ZNSnoozeMenu::isEveningAlready() const {
    return ZNDateHelper(_with.environment).isBeyondHour(static_cast<int>(_with.settings.eveningHour()));
}

void ZNSnoozeMenu::onSelectMenuItem(int tag) {
    auto* item = static_cast<ZNStackViewItem*>(_stackItem.data());
    if (!_delegate) return;
    if (tag == SelectDate) {
        _delegate->didRequestCustomSnoozePickerWithStackItem(item);
    } else {
        _delegate->shouldSnoozeWithReminder(_reminder, item, snoozeDateForTag(tag));
    }
}

OptionalDate ZNSnoozeMenu::snoozeDateForTag(int tag) const {
    const auto now = _with.environment.now();
    const auto calendar = NSCalendar::current(_with.environment);
    switch (tag) {
        case FifteenMinutes:
            return calendar.dateByAddingUnit(NSCalendarUnit::Minute, 15, now);
        case OneHour:
            return calendar.dateByAddingUnit(NSCalendarUnit::Hour, 1, now);
        case Tonight: {
            // Only the hour is set: minute and second stay those of now.
            auto matching = calendar.components(now);
            NSDateComponents evening;
            evening.hour = static_cast<int>(std::min(_with.settings.eveningHour(), lastHour));
            evening.minute = matching.minute;
            evening.second = matching.second;
            return calendar.nextDateAfterDate(now, evening, NSCalendarOptions::MatchNextTimePreservingSmallerUnits);
        }
        case OneDay: {
            // Another program may have put it off since the menu was opened.
            const auto fresh = _with.manager.fetchReminderWithReminderID(_reminder->reminderID());
            return _with.manager.advanceToNextDayWithDueDate((fresh ? fresh : _reminder)->onGetDueDate());
        }
        case Weekend:
            return ZNDateHelper(_with.environment).thisWeekendWithUserSetMorningHour(_with.settings.morningHour());
        default:
            return std::nullopt;
    }
}

}  // namespace zun
