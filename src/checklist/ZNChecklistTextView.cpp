#include "checklist/ZNChecklistTextView.h"

#include <QPainter>
#include <QScopedValueRollback>
#include <QTextBlock>
#include <algorithm>
#include <cmath>

#include "checklist/ChecklistGutter.h"
#include "checklist/ChecklistLayout.h"
#include "core/NotificationNames.h"
#include "platform/foundation/LocalizedStrings.h"
#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {

ZNChecklistTextView::ZNChecklistTextView(const CardContext& context, ReadOnlyMode readOnlyMode, QWidget* parent)
    : QTextEdit(parent), _context(context), _layout(new ChecklistLayout(*document(), _lines)) {
    document()->setUndoRedoEnabled(false);
    document()->setDocumentLayout(_layout);
    _layout->setLineSpacing(lineSpacing);
    _gutter = new ChecklistGutter(*this, *_layout, context.pictures);
    setFrameShape(QFrame::NoFrame);
    setAcceptRichText(false);
    setTabChangesFocus(true);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    viewport()->setAutoFillBackground(false);
    QPalette colors = palette();
    colors.setColor(QPalette::Text, QColor::fromRgba(tokens::cardTitle));
    setPalette(colors);
    onSetFont(appFont(sizeOfStyle(SizeStyle::Paragraph, 4)));
    setReadOnly(readOnlyMode == ReadOnlyMode::Yes);

    setAccessibleName(text("Card_Checklist_Label"));
    setAccessibleDescription(text("Checklist_Check_Hint"));
    _gutter->setAccessibleName(text("Card_Checklist_Label"));
    _gutter->setAccessibleDescription(text("Checklist_Check_Hint"));
    _gutter->setToolTip(text("Checklist_Check_Hint"));
    connect(_gutter, &ChecklistGutter::clicked, this, &ZNChecklistTextView::toggleCheckButton);
    connect(_layout, &ChecklistLayout::documentSizeChanged, this, [this] {
        updateGeometry();
        _gutter->update();
        emit heightDidChange(contentHeight());
    });
    connect(document(), &QTextDocument::contentsChanged, this, &ZNChecklistTextView::takeBackForeignChange);
    connect(this, &QTextEdit::cursorPositionChanged, this, [this] {
        if (!_isShowingText) emit cursorDidMove(cursorRect().translated(viewport()->pos()));
    });
    layOutGutter();
}

ZNChecklistTextView::~ZNChecklistTextView() {
    // The document and its layout go after this object's own parts have gone.
    disconnect(document(), nullptr, this, nullptr);
    disconnect(_layout, nullptr, this, nullptr);
}

QString ZNChecklistTextView::text(std::string_view key) const {
    return QString::fromStdString(_context.texts.text(key));
}

// ---- the list as a whole

void ZNChecklistTextView::setChecklist(std::string_view checklist) {
    _history.clear();
    _lines.setChecklist(checklist);
    showText();
    setSelection(0, 0);
    if (!checklist.empty()) postCheckUpdated();
}

QString ZNChecklistTextView::formattedChecklistStatusString() const {
    const auto count = numberOfActiveItems();
    const auto key = count == 1 ? "Checklist_Count_Singular_Format" : "Checklist_Count_Plural_Format";
    return QString::fromStdString(stringWithFormat(_context.texts.text(key), {std::to_string(count)}));
}

void ZNChecklistTextView::moveActiveItemsToTheTopWithCompletion(const Block& completion) {
    rewrite([this] { _lines.moveActiveItemsToTheTop(); });
    if (completion) completion();
}

void ZNChecklistTextView::removeCompletedItemsWithCompletion(const Block& completion) {
    rewrite([this] { _lines.removeCompletedItems(); });
    if (completion) completion();
}

void ZNChecklistTextView::rewrite(const Block& operation) {
    const auto before = moment();
    operation();
    showText();
    setSelection(0, 0);
    _history.record(before, moment(), Kind::Other);
    postCheckUpdated();
}

void ZNChecklistTextView::toggleCheckButton(int line) {
    if (line < 0 || line >= _lines.checks().size()) return;
    const auto before = moment();
    _lines.setChecked(line, !_lines.isChecked(line));
    _history.record(before, moment(), Kind::Other);
    viewport()->update();
    _gutter->announceCheck(line);
    postCheckUpdated();
}

// ---- changes

ChecklistLines::Outcome ZNChecklistTextView::replaceCharactersInRange(Range range, const QString& replacement) {
    return change(range, ChecklistLines::withPlainLineEnds(replacement), Kind::Other);
}

ChecklistLines::Outcome ZNChecklistTextView::change(Range range, const QString& replacement, Kind kind) {
    const auto before = moment();
    const auto outcome = _lines.replace(range, replacement);
    showText();
    if (outcome.change == ChecklistLines::Change::Refused) return outcome;
    setSelection(outcome.cursor, outcome.cursor);
    const bool isInPlace = outcome.change == ChecklistLines::Change::Allowed;
    _history.record(before, moment(), kind, isInPlace ? std::optional(range.location) : std::nullopt);
    if (outcome.checksChanged) postCheckUpdated();
    postTextUpdated();
    return outcome;
}

void ZNChecklistTextView::undo() {
    if (!isReadOnly() && canUndo()) travel(_history.undo(moment()));
}

void ZNChecklistTextView::redo() {
    if (!isReadOnly() && canRedo()) travel(_history.redo(moment()));
}

void ZNChecklistTextView::travel(const ChecklistHistory::Moment& moment) {
    _lines.restore(moment.text, moment.checks);
    showText();
    setSelection(moment.anchor, moment.cursor);
    postCheckUpdated();
    postTextUpdated();
}

ChecklistHistory::Moment ZNChecklistTextView::moment() const {
    const QTextCursor cursor = textCursor();
    return {_lines.text(), _lines.checks(), cursor.anchor(), cursor.position()};
}

// ---- the document follows the lines

void ZNChecklistTextView::showText() {
    const QScopedValueRollback<bool> showing(_isShowingText, true);
    const QString& wanted = _lines.text();
    const auto shorter = std::min(wanted.size(), _shown.size());
    auto prefix = std::mismatch(wanted.cbegin(), wanted.cbegin() + shorter, _shown.cbegin()).first - wanted.cbegin();
    if (prefix > 0 && wanted[prefix - 1].isHighSurrogate()) --prefix;
    qsizetype suffix = 0;
    while (suffix < shorter - prefix && wanted[wanted.size() - 1 - suffix] == _shown[_shown.size() - 1 - suffix])
        ++suffix;
    if (suffix > 0 && wanted[wanted.size() - suffix].isLowSurrogate()) --suffix;

    const auto end = _shown.size() - suffix;
    if (prefix < end || prefix < wanted.size() - suffix) {
        QTextCursor cursor(document());
        cursor.beginEditBlock();
        cursor.setPosition(static_cast<int>(prefix));
        cursor.setPosition(static_cast<int>(end), QTextCursor::KeepAnchor);
        cursor.insertText(wanted.mid(prefix, wanted.size() - suffix - prefix));
        cursor.endEditBlock();
    }
    _shown = wanted;
    viewport()->update();
    _gutter->update();
}

void ZNChecklistTextView::setSelection(qsizetype anchor, qsizetype position) {
    QTextCursor cursor = textCursor();
    cursor.setPosition(static_cast<int>(anchor));
    cursor.setPosition(static_cast<int>(position), QTextCursor::KeepAnchor);
    setTextCursor(cursor);
    emit cursorDidMove(cursorRect().translated(viewport()->pos()));
}

// Something that knows the document only, such as assistive technology, or a drag that took its text along, has changed
// it. The rule is asked after the fact, and the document then shows what the rule says.
void ZNChecklistTextView::takeBackForeignChange() {
    if (_isShowingText) return;
    QString now = document()->toRawText();
    now.replace(QChar::ParagraphSeparator, u'\n');
    if (now == _shown) return;
    const QString before = std::exchange(_shown, now);
    const auto shorter = std::min(now.size(), before.size());
    const auto prefix = std::mismatch(now.cbegin(), now.cbegin() + shorter, before.cbegin()).first - now.cbegin();
    qsizetype suffix = 0;
    while (suffix < shorter - prefix && now[now.size() - 1 - suffix] == before[before.size() - 1 - suffix])
        ++suffix;
    const Range range{prefix, before.size() - suffix - prefix};
    const QString come = now.mid(prefix, now.size() - suffix - prefix);
    if (isReadOnly()) return showText();
    change(range, limited(ChecklistLines::withPlainLineEnds(come), range.location), Kind::Other);
}

void ZNChecklistTextView::postTextUpdated() {
    _context.notifications.postNotificationName(ZNChecklistTextViewUpdated, this);
    emit textUpdated();
}

void ZNChecklistTextView::postCheckUpdated() {
    _gutter->announceButtons();
    _context.notifications.postNotificationName(ZNChecklistCheckUpdated, this);
    emit checkUpdated();
}

// ---- measures

void ZNChecklistTextView::onSetFont(const QFont& font) {
    setFont(font);
    document()->setDefaultFont(font);
}

double ZNChecklistTextView::singleLineHeight() const {
    return _layout->singleLineHeight();
}

int ZNChecklistTextView::contentHeight() const {
    return static_cast<int>(_layout->documentSize().height());
}

int ZNChecklistTextView::heightOfTextWithSize(QSizeF size) const {
    const double width = std::max(1.0, size.width() - textInset);
    if (_lines.text().isEmpty())
        return static_cast<int>(_layout->heightOfText(text("Card_Checklist_Placeholder"), width));
    if (width == viewport()->width()) return contentHeight();
    return static_cast<int>(_layout->heightOfText(_lines.text(), width));
}

QSize ZNChecklistTextView::sizeHint() const {
    return {QTextEdit::sizeHint().width(), contentHeight()};
}

QSize ZNChecklistTextView::minimumSizeHint() const {
    return {2 * gutterWidth, contentHeight()};
}

void ZNChecklistTextView::layOutGutter() {
    const bool isMirrored = layoutDirection() == Qt::RightToLeft;
    setViewportMargins(isMirrored ? 0 : gutterWidth, 0, isMirrored ? gutterWidth : 0, 0);
    _layout->setLeftToRight(!isMirrored);
    _gutter->setGeometry(isMirrored ? width() - gutterWidth : 0, 0, gutterWidth, height());
    _gutter->update();
}

void ZNChecklistTextView::setReadOnly(bool readOnly) {
    QTextEdit::setReadOnly(readOnly);
    if (readOnly) setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
}

void ZNChecklistTextView::paintEvent(QPaintEvent* event) {
    QTextEdit::paintEvent(event);
    if (!_lines.text().isEmpty() || !document()->firstBlock().layout()->preeditAreaText().isEmpty()) return;
    QPainter painter(viewport());
    painter.setFont(document()->defaultFont());
    painter.setPen(QColor::fromRgba(tokens::cardPlaceholder));
    const QRectF row(0, ChecklistLayout::topMargin, viewport()->width(), singleLineHeight());
    const int side = layoutDirection() == Qt::RightToLeft ? Qt::AlignRight : Qt::AlignLeft;
    painter.drawText(row, side | Qt::AlignAbsolute | Qt::AlignVCenter, text("Card_Checklist_Placeholder"));
}

void ZNChecklistTextView::resizeEvent(QResizeEvent* event) {
    QTextEdit::resizeEvent(event);
    const int x = layoutDirection() == Qt::RightToLeft ? width() - gutterWidth : 0;
    _gutter->setGeometry(x, 0, gutterWidth, height());
}

void ZNChecklistTextView::changeEvent(QEvent* event) {
    QTextEdit::changeEvent(event);
    if (event->type() == QEvent::LayoutDirectionChange && _gutter) layOutGutter();
}

void ZNChecklistTextView::scrollContentsBy(int dx, int dy) {
    QTextEdit::scrollContentsBy(dx, dy);
    _gutter->update();
}

}  // namespace zun
