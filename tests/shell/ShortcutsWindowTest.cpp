#include <gtest/gtest.h>

#include <QTableWidget>
#include <QTest>

#include "shell/ZNKeyboardShortcutsWindowController.h"

namespace zun {
namespace {

QStringList column(const QTableWidget& table, int number) {
    QStringList texts;
    for (int row = 0; row < table.rowCount(); ++row)
        texts.append(table.item(row, number)->text());
    return texts;
}

TEST(ShortcutsWindow, ListsTheKeysOfThisPlatform) {
    Pictures pictures;
    const ZNKeyboardShortcutsWindowController window(LocalizedStrings({"en"}), pictures);
    const auto& table = *window.findChild<QTableWidget*>();
    EXPECT_EQ(column(table, 1), QStringList({"Ctrl+N", "Ctrl+S", "Ctrl+`", "Ctrl+↑", "Ctrl+← or Ctrl+→", "Ctrl+↓",
                                             "Ctrl+Z", "Ctrl+F", "Ctrl+L", "Esc", "Ctrl+,"}));
    EXPECT_EQ(column(table, 0).front(), "New reminder");
    EXPECT_EQ(column(table, 0).back(), "Open the settings");
    const ZNKeyboardShortcutsWindowController german(LocalizedStrings({"de"}), pictures);
    EXPECT_EQ(german.findChild<QTableWidget*>()->item(4, 1)->text(), "Strg+← oder Strg+→");
}

TEST(ShortcutsWindow, FitsWithoutScrollingInEveryLanguage) {
    Pictures pictures;
    for (const auto& language : LocalizedStrings::availableLanguages()) {
        SCOPED_TRACE(language);
        ZNKeyboardShortcutsWindowController window(LocalizedStrings({language}), pictures);
        window.show();
        QCoreApplication::processEvents();
        EXPECT_EQ(window.size(), QSize(580, 420));
        EXPECT_EQ(window.minimumSize(), window.maximumSize());
        auto& table = *window.findChild<QTableWidget*>();
        EXPECT_LE(table.visualItemRect(table.item(table.rowCount() - 1, 0)).bottom(), table.viewport()->height());
        for (int i = 0; i < 2 * table.rowCount(); ++i) {
            const auto* item = table.item(i / 2, i % 2);
            EXPECT_LE(table.fontMetrics().horizontalAdvance(item->text()) + 24, table.visualItemRect(item).width())
                << item->text().toStdString();
        }
    }
}

TEST(ShortcutsWindow, IsReadAsATableWalkedByKeysAndClosedByEscape) {
    Pictures pictures;
    ZNKeyboardShortcutsWindowController window(LocalizedStrings({"en"}), pictures);
    window.show();
    window.activateWindow();
    auto* table = window.findChild<QTableWidget*>();
    auto* spoken = QAccessible::queryAccessibleInterface(table)->tableInterface();
    ASSERT_TRUE(spoken);
    EXPECT_EQ(spoken->rowCount(), 11);
    EXPECT_EQ(spoken->columnDescription(1), "Keys");
    EXPECT_EQ(spoken->cellAt(9, 1)->text(QAccessible::Name), "Esc");

    table->setFocus();
    QTest::keyClick(table, Qt::Key_Down);
    QTest::keyClick(table, Qt::Key_Down);
    EXPECT_EQ(table->currentRow(), 1);
    int closed = 0;
    QObject::connect(&window, &FixedWindow::willClose, [&] { ++closed; });
    QTest::keyClick(table, Qt::Key_Escape);
    EXPECT_FALSE(window.isVisible());
    EXPECT_EQ(closed, 1);
    window.show();
    EXPECT_TRUE(window.isVisible()) << "it is kept";
}

}  // namespace
}  // namespace zun
