#pragma once

// One card: date line, title, notes and topic picture over a footer with three buttons. A view of one reminder, which
// it watches: an edit repaints the card wherever it came from, after a hop to the main thread.
//
// The card's content is rendered once into a picture, for the reminder, size and scale at hand; the stack moves that
// picture. The controls are widgets of the item that paint only their states over it, made when the item first becomes
// the top card.
//
// Owned by its stack, reused for one reminder after the other. Main thread.

#include <QPixmap>
#include <QPointer>
#include <memory>

#include "cards/CardContext.h"
#include "cards/CardFace.h"
#include "cards/ZNStackViewItemDelegate.h"
#include "toolkit/ZNView.h"

namespace zun {

class CardControls;

class ZNStackViewItem final : public ZNView {
    Q_OBJECT
  public:
    ZNStackViewItem(const CardContext& context, ZNStackViewItemDelegate* delegate);
    ~ZNStackViewItem() override;

    void onSetReminder(ReminderPtr reminder);
    [[nodiscard]] const ReminderPtr& reminder() const { return _reminder; }
    [[nodiscard]] ZNStackViewItemDelegate* delegate() const { return _delegate; }

    // Whether the controls act; also whether they are there at all.
    void setEnabled(bool enabled);
    void setAccessibilityEnabled(bool enabled);
    void setAccessibilityElement(bool isElement);

    // The glows: hidden exactly at 0, otherwise shown with the value as alpha, which is not limited.
    void setCompleteStatusWithPercentage(double percentage) { setStatus(_completeStatus, percentage); }
    void setSkipStatusWithPercentage(double percentage) { setStatus(_skipStatus, percentage); }
    void setSnoozeStatusWithPercentage(double percentage) { setStatus(_snoozeStatus, percentage); }
    [[nodiscard]] double completeStatus() const { return _completeStatus; }
    [[nodiscard]] double skipStatus() const { return _skipStatus; }
    [[nodiscard]] double snoozeStatus() const { return _snoozeStatus; }

    // Offsets from the stack's centre, size and alpha; the stack sets and animates them.
    AnimatedValue centerX{AnimatedValue::Kind::Movement};
    AnimatedValue centerY{AnimatedValue::Kind::Movement};
    AnimatedValue width{AnimatedValue::Kind::Movement};
    AnimatedValue height{AnimatedValue::Kind::Movement};
    AnimatedValue cardAlpha{AnimatedValue::Kind::Fade};
    int zPosition = 0;
    // Whether the card is painted at all; the widget itself is visible only for the top card.
    bool cardHidden = true;
    // How far the card leans, in degrees, by its way from the horizontal place of rest.
    double restX = 0;
    [[nodiscard]] double tilt() const;

    // The size that its face is laid out for.
    void setFaceSize(QSizeF size);
    [[nodiscard]] const CardFace& face() const { return _face; }
    // The content at a scale, rendered if need be.
    [[nodiscard]] const QPixmap& picture(double scale);
    [[nodiscard]] bool hasPicture() const { return !_picture.isNull(); }
    // Gives the memory of the picture back; the next paint renders again.
    void dropPicture();
    // The snooze button, for a menu or a popover beside it; null before the item was the top card.
    [[nodiscard]] ZNButton* snoozeButton() const;
    [[nodiscard]] CardControls* controls() const { return _controls.get(); }

  signals:
    // The picture, a glow or the words are others now.
    void appearanceChanged();
    void controlsMade();

  private:
    void addObservers();
    void removeObservers();
    void updateFields();
    void makeControls();
    void setStatus(double& status, double percentage);

    CardContext _context;
    ZNStackViewItemDelegate* _delegate;
    ReminderPtr _reminder;
    CardFace _face;
    QSizeF _faceSize;
    QPixmap _picture;
    std::unique_ptr<CardControls> _controls;
    double _completeStatus = 0;
    double _skipStatus = 0;
    double _snoozeStatus = 0;
    Observation _reminderObservation;
    Observation _settingsObservation;
};

}  // namespace zun
