#pragma once

// A field for plain text that is as high as its text and never scrolls by itself; what it stands in scrolls. Whatever
// is pasted, dropped or composed loses its formats; without allowsReturn its line breaks become spaces. Emoji are drawn
// in colour, and each paragraph runs in the direction of its own text. Undo and redo are the field's own.
//
// The delegate decides what the return key does and where the tab key leads. Laying out a paragraph costs time with its
// length, at every key; so what comes at once and is longer than foldingLength shows its beginning, and the rest is
// held folded as one character. string() has all of it.
//
// Owned by its parent widget. Main thread.

#include <QTextEdit>

#include "toolkit/PlainControls.h"

namespace zun {

class ZNTextView;

class ZNTextViewDelegate {
  public:
    virtual ~ZNTextViewDelegate() = default;
    // False if the key did something else, and nothing shall be inserted.
    virtual bool shouldContinueOnPressReturn(ZNTextView& view) = 0;
    virtual void shouldSelectNextKeyView() = 0;
};

class ZNTextView final : public QTextEdit {
    Q_OBJECT
  public:
    enum class AllowsReturn { No, Yes };

    explicit ZNTextView(AllowsReturn allowsReturn, QWidget* parent = nullptr);

    void setZnDelegate(ZNTextViewDelegate* delegate) { _delegate = delegate; }
    [[nodiscard]] bool allowsReturn() const { return _allowsReturn == AllowsReturn::Yes; }
    // The height of lines is a multiple of the font's size.
    void setTextStyle(const QFont& font, const QColor& color, double lineHeight);

    // Replaces everything; the field forgets what could be undone.
    void setString(const QString& string);
    // Line feeds between paragraphs.
    [[nodiscard]] QString string() const;
    // Replaces a part of it as one step that can be undone.
    void replaceCharactersInRange(qsizetype start, qsizetype length, const QString& replacement);

    // Breaks lines at this width from now on, and gives the height of the text, or of the placeholder while there is
    // none.
    [[nodiscard]] int heightOfTextWithWidth(int width);

    // UTF-16 units that are shown of a text that comes at once; fewer where emoji are among them.
    [[nodiscard]] qsizetype foldingLength() const { return allowsReturn() ? 20'000 : 2'000; }
    // Around the text, for the ring that shows where the focus is.
    static constexpr int ringMargin = 4;

  protected:
    void keyPressEvent(QKeyEvent* event) override;
    void inputMethodEvent(QInputMethodEvent* event) override;
    bool focusNextPrevChild(bool next) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    [[nodiscard]] bool canInsertFromMimeData(const QMimeData* source) const override;
    void insertFromMimeData(const QMimeData* source) override;
    [[nodiscard]] QMimeData* createMimeDataFromSelection() const override;

  private:
    class EmojiHighlighter;
    [[nodiscard]] QString insertable(QString text) const;
    void insert(QTextCursor cursor, const QString& text);
    [[nodiscard]] qsizetype shownLength(const QString& text) const;
    [[nodiscard]] QTextBlockFormat blockFormat() const;
    void followDirection();

    AllowsReturn _allowsReturn;
    ZNTextViewDelegate* _delegate = nullptr;
    EmojiHighlighter* _emoji;
    double _lineHeight = 1.2;
    FocusRing _ring;
};

}  // namespace zun
