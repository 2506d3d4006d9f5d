#pragma once

// The list in a window over a real store in a folder of its own, in virtual time. Input comes as the window system
// sends it; what the list asks of others is written down.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QMenu>
#include <QTest>

#include "cards/ReminderCardTexts.h"
#include "core/ManagerWorld.h"
#include "list/ZNListViewController.h"
#include "toolkit/ZNGradientView.h"

namespace zun {

using testing::ElementsAre;
using testing::IsEmpty;
using Strings = std::vector<std::string>;

class ListWorld : public testing::Test, public ManagerWorld {
  protected:
    explicit ListWorld(QSize windowSize = {400, 900});

    // Shows the list and lets it fetch.
    void open();
    void advance(int milliseconds = 300);
    // Records that are due, in the order in which the list shows them.
    void storeDue(const Strings& identifiers);

    [[nodiscard]] ZNListTableView& table() const { return list->tableView(); }
    // Titles, with a "#" before those of sections.
    [[nodiscard]] Strings shown() const;
    [[nodiscard]] std::size_t rowOf(const std::string& reminderID) const;
    [[nodiscard]] Strings selected() const { return table().selectedIDs(); }
    // In the window: a point in the row's card that is no control.
    [[nodiscard]] QPoint pointIn(const std::string& reminderID) const;

    void click(const std::string& reminderID, Qt::KeyboardModifiers modifiers = {});
    void press(int key, Qt::KeyboardModifiers modifiers = {});
    void type(const char* text);
    // Presses a row, moves to a height in the table a little at a time, and leaves the button down.
    void dragTo(const std::string& reminderID, int yInTable);
    void dropAt(int yInTable);
    // The height at which a drag is above this row.
    [[nodiscard]] int above(const std::string& reminderID) const;
    // Opens the row's options by its button and chooses an item; returns what the menu offered.
    Strings choose(const std::string& reminderID, const std::string& title,
                   const std::function<void()>& meanwhile = {});

    TopicDetection topics{environment, strings};
    ReminderCardTexts texts{environment, strings, labels, topics};
    Pictures pictures;
    ZNAnimationTimeline animations{dispatch};
    ZNGradientView window;
    CardContext context{
        dispatch, notifications, settings, pictures, animations, texts, [this] { return QSizeF(window.size()); }};
    ZNListViewController* list = nullptr;  // the window's
    Strings posted;                        // name and title

  private:
    void note(std::string_view name);
    std::vector<Observation> _observations;
};

}  // namespace zun
