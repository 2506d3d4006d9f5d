#include "platform/foundation/NSTimeZone.h"

#include <algorithm>
#include <limits>

#include "platform/foundation/PosixTimeZoneRule.h"
#include "platform/foundation/TZifContents.h"

namespace zun {
namespace {

using std::chrono::days;
using std::chrono::floor;
using std::chrono::hours;
using std::chrono::microseconds;
using std::chrono::minutes;
using std::chrono::seconds;
using std::chrono::sys_seconds;

// The Gregorian calendar repeats after this many days, which are whole weeks.
constexpr microseconds cycle = days{146'097};
// No offset is further from UTC, so that no wall time is later than its instant by more.
constexpr hours mostOffset{26};

std::int64_t saturatingSum(std::int64_t a, std::int64_t b) {
    std::int64_t sum = 0;
    if (!__builtin_add_overflow(a, b, &sum)) return sum;
    return b < 0 ? std::numeric_limits<std::int64_t>::min() : std::numeric_limits<std::int64_t>::max();
}

NSDate later(NSDate date, microseconds by) {
    return NSDate{microseconds{saturatingSum(date.time_since_epoch().count(), by.count())}};
}

int yearOf(sys_seconds time) {
    return int{std::chrono::year_month_day{floor<days>(time)}.year()};
}

}  // namespace

NSTimeZone::NSTimeZone(std::string name, const TZifContents& contents)
    : _name(std::move(name)), _firstOffset(contents.firstOffset) {
    // A file without transitions leaves all times to its rule.
    if (contents.transitions.empty() && contents.rule) _firstOffset = contents.rule->standardOffset;
    for (const auto& transition : contents.transitions)
        addTransition(transition.at, transition.offset);
    if (contents.rule && contents.rule->daylightSaving) {
        const bool fromTheStart = contents.transitions.empty();
        const auto last = fromTheStart ? sys_seconds::min() : contents.transitions.back().at;
        const int firstYear = fromTheStart ? 0 : yearOf(last);
        // Two years of margin at both ends: the span around a date of the last 400 years must be whole.
        const int endYear = std::max(2500, firstYear + 405);
        for (int year = firstYear; year < endYear; ++year) {
            for (const auto& change : contents.rule->changesInYear(year)) {
                if (change.at > last) addTransition(change.at, change.offset);
            }
        }
        _tableEnd = std::chrono::sys_days{std::chrono::year{endYear - 2} / 1 / 1};
    }
    findGaps();
}

// Of two changes at one instant the later one holds: so does a rule spell daylight saving all year round.
void NSTimeZone::addTransition(sys_seconds at, seconds offset) {
    if (!_transitions.empty() && _transitions.back().at == at) _transitions.pop_back();
    if (!_transitions.empty() && _transitions.back().at > at) return;
    if (offset != offsetBefore(_transitions.size())) _transitions.push_back({at, offset});
}

void NSTimeZone::findGaps() {
    for (std::size_t i = 0; i < _transitions.size() && _transitions[i].at < _tableEnd; ++i) {
        const auto at = _transitions[i].at;
        const Gap gap{at, LocalTime{at.time_since_epoch() + offsetBefore(i)},
                      LocalTime{at.time_since_epoch() + _transitions[i].offset}};
        if (gap.begin >= gap.end) continue;
        _gaps.push_back(gap);
        if (_tableEnd != NSDate::max() && at >= _tableEnd - cycle) ++_repeatingGaps;
        const auto firstMinute = floor<minutes>(gap.begin - floor<days>(gap.begin)).count();
        const auto length = std::chrono::ceil<minutes>(gap.end - floor<minutes>(gap.begin)).count();
        for (std::int64_t minute = 0; minute < std::min<std::int64_t>(length, 24 * 60); ++minute) {
            _skippedMinutes.set(static_cast<std::size_t>(firstMinute + minute) % _skippedMinutes.size());
        }
    }
}

std::size_t NSTimeZone::transitionAfter(NSDate date) const {
    // Branch-free halving; the branches of std::upper_bound would be guessed wrong half of the time.
    const Transition* first = _transitions.data();
    std::size_t length = _transitions.size();
    while (length > 0) {
        const std::size_t half = length / 2;
        const bool right = first[half].at <= date;
        first = right ? first + half + 1 : first;
        length = right ? length - half - 1 : half;
    }
    return static_cast<std::size_t>(first - _transitions.data());
}

seconds NSTimeZone::offsetBefore(std::size_t transition) const {
    return transition == 0 ? _firstOffset : _transitions[transition - 1].offset;
}

// How much later the date is than the one in the table that answers for it.
microseconds NSTimeZone::shiftIntoTable(NSDate date) const {
    if (date < _tableEnd || _tableEnd == NSDate::max()) return microseconds::zero();
    return ((date - _tableEnd) / cycle + 1) * cycle;
}

NSTimeZone::Span NSTimeZone::spanAt(NSDate date) const {
    const auto shift = shiftIntoTable(date);
    const auto next = transitionAfter(date - shift);
    return {next == 0 ? NSDate::min() : _transitions[next - 1].at + shift,
            next == _transitions.size() ? NSDate::max() : later(_transitions[next].at, shift), offsetBefore(next)};
}

LocalTime NSTimeZone::localTime(NSDate date) const {
    const auto offset = offsetBefore(transitionAfter(date - shiftIntoTable(date)));
    return LocalTime{later(date, offset).time_since_epoch()};
}

NSDate NSTimeZone::instant(LocalTime wall, SkippedTime ifSkipped) const {
    if (wall == LocalTime::min() || wall == LocalTime::max()) return NSDate{wall.time_since_epoch()};
    // From the earliest instant that could show this wall time, through the spans, to the first one that does.
    const NSDate asIfUTC{wall.time_since_epoch()};
    const auto shift = shiftIntoTable(later(asIfUTC, -mostOffset));
    const auto shifted = asIfUTC - shift;
    for (auto next = transitionAfter(later(shifted, -mostOffset));; ++next) {
        const auto candidate = later(shifted, -offsetBefore(next));
        if (next > 0 && candidate < _transitions[next - 1].at) {
            switch (ifSkipped) {
                case SkippedTime::LaterByGap:
                    return later(later(shifted, -offsetBefore(next - 1)), shift);
                case SkippedTime::EarlierByGap:
                    return later(candidate, shift);
                case SkippedTime::EndOfGap:
                    return later(_transitions[next - 1].at, shift);
            }
        }
        if (next == _transitions.size() || candidate < _transitions[next].at) return later(candidate, shift);
    }
}

std::size_t NSTimeZone::gapNumberAfter(NSDate date) const {
    const auto shift = shiftIntoTable(date);
    const auto found = std::upper_bound(_gaps.begin(), _gaps.end(), date - shift,
                                        [](NSDate wanted, const Gap& gap) { return wanted < gap.at; });
    return static_cast<std::size_t>(found - _gaps.begin()) + static_cast<std::size_t>(shift / cycle) * _repeatingGaps;
}

std::optional<NSTimeZone::Gap> NSTimeZone::gap(std::size_t number) const {
    if (number < _gaps.size()) return _gaps[number];
    if (_repeatingGaps == 0) return std::nullopt;
    const auto beyond = number - _gaps.size();
    const auto& repeated = _gaps[_gaps.size() - _repeatingGaps + beyond % _repeatingGaps];
    const auto rounds = beyond / _repeatingGaps + 1;
    if (rounds > static_cast<std::size_t>((NSDate::max() - repeated.at) / cycle - 1)) return std::nullopt;
    const auto shift = static_cast<std::int64_t>(rounds) * cycle;
    return Gap{repeated.at + shift, repeated.begin + shift, repeated.end + shift};
}

}  // namespace zun
