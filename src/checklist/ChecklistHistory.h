#pragma once

// What can be undone in a checklist. A step holds what changed, in text and checks together, and where the cursor stood
// before and after; typing and deleting gather in one step until the cursor jumps or a word ends. The oldest steps go
// when there are too many, or when they hold too much text. A plain value.

#include <QList>
#include <QString>
#include <deque>
#include <optional>

namespace zun {

class ChecklistHistory {
  public:
    struct Moment {
        QString text;
        QList<bool> checks;
        int anchor = 0;
        int cursor = 0;
    };
    enum class Kind { Typing, Deleting, Other };

    // A change that happened. With a location, what lies before it is taken as unchanged.
    void record(const Moment& before, const Moment& after, Kind kind, std::optional<qsizetype> location = {});
    // The next change is a step of its own.
    void closeStep() { _isOpen = false; }
    void clear();

    [[nodiscard]] bool canUndo() const { return _done > 0; }
    [[nodiscard]] bool canRedo() const { return _done < _steps.size(); }
    // The moment before the last step, or after the next one. What is given must be the present text and checks.
    [[nodiscard]] Moment undo(Moment present);
    [[nodiscard]] Moment redo(Moment present);

  private:
    template <typename Sequence>
    struct Splice {
        qsizetype at = 0;
        Sequence gone;
        Sequence come;
    };
    struct Step {
        Splice<QString> text;
        Splice<QList<bool>> checks;
        Kind kind = Kind::Other;
        int anchorBefore = 0, cursorBefore = 0, anchorAfter = 0, cursorAfter = 0;

        [[nodiscard]] qsizetype size() const {
            return text.gone.size() + text.come.size() + checks.gone.size() + checks.come.size();
        }
        [[nodiscard]] bool changesChecks() const { return !checks.gone.isEmpty() || !checks.come.isEmpty(); }
    };

    template <typename Sequence>
    static Splice<Sequence> spliceBetween(const Sequence& before, const Sequence& after, qsizetype prefixLimit);
    [[nodiscard]] bool merge(const Step& step);
    void forgetOldest();

    std::deque<Step> _steps;
    std::size_t _done = 0;  // steps up to here are done, the others undone
    qsizetype _size = 0;
    bool _isOpen = false;
};

}  // namespace zun
