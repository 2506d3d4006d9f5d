#pragma once

// The bar of a screen: a button with an icon where reading begins, a title in the middle, a button with a word at the
// other end. It lies on a card or on the ground, and its words have the colour for that. What has neither icon, title
// nor word is not shown. Owned by its parent widget. Main thread.

#include <QLabel>
#include <QPushButton>

#include "toolkit/PlainControls.h"
#include "toolkit/ZNButton.h"
#include "toolkit/ZNView.h"

namespace zun {

// A word that acts, without a face of its own.
class ZNBarButton final : public QPushButton {
    Q_OBJECT
  public:
    explicit ZNBarButton(QWidget* parent);
    void setInk(QRgb ink);
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;

  private:
    QRgb _ink;
    FocusRing _ring;
};

class ScreenBar final : public ZNView {
    Q_OBJECT
  public:
    enum class Ground { Card, Window };

    ScreenBar(Pictures& pictures, QWidget* parent);

    void setGround(Ground ground);
    [[nodiscard]] ZNButton& leftButton() const { return *_leftButton; }
    [[nodiscard]] ZNBarButton& rightButton() const { return *_rightButton; }
    [[nodiscard]] QLabel& controllerTitle() const { return *_title; }
    // To be called when an icon, the title or the word has changed.
    void layOut();

    static constexpr int sideMargin = 10;

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    ZNButton* _leftButton;
    QLabel* _title;
    ZNBarButton* _rightButton;
};

}  // namespace zun
