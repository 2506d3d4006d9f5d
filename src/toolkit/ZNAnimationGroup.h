#pragma once

// Animations in groups: a duration, changes, a completion. A value that is changed inside a group has its new value at
// once, and is shown on its way there until the group ends; then the completion runs, after every value of the group
// has arrived.
//
//   On       groups take their time.
//   Reduced  everything takes a third of its time, so that a render lasts 80 ms; movements jump, fades fade.
//   Off      everything has arrived before the outermost call returns.
//
// In all three, completions and delayed blocks run in the order of their moments on one time line: a block runs at its
// stated moment, and what it starts begins at that moment, however late the loop was. Main thread; never blocks.

#include <QPointF>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "platform/foundation/Dispatch.h"
#include "platform/foundation/NSNotificationCenter.h"

namespace zun {

enum class Animations { On, Reduced, Off };
enum class Easing { Linear, In, Out, InOut };

[[nodiscard]] double eased(Easing easing, double progress);

// A number that can be animated. Copies are not made; a value may be destroyed at any time.
class AnimatedValue {
  public:
    enum class Kind { Movement, Fade };

    explicit AnimatedValue(Kind kind, double initial = 0);
    AnimatedValue(const AnimatedValue&) = delete;
    AnimatedValue& operator=(const AnimatedValue&) = delete;

    // Where it is or is going.
    [[nodiscard]] double value() const { return _state->value; }
    // Where it is seen now.
    [[nodiscard]] double shown() const { return _state->shown; }
    // Jumps there and forgets a movement under way.
    void jump(double value);

  private:
    friend class ZNAnimationTimeline;
    friend class ZNAnimationGroup;
    struct State {
        Kind kind;
        double value;
        double shown;
        std::uint64_t track = 0;  // the latest movement; older ones no longer touch it
    };
    std::shared_ptr<State> _state;
};

class ZNAnimationTimeline;

// What the changes of a group are written with; lives only while they run.
class ZNAnimationGroup {
  public:
    void set(AnimatedValue& value, double target);
    ZNAnimationGroup(const ZNAnimationGroup&) = delete;
    ZNAnimationGroup& operator=(const ZNAnimationGroup&) = delete;

  private:
    friend class ZNAnimationTimeline;
    ZNAnimationGroup(ZNAnimationTimeline& timeline, std::chrono::microseconds duration, Easing easing)
        : _timeline(timeline), _duration(duration), _easing(easing) {}
    ZNAnimationTimeline& _timeline;
    std::chrono::microseconds _duration;
    Easing _easing;
};

class ZNAnimationTimeline {
  public:
    using Changes = std::function<void(ZNAnimationGroup&)>;

    explicit ZNAnimationTimeline(Dispatch& dispatch);
    ~ZNAnimationTimeline();
    ZNAnimationTimeline(const ZNAnimationTimeline&) = delete;
    ZNAnimationTimeline& operator=(const ZNAnimationTimeline&) = delete;

    // Switching off brings everything under way to its end.
    void setAnimations(Animations animations);
    [[nodiscard]] Animations animations() const;

    // Runs the changes now and the completion at the group's end; with a duration of 0 both now.
    void runGroup(std::chrono::microseconds duration, Easing easing, const Changes& changes, Block completion = {});
    // Runs the block on the same time line after the delay.
    void after(std::chrono::microseconds delay, Block block);
    // Runs the block now; what it starts begins at one moment. With animations off, all of that ends in its order after
    // the block.
    void together(const Block& block);
    // Called after each frame in which a value may have moved, about 60 times a second while any does.
    [[nodiscard]] Observation observeFrames(std::function<void()> handler);
    [[nodiscard]] bool isMoving() const;

  private:
    friend class ZNAnimationGroup;
    struct Core;
    std::shared_ptr<Core> _core;
};

}  // namespace zun
