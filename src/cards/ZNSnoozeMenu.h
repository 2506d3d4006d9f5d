#pragma once

// The choices of how long a card shall stay away. The items carry stable tags:
//
//   0  15 minutes     3  1 day, from the due date
//   1  1 hour         4  the weekend
//   2  until tonight, not offered once it is evening
//   5  pick a date
//
// A date is worked out when its item is chosen, not when the menu is made; the tooltips say what it would be now. The
// menu lives for one pop-up. Owned by whoever opens it. Main thread.

#include <QMenu>
#include <QPointer>

#include "core/ZNReminderManager.h"

namespace zun {

class ZNStackViewItem;

class ZNSnoozeMenuDelegate {
  public:
    virtual ~ZNSnoozeMenuDelegate() = default;
    // Without a date the default snooze is meant: there is no weekend everywhere.
    virtual void shouldSnoozeWithReminder(const ReminderPtr& reminder, ZNStackViewItem* withStackItem,
                                          OptionalDate withDate) = 0;
    virtual void didRequestCustomSnoozePickerWithStackItem(ZNStackViewItem* stackItem) = 0;
};

class ZNSnoozeMenu final : public QMenu {
    Q_OBJECT
  public:
    struct Collaborators {
        const ZNReminderManager& manager;
        const ZNSettingsObject& settings;
        const Environment& environment;
        const LocalizedStrings& strings;
        const DateLabels& labels;
    };
    enum Tag { FifteenMinutes = 0, OneHour = 1, Tonight = 2, OneDay = 3, Weekend = 4, SelectDate = 5 };
    static constexpr int minimumMenuWidth = 180;

    // The collaborators outlive the menu; the item may go before it.
    ZNSnoozeMenu(ReminderPtr reminder, ZNStackViewItem* withStackItem, const Collaborators& collaborators);

    // Not owned; null, or alive whenever an item is chosen.
    void setZnDelegate(ZNSnoozeMenuDelegate* delegate) { _delegate = delegate; }
    [[nodiscard]] OptionalDate snoozeDateForTag(int tag) const;

  private:
    void addItem(Tag tag, std::string_view titleKey);
    void onSelectMenuItem(int tag);
    [[nodiscard]] bool isEveningAlready() const;
    [[nodiscard]] QString tooltip(Tag tag) const;

    ReminderPtr _reminder;
    QPointer<QObject> _stackItem;
    Collaborators _with;
    ZNSnoozeMenuDelegate* _delegate = nullptr;
};

}  // namespace zun
