#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QDropEvent>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QTextBlock>
#include <QWheelEvent>

#include "ZunDataModel/TextLimits.h"
#include "checklist/ChecklistLayout.h"
#include "checklist/ZNChecklistTextView.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

bool togglesCheck(const QKeyEvent& event) {
    const bool isKey = event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter || event.key() == Qt::Key_Space;
    return isKey && (event.modifiers() & ~Qt::KeypadModifier) == Qt::ControlModifier;
}

bool isTyped(const QKeyEvent& event) {
    const QString text = event.text();
    if (text.isEmpty()) return false;
    const QChar first = text.front();
    // Joiners, which some scripts need.
    if (first.category() == QChar::Other_Format) return true;
    const auto held = event.modifiers();
    if (held == Qt::ControlModifier || held == (Qt::ShiftModifier | Qt::ControlModifier)) return false;
    return first.isPrint() || first.category() == QChar::Other_PrivateUse || first.isSurrogate();
}

// What the backspace key takes: an emoji as a whole, otherwise one character, so that an accent can be taken alone.
int startOfPrevious(const QTextCursor& cursor) {
    QTextCursor cluster = cursor;
    cluster.movePosition(QTextCursor::PreviousCharacter, QTextCursor::KeepAnchor);
    const QString taken = cluster.selectedText();
    if (taken.size() < 2 || !emojiRuns(taken).isEmpty()) return cluster.position();
    const bool isPair = taken.back().isLowSurrogate() && taken[taken.size() - 2].isHighSurrogate();
    return cursor.position() - (isPair ? 2 : 1);
}

}  // namespace

ChecklistLines::Range ZNChecklistTextView::selectedRange() const {
    const QTextCursor cursor = textCursor();
    return {cursor.selectionStart(), cursor.selectionEnd() - cursor.selectionStart()};
}

void ZNChecklistTextView::removeSelection(Kind kind) {
    if (textCursor().hasSelection()) change(selectedRange(), {}, kind);
}

// The stored list has a marker before each item.
QString ZNChecklistTextView::withinRoom(const QString& text) const {
    constexpr qsizetype mostBytesOfUnit = 3;
    constexpr qsizetype bytesOfMarker = 3;
    constexpr auto all = static_cast<qsizetype>(longestReminderText);
    const auto bytes = [](QStringView part) { return part.toUtf8().size() + (part.count(u'\n') + 1) * bytesOfMarker; };
    if ((_lines.text().size() + text.size() + 2) * (mostBytesOfUnit + bytesOfMarker) <= all) return text;
    const qsizetype room = std::max<qsizetype>(all - bytes(_lines.text()) - 1, 0);
    if (bytes(text) <= room) return text;
    qsizetype fits = 0;
    for (qsizetype step = text.size(); step > 0; step /= 2) {
        while (fits + step <= text.size() && bytes(QStringView(text).first(fits + step)) <= room)
            fits += step;
    }
    if (fits > 0 && text[fits - 1].isHighSurrogate()) --fits;
    return text.first(fits);
}

QString ZNChecklistTextView::limited(const QString& whole, qsizetype location) const {
    const QString text = withinRoom(whole);
    const auto cut = [](QStringView item, qsizetype limit) {
        if (item.size() <= limit) return item;
        limit = std::max<qsizetype>(limit, 0);
        return item.first(limit > 0 && item[limit - 1].isHighSurrogate() ? limit - 1 : limit);
    };
    if (!text.contains(u'\n')) {
        const QTextBlock block = document()->findBlock(static_cast<int>(location));
        return cut(text, itemLengthLimit - std::min<qsizetype>(itemLengthLimit, block.length() - 1)).toString();
    }
    if (text.size() <= itemLengthLimit) return text;
    QString shortened;
    shortened.reserve(text.size());
    for (const QStringView item : QStringView(text).split(u'\n')) {
        if (!shortened.isEmpty()) shortened += u'\n';
        shortened += cut(item, itemLengthLimit);
    }
    return shortened;
}

// ---- keys

bool ZNChecklistTextView::event(QEvent* event) {
    if (event->type() == QEvent::ShortcutOverride) {
        auto& key = static_cast<QKeyEvent&>(*event);
        // The window's undo is for reminders.
        const bool isOwn = key.matches(QKeySequence::Undo) || key.matches(QKeySequence::Redo) || togglesCheck(key);
        if (isOwn) {
            event->accept();
            return true;
        }
    }
    return QTextEdit::event(event);
}

void ZNChecklistTextView::keyPressEvent(QKeyEvent* event) {
    if (togglesCheck(*event)) return toggleCheckButton(textCursor().blockNumber());
    if (!isReadOnly() && editByKey(*event)) {
        event->accept();
        return;
    }
    _history.closeStep();
    QTextEdit::keyPressEvent(event);
}

bool ZNChecklistTextView::editByKey(const QKeyEvent& event) {
    const bool isModifier = event.key() >= Qt::Key_Shift && event.key() <= Qt::Key_ScrollLock;
    if (isModifier || event.key() == Qt::Key_AltGr) return false;
    endComposition();
    if (event.matches(QKeySequence::Undo)) {
        undo();
    } else if (event.matches(QKeySequence::Redo)) {
        redo();
    } else if (event.matches(QKeySequence::Cut)) {
        cut();
    } else if (event.matches(QKeySequence::Paste)) {
        paste();
    } else if (event.matches(QKeySequence::InsertParagraphSeparator) ||
               event.matches(QKeySequence::InsertLineSeparator)) {
        insertNewline();
    } else if (deleteByKey(event)) {
        return true;
    } else if (isTyped(event)) {
        const Range range = selectedRange();
        change(range, limited(ChecklistLines::withPlainLineEnds(event.text()), range.location), Kind::Typing);
    } else {
        return false;
    }
    return true;
}

bool ZNChecklistTextView::deleteByKey(const QKeyEvent& event) {
    QTextCursor cursor = textCursor();
    const bool isBackspace = event.key() == Qt::Key_Backspace && !(event.modifiers() & ~Qt::ShiftModifier);
    if (cursor.hasSelection()) cursor.setPosition(cursor.position());
    if (isBackspace) {
        cursor.setPosition(startOfPrevious(cursor), QTextCursor::KeepAnchor);
    } else if (event.matches(QKeySequence::Delete)) {
        cursor.movePosition(QTextCursor::NextCharacter, QTextCursor::KeepAnchor);
    } else if (event.matches(QKeySequence::DeleteStartOfWord)) {
        cursor.movePosition(QTextCursor::PreviousWord, QTextCursor::KeepAnchor);
    } else if (event.matches(QKeySequence::DeleteEndOfWord)) {
        cursor.movePosition(QTextCursor::NextWord, QTextCursor::KeepAnchor);
    } else if (event.matches(QKeySequence::DeleteEndOfLine)) {
        const bool atEnd = cursor.atBlockEnd();
        cursor.movePosition(atEnd ? QTextCursor::NextCharacter : QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
    } else if (event.matches(QKeySequence::DeleteCompleteLine)) {
        cursor.movePosition(QTextCursor::StartOfBlock);
        cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
        cursor.movePosition(QTextCursor::NextCharacter, QTextCursor::KeepAnchor);
    } else {
        return false;
    }
    if (textCursor().hasSelection()) {
        removeSelection(Kind::Deleting);
    } else if (cursor.hasSelection()) {
        change({cursor.selectionStart(), cursor.selectionEnd() - cursor.selectionStart()}, {}, Kind::Deleting);
    }
    return true;
}

void ZNChecklistTextView::insertNewline() {
    if (_znDelegate && !_znDelegate->checklistCommandShouldContinueOnPressReturn(*this)) return;
    change(selectedRange(), QStringLiteral("\n"), Kind::Other);
}

// ---- input methods

void ZNChecklistTextView::inputMethodEvent(QInputMethodEvent* event) {
    if (isReadOnly()) return event->ignore();
    const bool commits = !event->commitString().isEmpty() || event->replacementLength() > 0;
    if (commits || !event->preeditString().isEmpty()) removeSelection();
    if (commits) {
        // What was composed goes before what it became comes.
        endComposition();
        const qsizetype cursor = textCursor().position();
        const qsizetype start = std::clamp<qsizetype>(cursor + event->replacementStart(), 0, _lines.text().size());
        const QString typed = ChecklistLines::withPlainLineEnds(event->commitString());
        change({start, event->replacementLength()}, limited(typed, start), Kind::Typing);
    }
    QInputMethodEvent composed(event->preeditString(), event->attributes());
    QTextEdit::inputMethodEvent(&composed);
    event->accept();
}

// Positions do not count what is being composed, so it must not be there when they are worked out.
void ZNChecklistTextView::endComposition() {
    if (textCursor().block().layout()->preeditAreaText().isEmpty()) return;
    QInputMethodEvent nothing;
    QTextEdit::inputMethodEvent(&nothing);
}

// ---- clipboard and drops

bool ZNChecklistTextView::canInsertFromMimeData(const QMimeData* source) const {
    return source->hasText() && !source->text().isEmpty();
}

QMimeData* ZNChecklistTextView::createMimeDataFromSelection() const {
    const Range range = selectedRange();
    auto* copied = new QMimeData;
    copied->setText(_lines.text().mid(range.location, range.length));
    return copied;
}

void ZNChecklistTextView::insertFromMimeData(const QMimeData* source) {
    if (isReadOnly() || !canInsertFromMimeData(source)) return;
    endComposition();
    const Range range = selectedRange();
    change(range, limited(ChecklistLines::withPlainLineEnds(source->text()), range.location), Kind::Other);
}

void ZNChecklistTextView::cut() {
    if (isReadOnly() || !textCursor().hasSelection()) return;
    copy();
    removeSelection();
}

void ZNChecklistTextView::paste() {
    if (const auto* held = QApplication::clipboard()->mimeData()) insertFromMimeData(held);
}

void ZNChecklistTextView::dropEvent(QDropEvent* event) {
    // Ends what the base shows while something is dragged over it.
    QDragLeaveEvent leave;
    QTextEdit::dragLeaveEvent(&leave);
    if (isReadOnly() || !canInsertFromMimeData(event->mimeData())) return event->ignore();
    endComposition();
    const QString text = ChecklistLines::withPlainLineEnds(event->mimeData()->text());
    qsizetype position = cursorForPosition(event->position().toPoint()).position();
    const bool isOwn = event->source() == this || event->source() == viewport();
    if (isOwn && event->dropAction() == Qt::MoveAction) {
        const Range moved = selectedRange();
        if (position >= moved.location && position <= moved.location + moved.length) return event->ignore();
        removeSelection();
        if (position > moved.location) position -= moved.length;
    }
    change({position, 0}, limited(text, position), Kind::Other);
    event->acceptProposedAction();
    setFocus(Qt::MouseFocusReason);
}

void ZNChecklistTextView::contextMenuEvent(QContextMenuEvent* event) {
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const auto add = [&](std::string_view key, bool isEnabled, auto action) {
        auto* item = menu->addAction(text(key));
        item->setEnabled(isEnabled);
        connect(item, &QAction::triggered, this, action);
    };
    const bool isEditable = !isReadOnly();
    const bool hasSelection = textCursor().hasSelection();
    add("Menu_Undo_Title", isEditable && canUndo(), [this] { undo(); });
    add("Menu_Redo_Title", isEditable && canRedo(), [this] { redo(); });
    menu->addSeparator();
    add("Text_Cut_Action", isEditable && hasSelection, [this] { cut(); });
    add("Copy_Action", hasSelection, [this] { copy(); });
    add("Text_Paste_Action", isEditable && canPaste(), [this] { paste(); });
    menu->addSeparator();
    add("Text_Select_All_Action", !_lines.text().isEmpty(), [this] { selectAll(); });
    menu->popup(event->globalPos());
    event->accept();
}

void ZNChecklistTextView::wheelEvent(QWheelEvent* event) {
    event->ignore();
}

}  // namespace zun
