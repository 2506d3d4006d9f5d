#include "cards/SwipeRecognizer.h"

#include <algorithm>
#include <cmath>

namespace zun {

std::optional<SwipeProgress> SwipeRecognizer::changed(QPointF delta, DirectionInvertedFromDevice inverted,
                                                      SwipePower power) {
    constexpr double longest = 1e6;
    const double travel = std::max(std::abs(delta.x()), std::abs(delta.y()));
    _gestureDistance = static_cast<unsigned>(std::min(_gestureDistance + travel, longest));
    if (!isVisible()) return std::nullopt;

    const double sign = inverted == DirectionInvertedFromDevice::Yes ? 1 : -1;
    QPointF& at = _progress.displacement;
    at.rx() += delta.x() * sign;
    if (power == SwipePower::Full) {
        at.ry() += delta.y() * sign;
    } else {
        at.ry() = std::clamp(at.y() + delta.y() * sign * resistance, -resistedDistance, resistedDistance);
    }
    _progress.fade = std::min(1.0, _gestureDistance / fullFade);

    const double x = std::abs(at.x());
    const double y = std::abs(at.y());
    if (x != y) _progress.skip = _progress.snooze = _progress.complete = 0;
    if (x > y) _progress.skip = x / skipDistance;
    if (y > x && power == SwipePower::Full) (at.y() > 0 ? _progress.snooze : _progress.complete) = y / verticalDistance;
    return _progress;
}

SwipeDecision SwipeRecognizer::ended(int numberOfItems, SwipePower power) {
    const double x = std::abs(_progress.displacement.x());
    const double y = std::abs(_progress.displacement.y());
    const bool isDown = _progress.displacement.y() > 0;
    cancel();
    if (x > y) return numberOfItems >= 2 && x > skipDistance ? SwipeDecision::Skip : SwipeDecision::Restore;
    if (y > x && y > verticalDistance && power == SwipePower::Full) {
        return isDown ? SwipeDecision::Snooze : SwipeDecision::Complete;
    }
    return SwipeDecision::Restore;
}

void SwipeRecognizer::cancel() {
    _gestureDistance = 0;
    _progress = {};
}

}  // namespace zun
