#pragma once

// The editor of a checklist: one item a line, and over the left margin (the right one where the interface runs from
// right to left) a check button for each. Keys, input methods, clipboard, drops, undo, redo and assistive technology
// all change it through one rule, that of ChecklistLines; a change that came past it is taken back and asked again.
//
// The view is as high as its text and does not scroll; what it stands in scrolls. It says which height it wants, and
// where the cursor is. Ctrl+Return or Ctrl+Space checks the item of the cursor; Tab leaves the view.
//
// Owned by its parent widget. Main thread. Lists of any length show at once; a single item is one paragraph, so what is
// typed or pasted into one beyond itemLengthLimit is left out, and so is what makes the stored list longer than
// longestReminderText. What came longer is kept whole.

#include <QTextEdit>
#include <memory>

#include "cards/CardContext.h"
#include "checklist/ChecklistHistory.h"
#include "checklist/ChecklistLines.h"

namespace zun {

class ChecklistGutter;
class ChecklistLayout;
class ZNChecklistTextView;

class ZNChecklistTextViewDelegate {
  public:
    virtual ~ZNChecklistTextViewDelegate() = default;
    // False if the key did something else, and nothing shall be inserted.
    virtual bool checklistCommandShouldContinueOnPressReturn(ZNChecklistTextView& view) = 0;
};

class ZNChecklistTextView final : public QTextEdit {
    Q_OBJECT
  public:
    enum class ReadOnlyMode { No, Yes };

    explicit ZNChecklistTextView(const CardContext& context, ReadOnlyMode readOnlyMode = ReadOnlyMode::No,
                                 QWidget* parent = nullptr);
    ~ZNChecklistTextView() override;

    // Not owned; without one, return always inserts a line.
    void setZnDelegate(ZNChecklistTextViewDelegate* delegate) { _znDelegate = delegate; }

    // Shows the stored form and forgets what could be undone.
    void setChecklist(std::string_view checklist);
    [[nodiscard]] std::string formattedChecklist() const { return _lines.formattedChecklist(); }
    // Counted by check buttons: an empty list counts one open item.
    [[nodiscard]] qsizetype numberOfActiveItems() const { return _lines.numberOfActiveItems(); }
    [[nodiscard]] qsizetype numberOfInactiveItems() const { return _lines.numberOfInactiveItems(); }
    // "3 items left"
    [[nodiscard]] QString formattedChecklistStatusString() const;
    // The open lines as they are seen.
    [[nodiscard]] QStringList activeItems() const { return _lines.activeItems(); }
    // Both can be undone; the completion runs before they return.
    void moveActiveItemsToTheTopWithCompletion(const Block& completion);
    void removeCompletedItemsWithCompletion(const Block& completion);
    [[nodiscard]] const ChecklistLines& lines() const { return _lines; }

    // The height of the text, or of the placeholder, in a screen of this size, of whose width text gets
    // textInset less.
    [[nodiscard]] int heightOfTextWithSize(QSizeF size) const;
    // The height of the text as it is laid out now; items that nobody has seen yet may be estimated.
    [[nodiscard]] int contentHeight() const;
    void onSetFont(const QFont& font);
    [[nodiscard]] double singleLineHeight() const;
    // The text can be selected and its items checked, and nothing else.
    void setReadOnly(bool readOnly);
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

    // The one way to change the text. The range counts UTF-16 units, line breaks as one.
    ChecklistLines::Outcome replaceCharactersInRange(ChecklistLines::Range range, const QString& replacement);
    // Checks an item or takes the check away. Can be undone.
    void toggleCheckButton(int line);
    [[nodiscard]] bool canUndo() const { return _history.canUndo(); }
    [[nodiscard]] bool canRedo() const { return _history.canRedo(); }

    static constexpr int gutterWidth = 26;
    static constexpr int textInset = 20 + 72 + 6;
    static constexpr double lineSpacing = 10;
    static constexpr qsizetype itemLengthLimit = 100'000;

  public slots:
    // In place of the base's slots of these names, which would change the text past the rule.
    void undo();
    void redo();
    void cut();
    void paste();

  signals:
    void textUpdated();
    void checkUpdated();
    void heightDidChange(int height);
    // In this view's coordinates, whenever the cursor has moved: what must be seen.
    void cursorDidMove(QRect rect);

  protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void inputMethodEvent(QInputMethodEvent* event) override;
    [[nodiscard]] bool canInsertFromMimeData(const QMimeData* source) const override;
    [[nodiscard]] QMimeData* createMimeDataFromSelection() const override;
    void insertFromMimeData(const QMimeData* source) override;
    void dropEvent(QDropEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;

  private:
    using Range = ChecklistLines::Range;
    using Kind = ChecklistHistory::Kind;

    ChecklistLines::Outcome change(Range range, const QString& replacement, Kind kind);
    bool editByKey(const QKeyEvent& event);
    bool deleteByKey(const QKeyEvent& event);
    void insertNewline();
    void endComposition();
    void removeSelection(Kind kind = Kind::Other);
    [[nodiscard]] Range selectedRange() const;
    [[nodiscard]] QString withinRoom(const QString& text) const;
    [[nodiscard]] QString limited(const QString& whole, qsizetype location) const;
    [[nodiscard]] ChecklistHistory::Moment moment() const;
    void rewrite(const Block& operation);
    void travel(const ChecklistHistory::Moment& moment);
    void showText();
    void setSelection(qsizetype anchor, qsizetype cursor);
    void takeBackForeignChange();
    void postTextUpdated();
    void postCheckUpdated();
    void layOutGutter();
    [[nodiscard]] QString text(std::string_view key) const;

    const CardContext _context;
    ZNChecklistTextViewDelegate* _znDelegate = nullptr;
    ChecklistLines _lines;
    ChecklistHistory _history;
    QString _shown;  // what the document holds
    ChecklistLayout* _layout;
    ChecklistGutter* _gutter = nullptr;
    bool _isShowingText = false;
};

}  // namespace zun
