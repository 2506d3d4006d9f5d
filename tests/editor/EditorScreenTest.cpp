#include <QClipboard>
#include <QElapsedTimer>
#include <QMimeData>

#include "editor/EditorWorld.h"
#include "editor/SuggestionChip.h"
#include "editor/ZNEditSegmentControl.h"
#include "editor/ZNSwitch.h"
#include "support/QtApplication.h"

namespace zun {
namespace {

[[maybe_unused]] const auto* const application = testing::AddGlobalTestEnvironment(new OneQtApplication);

class EditorScreenTest : public EditorWorld {};

TEST_F(EditorScreenTest, ADateInTheTitleIsOfferedAndNeverTakenInSilence) {
    open();
    type("Call mum tomorrow at 9");
    ASSERT_FALSE(editor->suggestionChip().isHidden());
    EXPECT_FALSE(editor->reminder()->start_date());
    press(Qt::Key_Escape);
    EXPECT_TRUE(editor->suggestionChip().isHidden());
    type("!");  // the same phrase stays dropped
    EXPECT_TRUE(editor->suggestionChip().isHidden());

    open();
    type("Call mum tomorrow at 9");
    press(Qt::Key_Return, Qt::ControlModifier);
    EXPECT_EQ(editor->reminderTitle().string(), "Call mum");
    EXPECT_EQ(editor->reminder()->start_date(), OptionalDate(at("2026-01-15T09:00:00Z")));
    EXPECT_TRUE(editor->dateSection().dateToggle().isChecked());
    press(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(editor->reminderTitle().string(), "Call mum tomorrow at 9");
    EXPECT_FALSE(editor->reminder()->start_date());
    EXPECT_FALSE(editor->dateSection().dateToggle().isChecked());
}

TEST_F(EditorScreenTest, KeysReachEveryControlInOrder) {
    auto record = dated("a", "2026-01-20T09:00:00Z");
    record.repeat_type = RepeatType::daily;
    record.end_date = at("2026-03-01T09:00:00Z");
    open(store(record)->copy());
    auto& section = editor->dateSection();
    const std::initializer_list<QWidget*> order = {&editor->reminderTitle(),
                                                   &section.dateToggle(),
                                                   &section.datePicker(),
                                                   &section.timePicker(),
                                                   &section.setDateButton(),
                                                   &section.repeatSelector(),
                                                   &section.setRepeatButton(),
                                                   &section.endDatePicker(),
                                                   &section.clearButton(),
                                                   &editor->reminderNotes(),
                                                   &editor->segmentControl().selectedButton(),
                                                   &editor->leftButton(),
                                                   &editor->toggleTypeButton(),
                                                   &editor->rightButton(),
                                                   &editor->reminderTitle()};
    for (QWidget* each : order) {
        press(Qt::Key_Tab);
        EXPECT_EQ(window.focusWidget(), each) << each->accessibleName().toStdString();
        EXPECT_FALSE(each->accessibleName().isEmpty() && each->toolTip().isEmpty() &&
                     !qobject_cast<QAbstractButton*>(each));
    }
}

TEST_F(EditorScreenTest, ControlsWriteTheRecordAndTheScreenFollows) {
    open();
    auto& section = editor->dateSection();
    section.onADateLabel().click();
    EXPECT_TRUE(section.dateToggle().isChecked());
    EXPECT_TRUE(section.timePicker().isVisibleTo(editor.get()));
    section.timePicker().setFocus();
    press(Qt::Key_Up);
    EXPECT_EQ(editor->reminder()->due_date(), OptionalDate(at("2026-01-15T09:00:00Z")));
    section.repeatSelector().activated(2);
    section.plusButton().click();
    EXPECT_EQ(editor->reminder()->end_date(), OptionalDate(environment.now()));
    EXPECT_EQ(window.focusWidget(), &section.endDatePicker());
    EXPECT_TRUE(section.endDateCalendar().isVisibleTo(&window));
    const NSDate end = *editor->reminder()->end_date();
    press(Qt::Key_Up);  // its first part is the month
    EXPECT_EQ(editor->reminder()->end_date(), OptionalDate(end + std::chrono::days(31)));
    press(Qt::Key_Escape);
    EXPECT_FALSE(section.endDateCalendar().isVisibleTo(&window)) << "which lay over the screen";
    EXPECT_TRUE(section.endDatePicker().hasFocus());
    section.setRepeatButton().click();
    ASSERT_TRUE(editor->openPopover());
    EXPECT_EQ(editor->openPopover()->contentSize(), QSize(340, 240));
    editor->openPopover()->close();
    section.repeatSelector().activated(0);
    EXPECT_FALSE(editor->reminder()->end_date());
    EXPECT_FALSE(section.clearButton().isVisibleTo(editor.get()));
    environment.setTimeZone("Pacific/Apia");
    section.surroundingsDidChange();
    editor->toggleTypeButton().click();
    EXPECT_FALSE(editor->reminder()->start_date());
    EXPECT_FALSE(section.isVisibleTo(editor.get()));
}

TEST_F(EditorScreenTest, AReminderWithOnlyAChecklistOpensOnIt) {
    auto record = dated("a", "2026-01-20T09:00:00Z");
    record.checklist = "[ ] Milk";
    open(store(record)->copy());
    EXPECT_EQ(editor->segmentControl().selectedSegment(), 1);
    EXPECT_TRUE(editor->checklist().isVisibleTo(editor.get()));
    EXPECT_FALSE(editor->reminderNotes().isVisibleTo(editor.get()));
}

TEST_F(EditorScreenTest, WhatIsPastedIsPlainAndATitleIsOneLine) {
    open();
    auto* formatted = new QMimeData;
    formatted->setHtml("<b>bold</b>");
    formatted->setText(QStringLiteral("two\r\nlines\tand\u00a0more"));
    QGuiApplication::clipboard()->setMimeData(formatted);
    editor->reminderTitle().paste();
    EXPECT_EQ(editor->reminderTitle().string(), QStringLiteral("two lines and\u00a0more"));
    editor->reminderNotes().paste();
    EXPECT_EQ(editor->reminderNotes().string(), QStringLiteral("two\nlines\tand\u00a0more"));
    editor->reminderNotes().undo();
    EXPECT_EQ(editor->reminderNotes().string(), "");
    QInputMethodEvent composed;
    composed.setCommitString("x\ny");
    QCoreApplication::sendEvent(&editor->reminderTitle(), &composed);
    EXPECT_FALSE(editor->reminderTitle().string().contains(u'\n'));
}

TEST_F(EditorScreenTest, AMegabyteIsKeptWholeAndNotLaidOut) {
    open();
    QString much;
    while (much.size() < 900'000)
        much.append(QStringLiteral("words enough for a line of their own, and then one heart ❤️ "));
    QGuiApplication::clipboard()->setText(much);
    for (ZNTextView* view : {&editor->reminderTitle(), &editor->reminderNotes()}) {
        view->setFocus();
        view->paste();
        EXPECT_TRUE(view->string() == much);
        EXPECT_LT(view->document()->characterCount(), view->foldingLength() + 100);
        QTest::keyClicks(view, "!");
        EXPECT_TRUE(view->string() == much + u'!');
        view->selectAll();
        view->copy();
        EXPECT_TRUE(QGuiApplication::clipboard()->text() == much + u'!');
        QGuiApplication::clipboard()->setText(much);
        view->undo();
        view->undo();
        EXPECT_EQ(view->string(), "");
        view->redo();
        EXPECT_TRUE(view->string() == much);
    }
    save();
    ASSERT_TRUE(only());
    EXPECT_TRUE(only()->title() == much.toStdString());
    EXPECT_TRUE(only()->notes() == much.toStdString());
    open(only());
    EXPECT_TRUE(editor->reminderNotes().string() == much);
}

}  // namespace
}  // namespace zun
