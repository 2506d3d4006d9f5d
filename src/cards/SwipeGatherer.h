#pragma once

// Makes one kind of gesture out of what devices give: trackpads with phases, wheels without, fingers on a screen, a
// dragging mouse.
//
//   phases     Begin is ignored however often it comes, Update moves, End ends; what momentum brings after the end is
//   ignored. no phases  120 units count as 40 points; the gesture ends when nothing has come for a while, and has no
//   power to complete. touch,     follow the finger from the press; a release after less than 20 points of travel is a
//   click. mouse
//
// Owned by the view that it reports to. Main thread.

#include <QPointF>

#include "cards/SwipeRecognizer.h"
#include "platform/foundation/Dispatch.h"

class QWheelEvent;

namespace zun {

// What the desktop says about scrolling where events do not say it themselves.
enum class NaturalScrolling { Unknown, On, Off };

class SwipeSink {
  public:
    virtual ~SwipeSink() = default;
    virtual void swipeChanged(QPointF delta, DirectionInvertedFromDevice inverted, SwipePower power) = 0;
    virtual void swipeEnded(SwipePower power) = 0;
    // It was a click and no swipe.
    virtual void swipeAbandoned() = 0;
};

class SwipeGatherer {
  public:
    SwipeGatherer(SwipeSink& sink, DispatchQueuePtr mainQueue);

    void setNaturalScrolling(NaturalScrolling natural) { _natural = natural; }

    void wheel(const QWheelEvent& event);

    // A press that may become a drag. The answer of the others: whether the travel so far makes it one.
    void press(QPointF globalPosition);
    bool drag(QPointF globalPosition);
    bool release(QPointF globalPosition);
    [[nodiscard]] bool isPressed() const { return _gesture == Gesture::Drag; }

    // Forgets the gesture under way; what still comes of it is ignored until it ends.
    void cancel();

  private:
    enum class Gesture { None, Phases, Steps, Drag, CancelledPhases, CancelledSteps };

    void step(const QWheelEvent& event);
    void restSteps();
    void endSteps();
    [[nodiscard]] DirectionInvertedFromDevice direction(const QWheelEvent& event) const;

    SwipeSink& _sink;
    DispatchQueuePtr _mainQueue;
    NSTimer _rest;
    NaturalScrolling _natural = NaturalScrolling::Unknown;
    Gesture _gesture = Gesture::None;
    QPointF _lastPosition;
    unsigned _dragDistance = 0;
};

}  // namespace zun
