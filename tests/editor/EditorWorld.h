#pragma once

// The editor over a real store in a folder of its own, in a window without a display and in virtual time.

#include <gtest/gtest.h>

#include <QTest>
#include <memory>

#include "cards/ReminderCardTexts.h"
#include "cards/ScreenBar.h"
#include "core/ManagerWorld.h"
#include "core/NotificationNames.h"
#include "editor/EditorContext.h"
#include "editor/ZNEditViewController.h"
#include "toolkit/ZNGradientView.h"

namespace zun {

class EditorWorld : public testing::Test, public ManagerWorld, private ZNBaseViewControllerDelegate {
  protected:
    explicit EditorWorld(QSize windowSize = {430, 640}) { window.resize(windowSize); }
    ~EditorWorld() override { editor.reset(); }

    // Shows an editor, as the shell does. Null makes a new reminder.
    void open(const ReminderPtr& reminder = nullptr) {
        dismissals = 0;
        editor = std::make_unique<ZNEditViewController>(with, reminder, &window);
        editor->setDelegate(this);
        editor->setGeometry(window.rect());
        editor->loadView();
        editor->show();
        window.show();
        editor->animateContentInWithAnimation(true);
        advance(1000);
    }
    void advance(int milliseconds) {
        dispatch.advance(std::chrono::milliseconds(milliseconds));
        QCoreApplication::processEvents();
    }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QWidget* focus = window.focusWidget() ? window.focusWidget() : &window;
        QTest::keyClick(focus, key, modifiers);
    }
    void type(const char* words) { QTest::keyClicks(&editor->reminderTitle(), QString::fromUtf8(words)); }
    void save() {
        editor->onRightButtonPress();
        settle();
    }
    ReminderPtr only() const {
        const auto all = manager.fetchAllReminders();
        return all.size() == 1 ? all.front() : nullptr;
    }
    void didDismissController(ZNBaseViewController&) override { ++dismissals; }

    TopicDetection topics{environment, strings};
    ReminderCardTexts texts{environment, strings, labels, topics};
    Pictures pictures;
    ZNAnimationTimeline animations{dispatch};
    ZNGradientView window;
    QuickEntryReader quickEntry{environment, settings, strings};
    EditorDrafts drafts{folder.path() / "state", environment, dispatch};
    EditorContext with{
        {dispatch, notifications, settings, pictures, animations, texts, [this] { return QSizeF(window.size()); }},
        manager,
        environment,
        strings,
        quickEntry,
        drafts};
    std::unique_ptr<ZNEditViewController> editor;
    int dismissals = 0;
};

}  // namespace zun
