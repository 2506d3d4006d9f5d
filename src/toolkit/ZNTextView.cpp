#include "toolkit/ZNTextView.h"

#include <QFocusEvent>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QMimeData>
#include <QPainter>
#include <QSyntaxHighlighter>
#include <QTextBlock>
#include <QTextBoundaryFinder>
#include <cmath>

#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

constexpr double ringRadius = 3;

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
    setString(string());
}

void ZNTextView::setString(const QString& text) {
    const QSignalBlocker silence(document());
    document()->setUndoRedoEnabled(false);
    setPlainText(withoutCarriageReturns(text));
    QTextCursor all(document());
    all.select(QTextCursor::Document);
    all.mergeBlockFormat(blockFormat());
    document()->setUndoRedoEnabled(true);
    followDirection();
    _emoji->rehighlight();
    emit textChanged();
}

QString ZNTextView::string() const {
    // The plain text of the document would turn hard blanks into soft ones.
    QString text = document()->toRawText();
    text.replace(QChar::ParagraphSeparator, u'\n');
    text.replace(QChar::LineSeparator, u'\n');
    return text;
}

void ZNTextView::replaceCharactersInRange(qsizetype start, qsizetype length, const QString& replacement) {
    QTextCursor cursor(document());
    cursor.setPosition(static_cast<int>(start));
    cursor.setPosition(static_cast<int>(start + length), QTextCursor::KeepAnchor);
    cursor.insertText(insertable(replacement));
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
    const qsizetype replaced = textCursor().selectionEnd() - textCursor().selectionStart();
    const qsizetype room = std::max<qsizetype>(0, lengthLimit - (document()->characterCount() - 1) + replaced);
    if (text.size() > room) {
        QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
        finder.setPosition(room);
        if (!finder.isAtBoundary()) finder.toPreviousBoundary();
        text.truncate(std::max<qsizetype>(0, finder.position()));
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
    textCursor().insertText(insertable(source->text()));
    ensureCursorVisible();
}

QMimeData* ZNTextView::createMimeDataFromSelection() const {
    auto* copy = new QMimeData;
    QString text = textCursor().selectedText();
    text.replace(QChar::ParagraphSeparator, u'\n');
    text.replace(QChar::LineSeparator, u'\n');
    copy->setText(text);
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
