#include "cards/SwipeGatherer.h"

#include <QWheelEvent>
#include <algorithm>
#include <cmath>
#include <utility>

#include "toolkit/Tokens.h"

namespace zun {

namespace {

constexpr double unitsPerStep = 120;
constexpr double pointsPerStep = 40;

QPointF pointsOfUnits(const QWheelEvent& event) {
    return QPointF(event.angleDelta()) * (pointsPerStep / unitsPerStep);
}

}  // namespace

SwipeGatherer::SwipeGatherer(SwipeSink& sink, DispatchQueuePtr mainQueue)
    : _sink(sink), _mainQueue(std::move(mainQueue)) {}

void SwipeGatherer::wheel(const QWheelEvent& event) {
    if (_gesture == Gesture::Drag) return;
    switch (event.phase()) {
        case Qt::NoScrollPhase:
            return step(event);
        case Qt::ScrollMomentum:
            return;
        case Qt::ScrollBegin:
            endSteps();
            _gesture = Gesture::Phases;
            return;
        case Qt::ScrollUpdate: {
            if (_gesture == Gesture::CancelledPhases) return;
            endSteps();
            _gesture = Gesture::Phases;
            const QPointF points = event.pixelDelta().isNull() ? pointsOfUnits(event) : QPointF(event.pixelDelta());
            return _sink.swipeChanged(points, direction(event), SwipePower::Full);
        }
        case Qt::ScrollEnd:
            if (std::exchange(_gesture, Gesture::None) == Gesture::Phases) _sink.swipeEnded(SwipePower::Full);
            return;
    }
}

DirectionInvertedFromDevice SwipeGatherer::direction(const QWheelEvent& event) const {
    // Where nobody knows, the content follows the fingers. A wrong sign would swap completing and snoozing.
    const bool isInverted = event.inverted() || _natural != NaturalScrolling::Off;
    return isInverted ? DirectionInvertedFromDevice::Yes : DirectionInvertedFromDevice::No;
}

void SwipeGatherer::step(const QWheelEvent& event) {
    if (_gesture == Gesture::Phases || _gesture == Gesture::CancelledPhases) return;
    restSteps();
    if (_gesture == Gesture::CancelledSteps) return;
    _gesture = Gesture::Steps;
    _sink.swipeChanged(pointsOfUnits(event), direction(event), SwipePower::SidewaysOnly);
}

void SwipeGatherer::restSteps() {
    _rest = NSTimer(_mainQueue, tokens::wheelRest, false, [this] { endSteps(); });
}

void SwipeGatherer::endSteps() {
    _rest.invalidate();
    const bool wasStepping = _gesture == Gesture::Steps;
    if (wasStepping || _gesture == Gesture::CancelledSteps) _gesture = Gesture::None;
    if (wasStepping) _sink.swipeEnded(SwipePower::SidewaysOnly);
}

void SwipeGatherer::press(QPointF globalPosition) {
    endSteps();
    _gesture = Gesture::Drag;
    _lastPosition = globalPosition;
    _dragDistance = 0;
}

bool SwipeGatherer::drag(QPointF globalPosition) {
    if (_gesture != Gesture::Drag) return false;
    const QPointF delta = globalPosition - _lastPosition;
    if (!delta.isNull()) {
        _lastPosition = globalPosition;
        _dragDistance = static_cast<unsigned>(_dragDistance + std::max(std::abs(delta.x()), std::abs(delta.y())));
        _sink.swipeChanged(delta, DirectionInvertedFromDevice::Yes, SwipePower::Full);
    }
    return _dragDistance >= SwipeRecognizer::visualStart;
}

bool SwipeGatherer::release(QPointF globalPosition) {
    if (_gesture != Gesture::Drag) return false;
    const bool wasDrag = drag(globalPosition);
    _gesture = Gesture::None;
    if (wasDrag) {
        _sink.swipeEnded(SwipePower::Full);
    } else {
        _sink.swipeAbandoned();
    }
    return wasDrag;
}

void SwipeGatherer::cancel() {
    if (_gesture == Gesture::Phases) _gesture = Gesture::CancelledPhases;
    if (_gesture == Gesture::Steps) _gesture = Gesture::CancelledSteps;
    if (_gesture == Gesture::Drag) _gesture = Gesture::None;
}

}  // namespace zun
