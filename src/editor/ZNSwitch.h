#pragma once

// A check box that is drawn as a switch and slides between its two states. It carries no words of its own; its
// accessible name says what it switches. Owned by its parent widget. Main thread.

#include <QCheckBox>

#include "toolkit/PlainControls.h"
#include "toolkit/ZNAnimationGroup.h"

namespace zun {

class ZNSwitch final : public QCheckBox {
    Q_OBJECT
  public:
    explicit ZNSwitch(ZNAnimationTimeline& animations, QWidget* parent = nullptr);
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    [[nodiscard]] bool hitButton(const QPoint& position) const override { return rect().contains(position); }
    void checkStateSet() override;
    void nextCheckState() override;

  private:
    void slide();

    ZNAnimationTimeline& _animations;
    AnimatedValue _knob{AnimatedValue::Kind::Movement};
    Observation _frames;
    FocusRing _ring;
};

}  // namespace zun
