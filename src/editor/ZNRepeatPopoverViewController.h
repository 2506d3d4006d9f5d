#pragma once

// The popover of a custom repeat: every so many units, on which weekdays, and the next date that comes of it. It writes
// into the reminder at once and tells its delegate after each change, the first time while it is made. Owned by its
// popover. Main thread.

#include <array>

#include "dates/DateLabels.h"
#include "editor/RepeatChoices.h"
#include "platform/foundation/LocalizedStrings.h"
#include "toolkit/ZNBasePopoverViewController.h"

class QAbstractButton;
class QLabel;

namespace zun {

class IntervalInput;
class ZNPopUpButton;

class ZNRepeatPopoverDelegate {
  public:
    virtual ~ZNRepeatPopoverDelegate() = default;
    virtual void didSelectRepeatInterval(std::uint64_t interval, const std::optional<DayOrdinals>& withOrdinals,
                                         std::uint64_t repeatType) = 0;
};

class ZNRepeatPopoverViewController final : public ZNBasePopoverViewController {
    Q_OBJECT
  public:
    static constexpr int contentWidth = 340;
    static constexpr int contentHeight = 240;

    ZNRepeatPopoverViewController(ReminderPtr reminder, const Environment& environment, const LocalizedStrings& strings,
                                  ZNRepeatPopoverDelegate* delegate);

    void viewDidAppear() override { setHeight(contentHeight); }

    [[nodiscard]] IntervalInput& intervalInput() const { return *_interval; }
    [[nodiscard]] ZNPopUpButton& customIntervalSelector() const { return *_customIntervalSelector; }
    // 1 Sunday to 7 Saturday.
    [[nodiscard]] QAbstractButton& dayButton(int ordinal) const;
    [[nodiscard]] QLabel& nextAlertDate() const { return *_nextAlertDate; }

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    [[nodiscard]] QString text(std::string_view key) const;
    void prepareViews();
    void connectViews();
    void updateViewsForReminder();

    ReminderPtr _reminder;
    const LocalizedStrings& _strings;
    DateLabels _labels;
    ZNRepeatPopoverDelegate* _delegate;
    RepeatChoices _choices;
    QLabel* _everyLabel;
    IntervalInput* _interval;
    ZNPopUpButton* _customIntervalSelector;
    QLabel* _repeatOnLabel;
    std::array<QAbstractButton*, 7> _dayButtons{};
    QLabel* _nextAlertLabel;
    QLabel* _nextAlertDate;
};

}  // namespace zun
