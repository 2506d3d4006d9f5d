#pragma once

// A sentence at the bottom edge of the window that says what happened and goes away by itself, or stays until it is
// clicked if it must be read. Reached by the tab key, where Escape, Return and Space count as clicks. The latest
// message replaces the one before. Owned by its parent widget, over whose lower part it lies. Main thread.

#include "platform/foundation/Dispatch.h"
#include "toolkit/ZNAnimationGroup.h"
#include "toolkit/ZNView.h"

namespace zun {

class MessageBar final : public ZNView {
    Q_OBJECT
  public:
    enum class Stays { ForAWhile, UntilClicked };

    MessageBar(Dispatch& dispatch, ZNAnimationTimeline& animations, QWidget* parent);

    void showMessage(const QString& message, Stays stays = Stays::ForAWhile);
    [[nodiscard]] const QString& message() const { return _message; }
    // Finds its place again after its parent changed size.
    void place();

  protected:
    void paintEvent(QPaintEvent* event) override;
    // A press that is left to the parent would move the window.
    void mousePressEvent(QMouseEvent*) override {}
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool event(QEvent* event) override;

  private:
    void leave();
    [[nodiscard]] int textWidth(int width) const;

    Dispatch& _dispatch;
    ZNAnimationTimeline& _animations;
    QString _message;
    Stays _stays = Stays::ForAWhile;
    AnimatedValue _visibility{AnimatedValue::Kind::Fade};
    NSTimer _timer;
    Observation _frames;
};

}  // namespace zun
