#pragma once

// The arithmetic of a swipe. Idle until changed() is called, then swiping until ended(); repeated beginnings and ends
// change nothing.
//
//   displacement = start + sum of the deltas from the 20th point of travel on, each with its sign
//
// The displacement of the card from rest decides at the end, the larger axis wins, and limits must be exceeded. Deltas
// are logical pixels, downwards and rightwards positive where the content follows the fingers.

#include <QPointF>
#include <optional>

namespace zun {

enum class DirectionInvertedFromDevice { No, Yes };
// What a gesture may do at its end. Steps of a plain wheel never complete or snooze: they arrive by accident too
// easily.
enum class SwipePower { Full, SidewaysOnly };
enum class SwipeDecision { Restore, Skip, Complete, Snooze };

struct SwipeProgress {
    QPointF displacement;
    double fade = 0;  // 0 to 1: how far the cards beneath have come up
    // Of the way to a commit; not limited to 1. Kept from the step before where both axes are equal.
    double skip = 0, complete = 0, snooze = 0;
};

class SwipeRecognizer {
  public:
    static constexpr unsigned visualStart = 20;
    static constexpr double fullFade = 40;
    static constexpr double skipDistance = 140;
    static constexpr double verticalDistance = 120;
    // How far a gesture without full power may pull a card up or down, and which part of its deltas arrives there.
    static constexpr double resistedDistance = 28;
    static constexpr double resistance = 0.25;

    // One step. Empty while the gesture is still too short to show.
    std::optional<SwipeProgress> changed(QPointF delta, DirectionInvertedFromDevice inverted, SwipePower power);
    // The decision of a gesture that moved the card, or was too short to; ready for the next one afterwards.
    [[nodiscard]] SwipeDecision ended(int numberOfItems, SwipePower power);
    // Takes the card up where it stands, for a finger that catches it on its way back.
    void startFrom(QPointF displacement) { _progress.displacement = displacement; }
    void cancel();

    // What the latest step that showed gave.
    [[nodiscard]] const SwipeProgress& progress() const { return _progress; }
    // Summed travel in whole points.
    [[nodiscard]] unsigned gestureDistance() const { return _gestureDistance; }
    [[nodiscard]] bool isVisible() const { return _gestureDistance >= visualStart; }

  private:
    unsigned _gestureDistance = 0;
    SwipeProgress _progress;
};

}  // namespace zun
