#include "text/QuickEntryGrammar.h"

#include <algorithm>

#include "text/QuickEntryDays.h"
#include "text/QuickEntryRepeats.h"
#include "text/QuickEntryTimes.h"

namespace zun {
namespace {

class PhraseReader {
  public:
    explicit PhraseReader(QuickEntryCursor cursor) : _cursor(cursor), _begin(cursor.at()) {}

    std::optional<QuickEntryPhrase> read() {
        while (readNext()) {
            if (isComplete()) _longest = QuickEntryPhrase{_begin, _cursor.at(), _meaning, confidence()};
            if (_meaning.elapsed) break;
        }
        return _longest;
    }

  private:
    bool readNext() {
        const auto read = _cursor.attempt([&]() -> std::optional<bool> {
            if (_parts > 0 && !_cursor.takeMark(",")) _cursor.takeMark("·");
            return readPart() ? std::optional(true) : std::nullopt;
        });
        return read.has_value();
    }

    bool readPart() {
        // A start before a time: "ab 3. März" is no hour.
        return readRepeatPart() || readBound(WordClass::Until, _meaning.until) ||
               readBound(WordClass::From, _meaning.from) || readTimeParts() || readDayPart();
    }

    void count(Confidence confidence) { _first = _parts++ == 0 ? confidence : _first; }

    bool readRepeatPart() {
        if (_meaning.repeat) return false;
        const auto found = readRepeat(_cursor);
        if (!found || (found->meaning.day && _meaning.day) || (found->meaning.part && _meaning.part)) return false;
        _meaning.repeat = found->meaning.repeat;
        if (found->meaning.day) _meaning.day = found->meaning.day;
        if (found->meaning.part) _meaning.part = found->meaning.part;
        count(found->confidence);
        return true;
    }

    // "from 3 March", "until Friday"
    bool readBound(WordClass preposition, std::optional<DayMeaning>& bound) {
        // Without a repeat before it, "until" is a span or a deadline.
        if (bound || (preposition == WordClass::Until && !_meaning.repeat)) return false;
        const auto day = _cursor.attempt([&]() -> std::optional<PhrasePart<NamedDay>> {
            if (!_cursor.take(preposition)) return std::nullopt;
            _cursor.take(WordClass::The);
            return readDay(_cursor);
        });
        if (!day) return false;
        bound = day->meaning.day;
        count(day->confidence);
        return true;
    }

    bool readTimeParts() {
        if (_parts == 0) {
            if (const auto elapsed = readElapsed(_cursor)) {
                _meaning.elapsed = elapsed->meaning;
                count(elapsed->confidence);
                return true;
            }
        }
        if (!_meaning.clock) {
            if (const auto clock = readClock(_cursor)) {
                _meaning.clock = clock->meaning;
                count(clock->confidence);
                return true;
            }
        }
        if (_meaning.part) return false;
        const bool followsDay = _meaning.day || _meaning.clock;
        const auto part = readPartOfDay(_cursor, followsDay ? FollowsDay::Yes : FollowsDay::No);
        if (!part) return false;
        _meaning.part = part->meaning;
        count(part->confidence);
        return true;
    }

    bool readDayPart() {
        if (_meaning.day) return false;
        const auto found = readDay(_cursor);
        if (!found || (found->meaning.part && _meaning.part)) return false;
        _meaning.day = found->meaning.day;
        if (found->meaning.part) _meaning.part = found->meaning.part;
        count(found->confidence);
        return true;
    }

    [[nodiscard]] bool isComplete() const {
        return _parts > 0 && (_meaning.repeat || (!_meaning.from && !_meaning.until)) && _cursor.isAtBoundary();
    }

    [[nodiscard]] Confidence confidence() const {
        if (_parts == 1) return _first;
        // "Saturday Night" is a name as well as a time.
        const bool isNameOfNight = _parts == 2 && _meaning.day && _meaning.part && _first <= Confidence::Weak;
        return isNameOfNight ? Confidence::Weak : Confidence::Strong;
    }

    QuickEntryCursor _cursor;
    std::size_t _begin;
    int _parts = 0;
    Confidence _first = Confidence::OnlyWithMore;  // of the first part
    PhraseMeaning _meaning;
    std::optional<QuickEntryPhrase> _longest;
};

}  // namespace

std::optional<QuickEntryPhrase> quickEntryPhraseAt(const std::vector<QuickEntryToken>& tokens, std::size_t begin,
                                                   const QuickEntryWords& words, const QuickEntryRegion& region) {
    return PhraseReader(QuickEntryCursor(tokens, words, region, begin)).read();
}

}  // namespace zun
