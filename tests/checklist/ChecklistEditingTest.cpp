#include <gtest/gtest.h>

#include <QAbstractTextDocumentLayout>
#include <QAccessible>
#include <QClipboard>
#include <QDropEvent>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QTextBlock>
#include <cstdlib>
#include <random>
#include <set>

#include "ZunDataModel/TextLimits.h"
#include "checklist/ChecklistGutter.h"
#include "checklist/ChecklistWorld.h"
#include "core/NotificationNames.h"
#include "support/QtApplication.h"
#include "text/ChecklistText.h"

namespace zun {
namespace {

[[maybe_unused]] const auto* application = testing::AddGlobalTestEnvironment(new OneQtApplication);

using Range = ChecklistLines::Range;
using State = std::pair<QString, QList<bool>>;

class ChecklistEditingTest : public testing::Test, public ChecklistWorld {
  protected:
    ChecklistEditingTest() {
        window.resize(400, 400);
        view.resize(360, 400);
        QObject::connect(&view, &ZNChecklistTextView::heightDidChange, &view,
                         [this](int height) { view.resize(view.width(), height); });
    }

    void press(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier, const QString& text = {}) {
        QKeyEvent event(QEvent::KeyPress, key, modifiers, text);
        QCoreApplication::sendEvent(&view, &event);
    }
    void type(const QString& text) {
        for (const QChar unit : text)
            unit == u'\n' ? press(Qt::Key_Return) : press(Qt::Key_unknown, Qt::NoModifier, QString(unit));
    }
    void select(qsizetype anchor, qsizetype cursor) {
        QTextCursor selection = view.textCursor();
        selection.setPosition(static_cast<int>(anchor));
        selection.setPosition(static_cast<int>(cursor), QTextCursor::KeepAnchor);
        view.setTextCursor(selection);
    }
    void paste(const QString& text) {
        QGuiApplication::clipboard()->setText(text);
        press(Qt::Key_V, Qt::ControlModifier);
    }
    void compose(const QString& preedit, const QString& commit, int start = 0, int length = 0) {
        QInputMethodEvent event(preedit, {});
        event.setCommitString(commit, start, length);
        QCoreApplication::sendEvent(&view, &event);
    }
    void drop(const QString& text, QPoint place) {
        QMimeData data;
        data.setText(text);
        QDragEnterEvent enter(place, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(view.viewport(), &enter);
        QDropEvent event(place, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(view.viewport(), &event);
    }
    void click(int line) {
        auto& gutter = *view.findChild<ChecklistGutter*>();
        const QPointF place = gutter.buttonRect(line).center();
        for (const auto kind : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
            QMouseEvent event(kind, place, gutter.mapToGlobal(place), Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
            QCoreApplication::sendEvent(&gutter, &event);
        }
    }
    [[nodiscard]] QString visibleText() const {
        return view.document()->toRawText().replace(QChar::ParagraphSeparator, u'\n');
    }

    ZNChecklistTextView view{context, ZNChecklistTextView::ReadOnlyMode::No, &window};
};

// Drives the view by events, and the rule by ranges beside it.
class RandomEdits {
  public:
    explicit RandomEdits(std::uint32_t seed) : _random(seed) {}
    [[nodiscard]] int below(qsizetype limit) {
        return static_cast<int>(_random() % static_cast<std::uint32_t>(std::max<qsizetype>(limit, 1)));
    }
    [[nodiscard]] QString piece() {
        static const QStringList pieces{"a", "bc", " ", "é", "😀", "א", "\u00a0", "-", "日本", "x y"};
        return pieces[below(pieces.size())];
    }
    [[nodiscard]] QString lines() {
        QString all;
        for (int line = below(4); line >= 0; --line)
            all += (below(5) == 0 ? "- [x] " : "") + piece() + (below(3) == 0 ? "\r\n" : "\n");
        return all;
    }

  private:
    std::mt19937 _random;
};

class RandomEditsTest : public ChecklistEditingTest {
  protected:
    void expectAgreement(int step, int operation) {
        const ChecklistLines& lines = view.lines();
        const bool agrees = visibleText() == model.text() && lines.text() == model.text() &&
                            lines.checks() == model.checks() && lines.checks().size() == model.text().count(u'\n') + 1;
        ASSERT_TRUE(agrees) << "step " << step << ", operation " << operation
                            << "\nmodel: " << model.text().toStdString() << "\nshown: " << visibleText().toStdString();
        const std::string stored = view.formattedChecklist();
        const auto items = checklistItems(stored);
        qsizetype withText = 0;
        for (const QString& line : lines.text().split(u'\n'))
            withText += line.isEmpty() ? 0 : 1;
        ASSERT_EQ(static_cast<qsizetype>(items.size()), withText) << "step " << step << stored;
        ASSERT_FALSE(stored.ends_with('\n'));
        states.insert({lines.text(), lines.checks()});
    }
    void change(Range range, const QString& text) { model.replace(range, ChecklistLines::withPlainLineEnds(text)); }
    [[nodiscard]] Range selected() const {
        const QTextCursor cursor = view.textCursor();
        return {cursor.selectionStart(), cursor.selectionEnd() - cursor.selectionStart()};
    }
    // Between two characters of the text.
    [[nodiscard]] qsizetype place() {
        const QString& text = model.text();
        const qsizetype at = random.below(text.size() + 1);
        return at > 0 && at < text.size() && text[at].isLowSurrogate() ? at - 1 : at;
    }
    void remove(int key, Qt::KeyboardModifiers modifiers, QTextCursor::MoveOperation moved) {
        QTextCursor cursor = view.textCursor();
        if (!cursor.hasSelection()) cursor.movePosition(moved, QTextCursor::KeepAnchor);
        const Range range{cursor.selectionStart(), cursor.selectionEnd() - cursor.selectionStart()};
        if (range.length > 0) change(range, {});
        press(key, modifiers);
    }
    void travel(int key) {
        press(key, key == Qt::Key_Z ? Qt::ControlModifier : Qt::ControlModifier | Qt::ShiftModifier);
        const State now{view.lines().text(), view.lines().checks()};
        ASSERT_TRUE(states.contains(now)) << "undo made up " << now.first.toStdString();
        model.restore(now.first, now.second);
    }
    void step(int operation);

    ChecklistLines model;
    std::set<State> states;
    RandomEdits random{20260114};
};

void RandomEditsTest::step(int operation) {
    if (operation != 11) compose({}, {});
    switch (operation) {
        case 0:
            return select(place(), place());
        case 1: {
            const qsizetype at = place();
            return select(at, at);
        }
        case 2:
            return remove(Qt::Key_Backspace, Qt::NoModifier, QTextCursor::PreviousCharacter);
        case 3:
            return remove(Qt::Key_Delete, Qt::NoModifier, QTextCursor::NextCharacter);
        case 4:
            return remove(Qt::Key_Backspace, Qt::ControlModifier, QTextCursor::PreviousWord);
        case 5:
            return remove(Qt::Key_Delete, Qt::ControlModifier, QTextCursor::NextWord);
        case 6:
            change(selected(), "\n");
            return press(Qt::Key_Return);
        case 7: {
            const QString pasted = random.below(2) == 0 ? random.piece() : random.lines();
            change(selected(), pasted);
            return paste(pasted);
        }
        case 8: {
            if (selected().length > 0) change(selected(), {});
            return press(Qt::Key_X, Qt::ControlModifier);
        }
        case 9: {
            const QString dropped = random.below(2) == 0 ? random.piece() : random.lines();
            const QPoint place(random.below(view.viewport()->width()), random.below(view.height()));
            change({view.cursorForPosition(place).position(), 0}, dropped);
            return drop(dropped, place);
        }
        case 10: {
            if (selected().length > 0) change(selected(), {});
            return compose(random.piece(), {});
        }
        case 11: {
            if (selected().length > 0) change(selected(), {});
            states.insert({model.text(), model.checks()});
            QTextCursor replaced = view.textCursor();
            replaced.setPosition(replaced.selectionStart());
            replaced.movePosition(QTextCursor::PreviousCharacter, QTextCursor::KeepAnchor, random.below(3));
            const int length = replaced.anchor() - replaced.position();
            const QString committed = random.piece();
            change({replaced.position(), length}, committed);
            return compose({}, committed, -length, length);
        }
        case 12:
            return travel(Qt::Key_Z);
        case 13:
            return travel(random.below(2) == 0 ? Qt::Key_Z : -Qt::Key_Z);
        case 14: {
            const int line = random.below(model.checks().size());
            model.setChecked(line, !model.isChecked(line));
            return click(line);
        }
        default: {
            const QString typed = random.piece();
            change(selected(), typed);
            return press(Qt::Key_unknown, Qt::NoModifier, typed);
        }
    }
}

TEST_F(RandomEditsTest, TheViewDoesWhatTheRuleSays) {
    const char* wanted = std::getenv("ZUN_CHECKLIST_EDITS");
    const int edits = wanted ? std::atoi(wanted) : 20'000;
    for (int at = 0; at < edits && !HasFatalFailure(); ++at) {
        if (model.text().size() > 300) {
            model.setChecklist("[x]one\n[ ]two");
            view.setChecklist("[x]one\n[ ]two");
            states.clear();
        }
        const int operation = random.below(22);
        step(operation);
        if (!HasFatalFailure()) expectAgreement(at, operation);
    }
}

TEST_F(ChecklistEditingTest, UndoAndRedoRestoreTextChecksAndCursorTogether) {
    type("milk and\nbread");
    press(Qt::Key_Return, Qt::ControlModifier);
    EXPECT_EQ(view.formattedChecklist(), "[ ]milk and\n[x]bread");
    select(2, 10);
    press(Qt::Key_Delete);
    EXPECT_EQ(view.formattedChecklist(), "[ ]miread");
    const char* const back[] = {
        "[ ]milk and\n[x]bread", "[ ]milk and\n[ ]bread", "[ ]milk and", "[ ]milk and", "[ ]milk ", ""};
    for (const char* each : back) {
        view.undo();
        EXPECT_EQ(view.formattedChecklist(), each);
    }
    EXPECT_FALSE(view.canUndo());
    while (view.canRedo())
        press(Qt::Key_Y, Qt::ControlModifier);
    EXPECT_EQ(view.formattedChecklist(), "[ ]miread");
    view.undo();
    EXPECT_EQ(view.textCursor().selectedText().size(), 8);
    type("!");
    EXPECT_FALSE(view.canRedo());
    // The keys are the view's own while it has the focus, not the window's.
    for (const int key : {Qt::Key_Z, Qt::Key_Return}) {
        QKeyEvent event(QEvent::ShortcutOverride, key, Qt::ControlModifier);
        event.ignore();
        QCoreApplication::sendEvent(&view, &event);
        EXPECT_TRUE(event.isAccepted());
    }
}

TEST_F(ChecklistEditingTest, WhatPassesByTheRuleIsAskedAfterwards) {
    view.setChecklist("[ ]one\n[x]two\n[ ]three");
    auto* spoken = QAccessible::queryAccessibleInterface(&view);
    ASSERT_NE(spoken->editableTextInterface(), nullptr);
    spoken->editableTextInterface()->deleteText(3, 4);
    EXPECT_EQ(view.formattedChecklist(), "[ ]onetwo\n[ ]three");
    spoken->editableTextInterface()->insertText(0, "\n");
    EXPECT_EQ(view.formattedChecklist(), "[ ]onetwo\n[ ]three");
    EXPECT_EQ(visibleText(), "onetwo\nthree");
    spoken->editableTextInterface()->insertText(6, "\n- [x] four\nfive");
    EXPECT_EQ(view.formattedChecklist(), "[ ]onetwo\n[x]four\n[ ]five\n[ ]three");
    EXPECT_EQ(visibleText(), "onetwo\nfour\nfive\nthree");
    view.undo();
    EXPECT_EQ(visibleText(), "onetwo\nthree");
    view.setReadOnly(true);
    type("x");
    paste("y");
    spoken->editableTextInterface()->insertText(0, "z");
    EXPECT_EQ(visibleText(), "onetwo\nthree");
    press(Qt::Key_Space, Qt::ControlModifier);
    EXPECT_EQ(view.formattedChecklist(), "[x]onetwo\n[ ]three");
}

TEST_F(ChecklistEditingTest, TellsItsOwnerAndAsksItsDelegate) {
    struct Refusing final : ZNChecklistTextViewDelegate {
        bool checklistCommandShouldContinueOnPressReturn(ZNChecklistTextView&) override { return false; }
    } refusing;
    std::string log;
    const auto note = [&](char letter) {
        return [&log, letter, this](const NSNotification& posted) {
            log += std::any_cast<ZNChecklistTextView*>(posted.object) == &view ? letter : '?';
        };
    };
    const auto textUpdates = notifications.addObserver(ZNChecklistTextViewUpdated, note('t'));
    const auto checkUpdates = notifications.addObserver(ZNChecklistCheckUpdated, note('c'));
    const auto logged = [&] { return std::exchange(log, {}); };
    view.setChecklist("");
    EXPECT_EQ(logged(), "");
    view.setChecklist("[ ]one");
    EXPECT_EQ(logged(), "c");
    type("x");
    EXPECT_EQ(logged(), "t");
    click(0);
    EXPECT_EQ(logged(), "c");
    press(Qt::Key_End);
    type("\n");
    EXPECT_EQ(logged(), "ct");
    type("\n");
    EXPECT_EQ(logged(), "") << "a line break that was refused";
    view.undo();
    EXPECT_EQ(logged(), "ct");
    view.setZnDelegate(&refusing);
    type("\n");
    EXPECT_EQ(logged(), "");
    EXPECT_EQ(view.formattedChecklistStatusString(), "0 items left");
    view.removeCompletedItemsWithCompletion([&] { log += '!'; });
    EXPECT_EQ(logged(), "c!");
    EXPECT_EQ(view.formattedChecklistStatusString(), "1 item left");
}

TEST_F(ChecklistEditingTest, AssistiveTechnologyFindsEachButton) {
    view.setChecklist("[ ]one\n[x]two\n[ ]");
    auto* gutter = QAccessible::queryAccessibleInterface(view.findChild<ChecklistGutter*>());
    ASSERT_EQ(gutter->childCount(), 3);
    auto* two = gutter->child(1);
    EXPECT_EQ(two->text(QAccessible::Name), "two");
    EXPECT_EQ(gutter->child(2)->text(QAccessible::Name), "Checklist");
    EXPECT_EQ(two->role(), QAccessible::CheckBox);
    EXPECT_TRUE(two->state().checkable && two->state().checked);
    EXPECT_EQ(gutter->indexOfChild(two), 1);
    two->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
    EXPECT_FALSE(two->state().checked);
    EXPECT_EQ(view.formattedChecklist(), "[ ]one\n[ ]two");
    view.setChecklist("[ ]one");
    EXPECT_FALSE(two->isValid());
    EXPECT_EQ(two->text(QAccessible::Name), "");
}

TEST_F(ChecklistEditingTest, ButtonsStandBesideTheirLinesAndOnTheOtherSideWhenMirrored) {
    view.setChecklist("[ ]one\n[ ]" + std::string(200, 'w') + "\n[ ]three");
    const auto& gutter = *view.findChild<ChecklistGutter*>();
    const auto topOfLine = [this](int line) {
        const QTextBlock block = view.document()->findBlockByNumber(line);
        return view.document()->documentLayout()->blockBoundingRect(block).top();
    };
    for (int line = 0; line < 3; ++line)
        EXPECT_EQ(gutter.buttonRect(line).top() + 2, topOfLine(line));
    EXPECT_GT(topOfLine(2) - topOfLine(1), 2 * topOfLine(1)) << "the long item wraps";
    EXPECT_EQ(gutter.geometry().left(), 0);
    view.setLayoutDirection(Qt::RightToLeft);
    EXPECT_EQ(gutter.geometry().right(), view.rect().right());
    EXPECT_EQ(view.viewport()->geometry().left(), 0);
    // The width that is taken off is the stated one, whatever the view's own is.
    EXPECT_EQ(view.heightOfTextWithSize(QSizeF(view.viewport()->width() + 98, 1)), view.contentHeight());
    EXPECT_LT(view.heightOfTextWithSize(QSizeF(1000, 1)), view.contentHeight());
}

TEST_F(ChecklistEditingTest, AMegabyteDoesNotHang) {
    const struct {
        const char* what;
        QString text;
        qsizetype lines;
    } pastes[] = {
        {"sentences", QString("Buy some milk and bread at the shop, and butter\n").repeated(19'000), 19'000},
        {"single letters", QString("a\n").repeated(190'000), 190'000},
        {"one line", QString("word ").repeated(200'000), 1},
        {"one word", QString(1'000'000, u'w'), 1},
    };
    for (const auto& each : pastes) {
        SCOPED_TRACE(each.what);
        view.setChecklist("");
        paste(each.text);
        EXPECT_EQ(view.lines().checks().size(), each.lines);
        EXPECT_LE(visibleText().section(u'\n', 0, 0).size(), ZNChecklistTextView::itemLengthLimit);
        window.grab();
        type("x");
        press(Qt::Key_Backspace);
        view.toggleCheckButton(0);
        window.grab();
        view.undo();
        view.undo();
    }
    view.setChecklist("");
    paste(QString("\u00e9\U0001F34E\n").repeated(150'000));
    EXPECT_LE(view.formattedChecklist().size(), longestReminderText);
    EXPECT_GT(view.formattedChecklist().size(), longestReminderText - 20);
    const std::string stored = "[x]" + std::string(1'000'000, 'w');
    view.setChecklist(stored);
    EXPECT_EQ(view.formattedChecklist(), stored) << "what came long is kept whole";
}

}  // namespace
}  // namespace zun
