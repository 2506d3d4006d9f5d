#pragma once

// The main window with its toolbar, cards, commands and undo over a real store in a folder of its own, in virtual time
// and without a display.

#include <QTest>

#include "cards/ReminderCardTexts.h"
#include "core/ManagerWorld.h"
#include "dates/DateLabels.h"
#include "shell/LinkIntake.h"
#include "shell/MessageBar.h"
#include "shell/ZNMenuViewController.h"
#include "shell/ZNTabViewController.h"
#include "shell/ZNWindow.h"

namespace zun {

class ShellWorld : public ManagerWorld {
  public:
    explicit ShellWorld(ScreenMakers makers = {});

    // Fetches the deck and shows it, as at the program's start.
    void open();
    // A key with its modifiers, sent to the window as the window system does, and the animations that follow it.
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::ControlModifier);
    void advance(std::chrono::milliseconds time);
    // What is on the deck, top first.
    [[nodiscard]] std::vector<std::string> deck() const { return ids(cards().reminders()); }
    [[nodiscard]] ZNCardViewController& cards() const { return tabs->cardController(); }

    TopicDetection topics{environment, strings};
    ReminderCardTexts texts{environment, strings, labels, topics};
    Pictures pictures;
    ZNAnimationTimeline animations{dispatch};
    QUndoStack undoStack;
    const ScreenMakers screens;
    KeptReminders kept{folder.path() / "state"};
    ZNMenuViewController menu{{notifications, strings, undoStack, screens}};
    LinkIntake links{{manager, notifications, environment, dispatch, undoStack, "Undo"}};
    ZNWindow window{settings, folder.path() / "state" / "window.ini"};
    ZNTabViewController* tabs;  // the window's
};

}  // namespace zun
