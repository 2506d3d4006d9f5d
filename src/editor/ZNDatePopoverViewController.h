#pragma once

// The popover with the alert options of a dated reminder: whether it alerts, whether it nags, and how far ahead of its
// date. Every change is written at once. Owned by its popover. Main thread.

#include "editor/AlertChoices.h"
#include "platform/foundation/LocalizedStrings.h"
#include "toolkit/ZNBasePopoverViewController.h"

class QLabel;

namespace zun {

class IntervalInput;
class ZNCheckBox;
class ZNPopUpButton;

class ZNDatePopoverDelegate {
  public:
    virtual ~ZNDatePopoverDelegate() = default;
    virtual void didChangeNotificationSetting(bool shouldNotify) = 0;
    virtual void didChangeNagSetting(bool shouldNag) = 0;
    // The early reminder was written; the fire date follows from it.
    virtual void didChangeDateSettings() = 0;
};

class ZNDatePopoverViewController final : public ZNBasePopoverViewController {
    Q_OBJECT
  public:
    static constexpr int contentWidth = 290;

    ZNDatePopoverViewController(ReminderPtr reminder, const LocalizedStrings& strings, ZNDatePopoverDelegate* delegate);

    void viewDidAppear() override { setHeight(wantedHeight()); }
    [[nodiscard]] int wantedHeight() const { return _choices.popoverHeight(); }

    [[nodiscard]] ZNCheckBox& notificationToggle() const { return *_notificationToggle; }
    [[nodiscard]] ZNCheckBox& nagToggle() const { return *_nagToggle; }
    [[nodiscard]] ZNPopUpButton& alertSelector() const { return *_alertSelector; }
    [[nodiscard]] IntervalInput& intervalInput() const { return *_interval; }
    [[nodiscard]] ZNPopUpButton& customAlertSelector() const { return *_customAlertSelector; }

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    [[nodiscard]] QString text(std::string_view key) const;
    void prepareViews();
    void connectViews();
    void onRepeatOptionsChange();
    void configureFieldsForAlert();

    ReminderPtr _reminder;
    const LocalizedStrings& _strings;
    ZNDatePopoverDelegate* _delegate;
    AlertChoices _choices;
    ZNCheckBox* _notificationToggle;
    ZNCheckBox* _nagToggle;
    QLabel* _nagDescription;
    QLabel* _customAlertLabel;
    ZNPopUpButton* _alertSelector;
    QWidget* _customContainer;
    IntervalInput* _interval;
    ZNPopUpButton* _customAlertSelector;
};

}  // namespace zun
