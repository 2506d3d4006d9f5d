#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QTest>

#include "list/ZNOptionsMenu.h"
#include "support/TestEnvironment.h"

namespace zun {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Strings = std::vector<std::string>;

class Notes final : public ZNOptionsMenuDelegate {
  public:
    void shouldCompleteWithReminder(const ReminderPtr& r, QWidget* withCell) override { note("complete", r, withCell); }
    void shouldUndoSnoozeWithReminder(const ReminderPtr& r, QWidget* withCell) override {
        note("undo snooze", r, withCell);
    }
    void shouldUndoCompleteWithReminder(const ReminderPtr& r, QWidget* withCell) override {
        note("undo complete", r, withCell);
    }
    void shouldShareWithReminder(const ReminderPtr& r, QWidget* withCell) override { note("share", r, withCell); }
    void shouldCopyWithReminder(const ReminderPtr& r, QWidget* withCell) override { note("copy", r, withCell); }
    void shouldDeleteWithReminder(const ReminderPtr& r, QWidget* withCell) override { note("delete", r, withCell); }

    Strings taken;

  private:
    void note(const std::string& what, const ReminderPtr& reminder, QWidget* cell) {
        taken.push_back(what + " " + reminder->title() + (cell ? "" : " without its cell"));
    }
};

Strings titles(const ZNOptionsMenu& menu) {
    Strings all;
    for (const auto* item : menu.actions())
        all.push_back(item->isSeparator() ? "-" : item->text().toStdString());
    return all;
}

class OptionsMenu : public testing::Test {
  protected:
    ReminderPtr reminder(bool isSnoozed, bool isCompleted, std::optional<std::string> shareURL = {}) const {
        ReminderAttributes attributes;
        attributes.title = "tea";
        attributes.start_date = attributes.due_date = attributes.fire_date = environment.now();
        if (isSnoozed) attributes.fire_date = environment.now() + std::chrono::hours(1);
        if (isCompleted) attributes.completed_date = environment.now();
        attributes.shareURL = std::move(shareURL);
        return std::make_shared<ZNReminderObject>(attributes);
    }
    // What choosing each item tells the delegate.
    Strings choices(const ReminderPtr& of) {
        ZNOptionsMenu menu(of, &cell, strings, CanSupportCKSharing::Yes);
        Notes notes;
        menu.setDelegate(&notes);
        for (auto* item : menu.actions())
            item->trigger();
        return notes.taken;
    }

    TestEnvironment environment;
    LocalizedStrings strings{{"en"}};
    QWidget cell;
};

TEST_F(OptionsMenu, OffersWhatTheReminderAllows) {
    const struct {
        bool isSnoozed, isCompleted;
        std::optional<std::string> shareURL;
        CanSupportCKSharing sharing;
        Strings shown;
    } cases[] = {
        {false, false, {}, CanSupportCKSharing::No, {"Complete", "-", "Copy", "Delete"}},
        {true, false, {}, CanSupportCKSharing::No, {"Complete", "Cancel Snooze", "-", "Copy", "Delete"}},
        {false, true, {}, CanSupportCKSharing::No, {"Mark as Not Done", "-", "Copy", "Delete"}},
        {true, true, {}, CanSupportCKSharing::No, {"Mark as Not Done", "-", "Copy", "Delete"}},
        {false, false, {}, CanSupportCKSharing::Yes, {"Complete", "-", "Share…", "-", "Copy", "Delete"}},
        {false, true, "x", CanSupportCKSharing::Yes, {"Mark as Not Done", "-", "Sharing", "-", "Copy", "Delete"}},
    };
    for (const auto& each : cases) {
        const auto subject = reminder(each.isSnoozed, each.isCompleted, each.shareURL);
        EXPECT_EQ(titles(ZNOptionsMenu(subject, &cell, strings, each.sharing)), each.shown);
    }
}

TEST_F(OptionsMenu, EachItemTellsTheDelegate) {
    EXPECT_THAT(choices(reminder(true, false)),
                ElementsAre("complete tea", "undo snooze tea", "share tea", "copy tea", "delete tea"));
    EXPECT_THAT(choices(reminder(false, true)),
                ElementsAre("undo complete tea", "share tea", "copy tea", "delete tea"));
}

TEST_F(OptionsMenu, IsUsedByKeysAndAsWideAsStated) {
    const auto subject = reminder(false, false);
    ZNOptionsMenu menu(subject, &cell, strings, CanSupportCKSharing::No);
    Notes notes;
    menu.setDelegate(&notes);
    menu.popup({0, 0});
    EXPECT_GE(menu.width(), 180);
    QTest::keyClick(&menu, Qt::Key_Down);
    QTest::keyClick(&menu, Qt::Key_Down);
    QTest::keyClick(&menu, Qt::Key_Return);
    EXPECT_THAT(notes.taken, ElementsAre("copy tea")) << "the separator is passed over";
}

TEST_F(OptionsMenu, WhatHasGoneMeanwhileIsNotActedOn) {
    auto subject = reminder(false, false);
    auto row = std::make_unique<QWidget>();
    ZNOptionsMenu menu(subject, row.get(), strings, CanSupportCKSharing::No);
    menu.actions().front()->trigger();  // nobody listens
    Notes notes;
    menu.setDelegate(&notes);
    row.reset();
    menu.actions().back()->trigger();
    EXPECT_THAT(notes.taken, ElementsAre("delete tea without its cell"));
    notes.taken.clear();
    subject.reset();
    menu.actions().back()->trigger();
    EXPECT_THAT(notes.taken, IsEmpty());
}

}  // namespace
}  // namespace zun
