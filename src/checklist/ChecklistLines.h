#pragma once

// A checklist while it is edited: the visible text without markers, and one check for each of its lines. Every change
// of the text goes through replace(), which decides whether it may happen and keeps checks and lines together:
//
//   number of checks = number of lines, at least 1;   check i belongs to line i;   check 0 is never removed
//
// Positions count UTF-16 units. A plain value without a widget; any thread, one at a time. Nothing fails: a text that
// came from elsewhere is shown as well as it can be.

#include <QList>
#include <QString>
#include <string>
#include <string_view>

namespace zun {

class ChecklistLines {
  public:
    struct Range {
        qsizetype location = 0;
        qsizetype length = 0;
    };
    enum class Change {
        Refused,   // text and checks are as they were
        Allowed,   // the range now holds the replacement
        Reloaded,  // several lines were pasted: the whole list was written anew, in another way than asked
    };
    struct Outcome {
        Change change = Change::Refused;
        bool checksChanged = false;  // one came, went, or all were set anew
        // Where the cursor belongs afterwards.
        qsizetype cursor = 0;
    };

    ChecklistLines() = default;

    // Reads the stored form. One open check and no text for an empty one.
    void setChecklist(std::string_view checklist);
    // The stored form, without empty lines. The lines are counted from the first that is not empty.
    [[nodiscard]] std::string formattedChecklist() const;

    [[nodiscard]] const QString& text() const { return _text; }
    [[nodiscard]] const QList<bool>& checks() const { return _checks; }
    [[nodiscard]] bool isChecked(qsizetype line) const { return line < _checks.size() && _checks[line]; }
    void setChecked(qsizetype line, bool isChecked);
    // Puts back what text() and checks() gave earlier.
    void restore(const QString& text, const QList<bool>& checks);

    // The rule before each change. The replacement's line ends are line feeds: see withPlainLineEnds().
    //
    //   deletion              the checks of the lines that go are removed; everything gone leaves one open check
    //   return                a new open check below; refused in an empty list and behind a line break, so that no
    //                         empty items arise, and at the beginning of a text of several lines
    //   within a line         the checks stay
    //   several lines         written as lines of their own into the list, before the line that follows the cursor;
    //                         what is selected stays, unless all is
    //
    // A selection that is replaced by less than several lines is deleted first, and then the rest is inserted, each
    // by the rule; if the second is refused, the deletion stands.
    Outcome replace(Range range, const QString& replacement);

    // Counted by checks, so that an empty list has one open item.
    [[nodiscard]] qsizetype numberOfActiveItems() const;
    [[nodiscard]] qsizetype numberOfInactiveItems() const;
    // The visible lines that are not checked.
    [[nodiscard]] QStringList activeItems() const;
    // Open lines first, then the checked ones, each group in its order.
    void moveActiveItemsToTheTop();
    void removeCompletedItems();

    // Line ends of all kinds as line feeds, and nothing that a text widget takes for a structure of its own.
    [[nodiscard]] static QString withPlainLineEnds(QString text);

  private:
    void removeRange(Range range);
    void removeChecksOfLines(const Range& range, const QString& gone);
    Outcome insertReturn(qsizetype location);
    Outcome insertLines(Range range, const QString& lines);
    void matchChecksToLines(qsizetype at, const QList<bool>& before);
    void reset();

    QString _text;
    QList<bool> _checks{false};
};

}  // namespace zun
