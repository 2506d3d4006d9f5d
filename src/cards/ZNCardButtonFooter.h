#pragma once

// The bar at the bottom of a card with three buttons: complete, snooze, skip from left to right, a third of the width
// each. Its ground and icons are part of the card's picture; this widget places the buttons over them. Owned by its
// parent widget. Main thread.

#include "toolkit/ZNButton.h"
#include "toolkit/ZNView.h"

namespace zun {

class ZNCardButtonFooter final : public ZNView {
    Q_OBJECT
  public:
    ZNCardButtonFooter(Pictures& pictures, QWidget* parent);

    [[nodiscard]] ZNButton& completeButton() const { return *_completeButton; }
    [[nodiscard]] ZNButton& snoozeButton() const { return *_snoozeButton; }
    [[nodiscard]] ZNButton& skipButton() const { return *_skipButton; }

    // Paints ground, dividers and icons; the corners below are rounded.
    static void paintFooter(QPainter& painter, const QRectF& rect, Pictures& pictures, double scale);
    [[nodiscard]] static QRectF buttonRect(const QRectF& footer, int button);

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    ZNButton* _completeButton;
    ZNButton* _snoozeButton;
    ZNButton* _skipButton;
};

}  // namespace zun
