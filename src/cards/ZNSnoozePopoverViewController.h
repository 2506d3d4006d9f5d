#pragma once

// Until which day and time a card shall stay away: a month, a time of day, two buttons. Starts at the moment it is
// made. Return snoozes from wherever the keys are, Escape and Cancel leave. A moment that has passed is not refused.
// Owned by its popover. Main thread.

#include "platform/foundation/Environment.h"
#include "platform/foundation/LocalizedStrings.h"
#include "toolkit/PlainControls.h"
#include "toolkit/ZNBasePopoverViewController.h"
#include "toolkit/ZNCalendarPicker.h"
#include "toolkit/ZNDatePicker.h"

namespace zun {

class ZNSnoozePopoverViewController final : public ZNBasePopoverViewController {
    Q_OBJECT
  public:
    static constexpr int width = 256;
    static constexpr int height = 280;

    class Delegate {
      public:
        virtual ~Delegate() = default;
        virtual void didSelectSnoozeDate(NSDate date) = 0;
    };
    enum class Alerts { No, Yes };

    // `alerts` says whether an alert comes with the card; where none does, the button says so. All outlive the picker.
    ZNSnoozePopoverViewController(const Environment& environment, const LocalizedStrings& strings, Delegate& delegate,
                                  Alerts alerts);

    void viewDidAppear() override;
    [[nodiscard]] QWidget* initialFocus() override { return _datePicker; }

    [[nodiscard]] ZNCalendarPicker& datePicker() const { return *_datePicker; }
    [[nodiscard]] ZNDatePicker& timePicker() const { return *_timePicker; }
    [[nodiscard]] QPushButton& cancelButton() const { return *_cancelButton; }
    [[nodiscard]] QPushButton& actionButton() const { return *_actionButton; }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    void actionPressed();

    const Environment& _environment;
    Delegate& _delegate;
    QString _title;
    ZNCalendarPicker* _datePicker;
    ZNDatePicker* _timePicker;
    ZNPushButton* _cancelButton;
    ZNPushButton* _actionButton;
};

}  // namespace zun
