#include "checklist/ChecklistLines.h"

#include <gtest/gtest.h>

namespace zun {
namespace {

using Change = ChecklistLines::Change;

// Lines with their checks: "x:" before a checked one, ":" before an open one, "/" between lines.
std::string shown(const ChecklistLines& lines) {
    std::string all;
    const QStringList texts = lines.text().split(u'\n');
    for (qsizetype line = 0; line < std::max(texts.size(), lines.checks().size()); ++line) {
        if (line > 0) all += '/';
        if (line < lines.checks().size()) all += lines.isChecked(line) ? "x:" : ":";
        if (line < texts.size()) all += texts[line].toStdString();
    }
    return all;
}

ChecklistLines listOf(const std::string& text, std::initializer_list<int> checked) {
    ChecklistLines lines;
    const QString visible = QString::fromStdString(text);
    QList<bool> checks(visible.count(u'\n') + 1, false);
    for (const int line : checked)
        checks[line] = true;
    lines.restore(visible, checks);
    return lines;
}

// The range is written into the text: "a<b\nc>d" selects "b\nc", "|" is a cursor.
struct Case {
    const char* text;
    std::initializer_list<int> checked;
    const char* replacement;
    Change change;
    const char* shown;
};

TEST(ChecklistLinesTest, TheRuleCaseByCase) {
    const Case cases[] = {
        // One line break goes, and the second line's check with it.
        {"one<\n>two\nthree", {1}, "", Change::Allowed, ":onetwo/:three"},
        {"one<\n>two\nthree", {0, 2}, "", Change::Allowed, "x:onetwo/x:three"},
        {"one\ntwo<\n>", {1}, "", Change::Allowed, ":one/x:two"},
        // Everything goes.
        {"<one\ntwo>", {0, 1}, "", Change::Allowed, ":"},
        {"<o>", {0}, "", Change::Allowed, ":"},
        // Within a line.
        {"one\nt<w>o", {1}, "", Change::Allowed, ":one/x:to"},
        {"one\n<two>\nthree", {1}, "", Change::Allowed, ":one/x:/:three"},
        // Several lines in the middle: the first keeps its check, and the later ones theirs.
        {"a\nb<b\nc>c\nd", {1, 2}, "", Change::Allowed, ":a/x:bc/:d"},
        {"a<a\nb\nc>c\nd", {3}, "", Change::Allowed, ":ac/x:d"},
        {"a\nb<b\nc\nd>d\ne", {1, 4}, "", Change::Allowed, ":a/x:bd/x:e"},
        {"a\n<b\nc\n>d\ne\nf", {3, 5}, "", Change::Allowed, ":a/:d/:e/x:f"},
        // To the end.
        {"a\n<b\nc>", {1, 2}, "", Change::Allowed, ":a/x:"},
        {"<a\nb>\nc", {2}, "", Change::Allowed, ":/x:c"},
        {"a<\nb\nc>", {0}, "", Change::Allowed, "x:a"},
        {"a\nb<\nc\nd>", {1}, "", Change::Allowed, ":a/x:b"},
        {"a<\nb>\nc", {2}, "", Change::Allowed, ":a/x:c"},
        // From a line's end: the last of the lines that go leaves its check to the line that stays.
        {"a\nb<\nc\nd>\ne", {3}, "", Change::Allowed, ":a/x:b/:e"},
        // Return.
        {"|", {}, "\n", Change::Refused, ":"},
        {"one|", {0}, "\n", Change::Allowed, "x:one/:"},
        {"|one", {0}, "\n", Change::Allowed, "x:/:one"},
        {"one|\ntwo", {0, 1}, "\n", Change::Allowed, "x:one/:/x:two"},
        {"on|e\ntwo", {1}, "\n", Change::Allowed, ":on/:e/x:two"},
        {"one\n|", {0}, "\n", Change::Refused, "x:one/:"},
        {"one\n|two", {1}, "\n", Change::Refused, ":one/x:two"},
        {"|one\ntwo", {0}, "\n", Change::Refused, "x:one/:two"},
        // Anything else.
        {"one\nt|o", {1}, "w", Change::Allowed, ":one/x:two"},
        {"|", {}, "- [x] one", Change::Allowed, ":- [x] one"},
        // A replacement is a deletion and an insertion.
        {"a\nb<b\nc>c\nd", {1, 3}, "-", Change::Allowed, ":a/x:b-c/x:d"},
        {"<one\ntwo>", {0, 1}, "x", Change::Allowed, ":x"},
        {"a\nb<b\nc>c\nd", {1, 3}, "\n", Change::Allowed, ":a/x:b/:c/x:d"},
        {"a\n<b\nc>\nd", {1}, "\n", Change::Allowed, ":a/x:/:d"},
        // Several lines are pasted.
        {"|", {}, "one\ntwo\nthree", Change::Reloaded, ":one/:two/:three"},
        {"|", {}, "- [x] one\n\n- [ ] two\n", Change::Reloaded, "x:one/:two"},
        {"<one\ntwo>", {1}, "three\nfour", Change::Reloaded, ":three/:four"},
        {"one\n|two", {1}, "three\nfour", Change::Reloaded, ":one/:three/:four/x:two"},
        {"one\ntw|o", {0}, "three\nfour", Change::Reloaded, "x:one/:two/:three/:four"},
        {"|one\ntwo", {0}, "[x]three\n", Change::Reloaded, "x:three/x:one/:two"},
        {"one\n<two>\nthree", {1}, "four\nfive", Change::Reloaded, ":one/:four/:five/x:two/:three"},
        {"one|\n\ntwo", {2}, "\n\n", Change::Reloaded, ":one/:/x:two"},
        {"<one>", {}, "\n\n", Change::Reloaded, ":"},
    };
    for (const Case& each : cases) {
        QString text = QString::fromUtf8(each.text);
        const bool hasSelection = text.contains(u'<');
        const qsizetype begin = text.indexOf(hasSelection ? u'<' : u'|');
        text.remove(begin, 1);
        const qsizetype end = hasSelection ? text.indexOf(u'>') : begin;
        if (hasSelection) text.remove(end, 1);
        ChecklistLines lines = listOf(text.toStdString(), each.checked);
        const auto outcome = lines.replace({begin, end - begin}, QString::fromUtf8(each.replacement));
        SCOPED_TRACE(testing::Message() << each.text << " <- " << each.replacement);
        EXPECT_EQ(shown(lines), each.shown);
        EXPECT_EQ(outcome.change, each.change);
    }
}

TEST(ChecklistLinesTest, TheCursorFollowsWhatCame) {
    ChecklistLines lines = listOf("one\ntwo", {});
    EXPECT_EQ(lines.replace({3, 0}, "\n").cursor, 4);
    EXPECT_EQ(lines.replace({4, 0}, "ab").cursor, 6);
    EXPECT_EQ(lines.replace({4, 2}, "").cursor, 4);
    EXPECT_EQ(lines.replace({7, 0}, "x\ny").cursor, 11) << shown(lines);
}

TEST(ChecklistLinesTest, ReadsAndWritesTheStoredForm) {
    const struct {
        const char* stored;
        const char* shown;
        const char* written;
    } cases[] = {
        {"", ":", ""},
        {"[ ]one\n[x]two", ":one/x:two", "[ ]one\n[x]two"},
        {"[x]", "x:", ""},
        {"[x", ":[x", "[ ][x"},
        {"a\n\nbc\n[x]d", ":a/:/:bc/x:d", "[ ]a\n[ ]bc\n[x]d"},
        {"[ ]one\r\n[x]two\r", ":one/x:two", "[ ]one\n[x]two"},
        {"[ ]one\rmore\u2028\u2029", ":one more", "[ ]one more"},
        {"[ ]\xF0\x9F\x98\x80\n[x]\xff", ":\xF0\x9F\x98\x80/x:\xEF\xBF\xBD", "[ ]\xF0\x9F\x98\x80\n[x]\xEF\xBF\xBD"},
    };
    for (const auto& each : cases) {
        ChecklistLines lines;
        lines.setChecklist(each.stored);
        SCOPED_TRACE(each.stored);
        EXPECT_EQ(shown(lines), each.shown);
        EXPECT_EQ(lines.formattedChecklist(), each.written);
    }
}

TEST(ChecklistLinesTest, CountsAndSortsByChecks) {
    ChecklistLines lines;
    EXPECT_EQ(lines.numberOfActiveItems(), 1);
    lines.setChecklist("[x]a\n[ ]b\n[x]c\n[ ]d\n[ ]e");
    EXPECT_EQ(lines.numberOfActiveItems(), 3);
    EXPECT_EQ(lines.numberOfInactiveItems(), 2);
    EXPECT_EQ(lines.activeItems(), QStringList({"b", "d", "e"}));
    lines.moveActiveItemsToTheTop();
    EXPECT_EQ(shown(lines), ":b/:d/:e/x:a/x:c");
    lines.removeCompletedItems();
    EXPECT_EQ(shown(lines), ":b/:d/:e");
    for (int line = 0; line < 3; ++line)
        lines.setChecked(line, true);
    lines.removeCompletedItems();
    EXPECT_EQ(shown(lines), ":");
}

}  // namespace
}  // namespace zun
