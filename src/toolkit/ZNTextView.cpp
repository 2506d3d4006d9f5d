#include "toolkit/ZNTextView.h"

#include <QFocusEvent>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QMimeData>
#include <QPainter>
#include <QSyntaxHighlighter>
#include <QTextBlock>
#include <QTextBoundaryFinder>
#include <algorithm>
#include <cmath>

#include "toolkit/FoldedText.h"
#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

constexpr double ringRadius = 3;
// Laying out an emoji means decoding its picture, and takes as long as so many letters.
constexpr qsizetype emojiWeight = 24;

QString withoutCarriageReturns(QString text) {
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    return text;
}

bool breaksLine(QChar character) {
    return character == u'\n' || character == u'\r' || character == QChar::ParagraphSeparator ||
           character == QChar::LineSeparator || character == u'\v' || character == u'\f';
}

}  // namespace

// A highlighter formats what is shown and leaves the text and its undo alone.
class ZNTextView::EmojiHighlighter final : public QSyntaxHighlighter {
  public:
    using QSyntaxHighlighter::QSyntaxHighlighter;
    void setSize(int size) { _size = size; }

  protected:
    void highlightBlock(const QString& text) override {
        for (const auto& range : emojiFormats(text, _size))
            setFormat(range.start, range.length, range.format);
    }

  private:
    int _size = 13;
};

ZNTextView::ZNTextView(AllowsReturn allowsReturn, QWidget* parent)
    : QTextEdit(parent), _allowsReturn(allowsReturn), _emoji(new EmojiHighlighter(document())) {
    setFrameShape(QFrame::NoFrame);
    setAcceptRichText(false);
    setTabChangesFocus(true);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setLineWrapMode(QTextEdit::FixedPixelWidth);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    FoldedText::install(*document());
    document()->setDocumentMargin(ringMargin);
    viewport()->setAutoFillBackground(false);
    connect(this, &QTextEdit::textChanged, this, [this] { followDirection(); });
    followDirection();
}

// ---- text

QTextBlockFormat ZNTextView::blockFormat() const {
    QTextBlockFormat format;
    // A fixed height, so that a line with an emoji is no higher than its neighbours.
    format.setLineHeight(std::ceil(font().pixelSize() * _lineHeight), QTextBlockFormat::FixedHeight);
    return format;
}

void ZNTextView::setTextStyle(const QFont& textFont, const QColor& color, double lineHeight) {
    const bool isSame = font() == textFont && _lineHeight == lineHeight && palette().color(QPalette::Text) == color;
    if (isSame) return;
    setFont(textFont);
    QPalette colors = palette();
    colors.setColor(QPalette::Text, color);
    colors.setColor(QPalette::PlaceholderText, QColor::fromRgba(tokens::cardPlaceholder));
    setPalette(colors);
    _lineHeight = lineHeight;
    _emoji->setSize(textFont.pixelSize());
    if (document()->isUndoAvailable() || document()->isRedoAvailable()) {
        // A window that was made a little wider is no reason to forget what could be undone: lines stay as high.
        _emoji->rehighlight();
        return;
    }
    const int position = textCursor().position();
    setString(string());
    QTextCursor cursor = textCursor();
    cursor.setPosition(std::min(position, document()->characterCount() - 1));
    setTextCursor(cursor);
}

void ZNTextView::setString(const QString& text) {
    const QSignalBlocker silence(document());
    document()->setUndoRedoEnabled(false);
    clear();
    QTextCursor all(document());
    insert(all, withoutCarriageReturns(text));
    all.select(QTextCursor::Document);
    all.mergeBlockFormat(blockFormat());
    document()->setUndoRedoEnabled(true);
    followDirection();
    _emoji->rehighlight();
    emit textChanged();
}

QString ZNTextView::string() const {
    return FoldedText::unfolded(*document(), 0, document()->characterCount() - 1);
}

void ZNTextView::replaceCharactersInRange(qsizetype start, qsizetype length, const QString& replacement) {
    QTextCursor cursor(document());
    cursor.setPosition(static_cast<int>(start));
    cursor.setPosition(static_cast<int>(start + length), QTextCursor::KeepAnchor);
    insert(cursor, insertable(replacement));
}

qsizetype ZNTextView::shownLength(const QString& text) const {
    qsizetype limit = foldingLength();
    for (const TextRun& run : emojiRuns(QStringView(text).left(limit))) {
        if (run.start >= limit) break;
        const qsizetype weighed = std::min(run.length, (limit - run.start) / emojiWeight + 1);
        limit -= weighed * (emojiWeight - 1);
        limit = std::max(limit, run.start + weighed);
    }
    if (limit >= text.size()) return text.size();
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.constData(), std::min(text.size(), limit + 32));
    finder.setPosition(limit);
    const qsizetype end = finder.isAtBoundary() ? limit : finder.toPreviousBoundary();
    if (end > 0) return end;
    // A single character may be that long, with thousands of marks piled on it.
    return limit > 1 && text[limit - 1].isHighSurrogate() ? limit - 1 : limit;
}

void ZNTextView::insert(QTextCursor cursor, const QString& text) {
    const qsizetype end = shownLength(text);
    if (end == text.size()) {
        cursor.insertText(text);
        return;
    }
    cursor.beginEditBlock();
    cursor.insertText(text.left(end));
    FoldedText::insert(cursor, text.mid(end));
    cursor.endEditBlock();
}

QString ZNTextView::insertable(QString text) const {
    text = withoutCarriageReturns(std::move(text));
    const QChar lineEnd = allowsReturn() ? u'\n' : u' ';
    for (QChar& character : text) {
        if (breaksLine(character)) {
            character = lineEnd;
        } else if (character.category() == QChar::Other_Control && (character != u'\t' || !allowsReturn())) {
            character = u' ';
        }
    }
    return text;
}

// An empty field has no direction of its own, so its cursor stands where the interface begins its lines.
void ZNTextView::followDirection() {
    const auto direction = document()->isEmpty() ? layoutDirection() : Qt::LayoutDirectionAuto;
    QTextOption option = document()->defaultTextOption();
    if (option.textDirection() == direction) return;
    option.setTextDirection(direction);
    document()->setDefaultTextOption(option);
}

int ZNTextView::heightOfTextWithWidth(int width) {
    if (lineWrapColumnOrWidth() != width + 2 * ringMargin) setLineWrapColumnOrWidth(width + 2 * ringMargin);
    const int height = static_cast<int>(std::ceil(document()->size().height())) - 2 * ringMargin;
    if (!document()->isEmpty()) return height;
    const QRect placeholder =
        fontMetrics().boundingRect(QRect(0, 0, width, 10'000), Qt::TextWordWrap, placeholderText());
    return std::max(height, placeholder.height());
}

// ---- input

void ZNTextView::keyPressEvent(QKeyEvent* event) {
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isReturn && (event->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier))) {
        event->ignore();
        return;
    }
    if (isReturn) {
        event->accept();
        if (_delegate && !_delegate->shouldContinueOnPressReturn(*this)) return;
        if (!allowsReturn()) return;
        textCursor().insertBlock();
        ensureCursorVisible();
        return;
    }
    if (event->key() == Qt::Key_Escape) {
        event->ignore();
        return;
    }
    QTextEdit::keyPressEvent(event);
}

void ZNTextView::inputMethodEvent(QInputMethodEvent* event) {
    QInputMethodEvent plain(event->preeditString(), event->attributes());
    plain.setCommitString(insertable(event->commitString()), event->replacementStart(), event->replacementLength());
    QTextEdit::inputMethodEvent(&plain);
    event->setAccepted(plain.isAccepted());
}

bool ZNTextView::focusNextPrevChild(bool next) {
    if (!next || !_delegate) return QTextEdit::focusNextPrevChild(next);
    _delegate->shouldSelectNextKeyView();
    return true;
}

void ZNTextView::wheelEvent(QWheelEvent* event) {
    event->ignore();
}

bool ZNTextView::canInsertFromMimeData(const QMimeData* source) const {
    return source->hasText();
}

void ZNTextView::insertFromMimeData(const QMimeData* source) {
    if (isReadOnly() || !source->hasText()) return;
    insert(textCursor(), insertable(source->text()));
    ensureCursorVisible();
}

QMimeData* ZNTextView::createMimeDataFromSelection() const {
    auto* copy = new QMimeData;
    copy->setText(FoldedText::unfolded(*document(), textCursor().selectionStart(), textCursor().selectionEnd()));
    return copy;
}

// ---- focus

void ZNTextView::focusInEvent(QFocusEvent* event) {
    _ring.focusIn(*event);
    QTextEdit::focusInEvent(event);
    viewport()->update();
}

void ZNTextView::focusOutEvent(QFocusEvent* event) {
    QTextEdit::focusOutEvent(event);
    viewport()->update();
}

void ZNTextView::paintEvent(QPaintEvent* event) {
    QTextEdit::paintEvent(event);
    QPainter painter(viewport());
    painter.setRenderHint(QPainter::Antialiasing);
    const double inset = tokens::focusRingGap + tokens::focusRingWidth;
    _ring.paint(painter, *this, QRectF(viewport()->rect()).adjusted(inset, inset, -inset, -inset), ringRadius);
}

}  // namespace zun
