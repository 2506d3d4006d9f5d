#pragma once

// The root of the interface: the toolbar, the tabs below it and the messages over them. Commands arrive as
// notifications and reach the card tab under the guards stated here. Screens that lie over the tabs come with their own
// rooms; until the editor is there, what asks for it is answered by a message and, for a reminder that is not stored
// yet, kept on file.
//
// Owned by its window. Main thread.

#include <memory>
#include <vector>

#include "cards/ZNCardViewController.h"
#include "platform/foundation/LocalizedStrings.h"
#include "shell/KeptReminders.h"
#include "toolkit/ZNView.h"

namespace zun {

class MessageBar;
class ShellToolbar;

class ZNTabViewController final : public ZNView {
    Q_OBJECT
  public:
    struct Collaborators {
        ZNCardViewController::Collaborators cards;
        const LocalizedStrings& strings;
        KeptReminders& keptReminders;
    };

    explicit ZNTabViewController(const Collaborators& collaborators, QWidget* parent = nullptr);

    void fetchData() { _cardController->fetchData(); }
    void invalidateTimer() { _cardController->invalidateTimer(); }
    [[nodiscard]] ZNCardViewController& cardController() const { return *_cardController; }
    [[nodiscard]] MessageBar& messages() const { return *_messages; }

    // 0 is the card tab, 1 the list.
    void onSetActiveTab(int tab);
    [[nodiscard]] int activeTab() const { return _activeTab; }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void addObservers();
    void updateViewsForActiveTab();
    void showCardEditor(const ReminderPtr& reminder);
    void editTopCard();
    [[nodiscard]] QRect toolbarBorder() const;
    [[nodiscard]] bool showsToolbarBorder() const;
    [[nodiscard]] bool cardActionsArePossible() const { return _activeTab != 1; }

    Collaborators _with;
    int _activeTab = 0;
    ZNCardViewController* _cardController;
    ShellToolbar* _toolbar;
    MessageBar* _messages;
    std::vector<Observation> _observations;
};

}  // namespace zun
