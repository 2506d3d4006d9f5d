#include "checklist/ChecklistHistory.h"

#include <algorithm>
#include <limits>

namespace zun {
namespace {

constexpr std::size_t stepLimit = 500;
constexpr qsizetype sizeLimit = 8'000'000;  // units and checks, over all steps

}  // namespace

template <typename Sequence>
ChecklistHistory::Splice<Sequence> ChecklistHistory::spliceBetween(const Sequence& before, const Sequence& after,
                                                                   qsizetype prefixLimit) {
    const qsizetype shorter = std::min(before.size(), after.size());
    const qsizetype prefix =
        std::mismatch(before.cbegin(), before.cbegin() + std::min(shorter, prefixLimit), after.cbegin()).first -
        before.cbegin();
    qsizetype suffix = 0;
    while (suffix < shorter - prefix && before[before.size() - 1 - suffix] == after[after.size() - 1 - suffix])
        ++suffix;
    return {prefix, before.mid(prefix, before.size() - prefix - suffix),
            after.mid(prefix, after.size() - prefix - suffix)};
}

void ChecklistHistory::record(const Moment& before, const Moment& after, Kind kind, std::optional<qsizetype> location) {
    Step step{spliceBetween(before.text, after.text, location.value_or(std::numeric_limits<qsizetype>::max())),
              spliceBetween(before.checks, after.checks, std::numeric_limits<qsizetype>::max()),
              kind,
              before.anchor,
              before.cursor,
              after.anchor,
              after.cursor};
    while (canRedo()) {
        _size -= _steps.back().size();
        _steps.pop_back();
    }
    if (!merge(step)) {
        _size += step.size();
        _steps.push_back(std::move(step));
        ++_done;
    }
    _isOpen = kind != Kind::Other;
    forgetOldest();
}

bool ChecklistHistory::merge(const Step& step) {
    if (!_isOpen || _steps.empty() || step.changesChecks()) return false;
    Step& last = _steps.back();
    if (last.kind != step.kind || last.cursorAfter != step.cursorBefore || step.anchorBefore != step.cursorBefore)
        return false;
    if (step.kind == Kind::Typing) {
        const bool follows = step.text.gone.isEmpty() && step.text.at == last.text.at + last.text.come.size();
        const bool beginsWord = last.text.come.endsWith(u' ') && !step.text.come.startsWith(u' ');
        if (!follows || beginsWord) return false;
        last.text.come += step.text.come;
    } else if (step.kind == Kind::Deleting && step.text.come.isEmpty() && last.text.come.isEmpty()) {
        if (step.text.at + step.text.gone.size() == last.text.at) {
            last.text.at = step.text.at;
            last.text.gone.prepend(step.text.gone);
        } else if (step.text.at == last.text.at) {
            last.text.gone += step.text.gone;
        } else {
            return false;
        }
    } else {
        return false;
    }
    _size += step.size();
    last.anchorAfter = step.anchorAfter;
    last.cursorAfter = step.cursorAfter;
    return true;
}

void ChecklistHistory::forgetOldest() {
    while (_steps.size() > 1 && (_steps.size() > stepLimit || _size > sizeLimit)) {
        _size -= _steps.front().size();
        _steps.pop_front();
        --_done;
    }
}

void ChecklistHistory::clear() {
    _steps.clear();
    _done = 0;
    _size = 0;
    _isOpen = false;
}

namespace {

template <typename Sequence>
void exchange(Sequence& sequence, qsizetype at, const Sequence& gone, const Sequence& come) {
    sequence = sequence.first(at) + come + sequence.sliced(at + gone.size());
}

}  // namespace

ChecklistHistory::Moment ChecklistHistory::undo(Moment present) {
    const Step& step = _steps[--_done];
    _isOpen = false;
    exchange(present.text, step.text.at, step.text.come, step.text.gone);
    exchange(present.checks, step.checks.at, step.checks.come, step.checks.gone);
    present.anchor = step.anchorBefore;
    present.cursor = step.cursorBefore;
    return present;
}

ChecklistHistory::Moment ChecklistHistory::redo(Moment present) {
    const Step& step = _steps[_done++];
    _isOpen = false;
    exchange(present.text, step.text.at, step.text.gone, step.text.come);
    exchange(present.checks, step.checks.at, step.checks.gone, step.checks.come);
    present.anchor = step.anchorAfter;
    present.cursor = step.cursorAfter;
    return present;
}

}  // namespace zun
