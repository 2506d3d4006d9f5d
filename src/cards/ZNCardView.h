#pragma once

// A white panel with rounded corners and a shadow, for screens that are made of real widgets on a card. What is added
// to it goes into the inner view. Owned by its parent widget. Main thread.

#include <memory>

#include "toolkit/ZNAnimationGroup.h"
#include "toolkit/ZNView.h"

namespace zun {

class CardSkin;

class ZNCardView : public ZNView {
    Q_OBJECT
  public:
    explicit ZNCardView(ZNAnimationTimeline& animations, QWidget* parent = nullptr);
    ~ZNCardView() override;

    // Where the card's content belongs; as large as the panel and one pixel more on each side.
    [[nodiscard]] QWidget& additionCard() const { return *_additionCard; }
    void addSubview(QWidget& view);

    // Shakes the card, to say no.
    void shakeCard();
    // The room around the panel that the shadow and the shaking take.
    static constexpr int shadowMargin = 34;
    [[nodiscard]] QRectF panelRect() const;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void shakePass(int pass);
    void placeAddition();

    ZNAnimationTimeline& _animations;
    std::unique_ptr<CardSkin> _skin;
    QWidget* _additionCard;
    AnimatedValue _shake{AnimatedValue::Kind::Movement};
    Observation _frames;
};

}  // namespace zun
