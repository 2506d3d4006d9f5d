#pragma once

// Two words side by side of which one is chosen, and a line under it that slides from one to the other. Arrow keys move
// the choice. Owned by its parent widget. Main thread.

#include <array>

#include "toolkit/ZNAnimationGroup.h"
#include "toolkit/ZNView.h"

class QRadioButton;

namespace zun {

class ZNSegmentControl final : public ZNView {
    Q_OBJECT
  public:
    static constexpr int height = 34;

    ZNSegmentControl(ZNAnimationTimeline& animations, const std::array<QString, 2>& titles, QWidget* parent);

    // Tells of the change as a click does.
    void onSetSelectedSegment(int segment);
    [[nodiscard]] int selectedSegment() const { return _selected; }
    void setShouldAnimateSegmentChange(bool should) { _shouldAnimate = should; }
    void setActiveIndicatorHeight(int indicatorHeight);
    void setIndicatorColor(QRgb color);
    // What both words need to be read in full.
    [[nodiscard]] int widthForTitles() const;

  signals:
    void didChangeSegment(int segment);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void setActiveIndicatorToIndex(int index, bool shouldAnimate);

    ZNAnimationTimeline& _animations;
    std::array<QRadioButton*, 2> _segments{};
    int _selected = 0;
    bool _shouldAnimate = true;
    int _activeIndicatorHeight = 3;
    QRgb _indicatorColor;
    AnimatedValue _indicator{AnimatedValue::Kind::Movement};
    Observation _frames;
};

}  // namespace zun
