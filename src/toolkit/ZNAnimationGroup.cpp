#include "toolkit/ZNAnimationGroup.h"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>

#include "toolkit/Tokens.h"

namespace zun {

using std::chrono::microseconds;

double eased(Easing easing, double progress) {
    const double t = std::clamp(progress, 0.0, 1.0);
    const double rest = 1 - t;
    switch (easing) {
        case Easing::Linear:
            return t;
        case Easing::In:
            return t * t;
        case Easing::Out:
            return 1 - rest * rest * rest;
        case Easing::InOut:
            return t < 0.5 ? 4 * t * t * t : 1 - 4 * rest * rest * rest;
    }
    return t;
}

AnimatedValue::AnimatedValue(Kind kind, double initial)
    : _state(std::make_shared<State>(State{kind, initial, initial})) {}

void AnimatedValue::jump(double value) {
    _state->value = value;
    _state->shown = value;
    _state->track = 0;
}

struct ZNAnimationTimeline::Core : std::enable_shared_from_this<ZNAnimationTimeline::Core> {
    using State = AnimatedValue::State;

    struct Track {
        std::weak_ptr<State> state;
        std::uint64_t id;
        double from, to;
        microseconds start, duration;
        Easing easing;
    };

    explicit Core(Dispatch& queues) : dispatch(queues) {}

    // The moment at which a block on the time line runs is the stated one, not the one at which the loop got there.
    [[nodiscard]] microseconds now() const { return running ? blockTime : dispatch.uptime(); }

    [[nodiscard]] microseconds scaled(microseconds duration) const {
        if (animations != Animations::Reduced) return duration;
        return duration * tokens::reducedFade.count() / tokens::renderDuration.count();
    }

    void enqueue(microseconds delay, Block block) {
        events.emplace(now() + scaled(delay), std::move(block));
        if (animations == Animations::Off) {
            if (!running && together == 0) runEvents();
        } else {
            arm();
        }
    }

    // Runs what is due, each block after every value has got to where it is at that time; all there is with animations
    // off.
    void runEvents() {
        const microseconds uptime = dispatch.uptime();
        const auto limit = [&] { return animations == Animations::Off ? microseconds::max() : uptime; };
        while (!events.empty() && events.begin()->first <= limit()) {
            auto event = events.extract(events.begin());
            moveTracks(limit());
            running = true;
            blockTime = event.key();
            event.mapped()();
            running = false;
        }
        moveTracks(limit());
    }

    // Brings each value to where it is seen at a moment and forgets what has arrived.
    void moveTracks(microseconds moment) {
        std::erase_if(tracks, [&](const Track& track) {
            const auto state = track.state.lock();
            if (!state || state->track != track.id) return true;
            const bool arrived = moment == microseconds::max() || moment >= track.start + track.duration;
            const double progress = arrived ? 1
                                            : static_cast<double>((moment - track.start).count()) /
                                                  static_cast<double>(track.duration.count());
            state->shown = arrived ? track.to : track.from + (track.to - track.from) * eased(track.easing, progress);
            if (arrived) state->track = 0;
            return arrived;
        });
    }

    void tick() {
        armedFor.reset();
        const auto keepAlive = shared_from_this();
        const bool wasMoving = !tracks.empty();
        runEvents();
        if (wasMoving || !tracks.empty()) tellObservers();
        arm();
    }

    void tellObservers() {
        const auto handlers = observers;
        for (const auto& [id, handler] : handlers) {
            if (observers.contains(id)) handler();
        }
    }

    void arm() {
        if (animations == Animations::Off || (tracks.empty() && events.empty())) return;
        const microseconds moment = dispatch.uptime();
        // Frames lie on a grid, so that the time spent on one does not delay the next.
        microseconds wake = microseconds::max();
        if (!tracks.empty()) wake = (moment / tokens::frame + 1) * tokens::frame;
        if (!events.empty()) wake = std::min(wake, std::max(events.begin()->first, moment));
        if (armedFor && *armedFor <= wake) return;
        armedFor = wake;
        dispatch.main()->asyncAfter(wake - moment, [weak = weak_from_this(), wake] {
            const auto core = weak.lock();
            if (core && core->armedFor == wake) core->tick();
        });
    }

    Dispatch& dispatch;
    Animations animations = Animations::On;
    std::vector<Track> tracks;
    std::multimap<microseconds, Block> events;  // equal moments in the order of submission
    std::map<std::uint64_t, std::function<void()>> observers;
    std::uint64_t nextId = 1;
    std::optional<microseconds> armedFor;
    bool running = false;
    int together = 0;  // how many calls of that name are under way
    microseconds blockTime{0};
};

void ZNAnimationGroup::set(AnimatedValue& value, double target) {
    auto& core = *_timeline._core;
    auto& state = *value._state;
    const bool jumps = core.animations == Animations::Off || _duration <= microseconds::zero() ||
                       (core.animations == Animations::Reduced && state.kind == AnimatedValue::Kind::Movement);
    if (jumps || state.shown == target) return value.jump(target);
    state.value = target;
    state.track = core.nextId++;
    core.tracks.push_back(
        {value._state, state.track, state.shown, target, core.now(), core.scaled(_duration), _easing});
    core.arm();
}

ZNAnimationTimeline::ZNAnimationTimeline(Dispatch& dispatch) : _core(std::make_shared<Core>(dispatch)) {}
ZNAnimationTimeline::~ZNAnimationTimeline() = default;

void ZNAnimationTimeline::setAnimations(Animations animations) {
    _core->animations = animations;
    if (animations != Animations::Off) return;
    if (!_core->running) _core->runEvents();
    _core->tellObservers();
}

Animations ZNAnimationTimeline::animations() const {
    return _core->animations;
}

void ZNAnimationTimeline::runGroup(microseconds duration, Easing easing, const Changes& changes, Block completion) {
    ZNAnimationGroup group(*this, duration, easing);
    if (changes) changes(group);
    if (duration <= microseconds::zero()) {
        if (completion) completion();
    } else if (completion) {
        _core->enqueue(duration, std::move(completion));
    }
}

void ZNAnimationTimeline::after(microseconds delay, Block block) {
    _core->enqueue(delay, std::move(block));
}

void ZNAnimationTimeline::together(const Block& block) {
    const auto core = _core;
    ++core->together;
    block();
    --core->together;
    if (core->animations == Animations::Off && !core->running && core->together == 0) core->runEvents();
}

Observation ZNAnimationTimeline::observeFrames(std::function<void()> handler) {
    const std::uint64_t id = _core->nextId++;
    _core->observers.emplace(id, std::move(handler));
    return Observation([weak = std::weak_ptr(_core), id] {
        if (const auto core = weak.lock()) core->observers.erase(id);
    });
}

bool ZNAnimationTimeline::isMoving() const {
    return !_core->tracks.empty();
}

}  // namespace zun
