#pragma once

// What stands in the place of the cards when none is due: a picture, a title, a line below it. Its parts come in one
// after the other. Owned by its parent widget. Main thread.

#include "cards/CardContext.h"
#include "toolkit/ZNAnimationGroup.h"
#include "toolkit/ZNView.h"

namespace zun {

class ZNZeroStateView final : public ZNView {
    Q_OBJECT
  public:
    static constexpr QSize size{300, 400};
    static constexpr int verticalOffset = 45;  // of its centre, from the centre of its parent

    explicit ZNZeroStateView(const CardContext& context, QWidget* parent = nullptr);

    // Shows the view and reveals its parts. Does nothing while they are on their way or there.
    void animateIn();
    // Hides the view; the next animateIn() starts from the beginning.
    void conceal();

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    CardContext _context;
    QString _title;
    QString _subtitle;
    AnimatedValue _pictureAlpha{AnimatedValue::Kind::Fade};
    AnimatedValue _textAlpha{AnimatedValue::Kind::Fade};
    Observation _frames;
    bool _isIn = false;
};

}  // namespace zun
