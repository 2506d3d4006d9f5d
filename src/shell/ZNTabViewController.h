#pragma once

// The root of the interface: the toolbar, the tabs below it, the messages over them, and the screens that lie over
// everything for a while. Commands arrive as notifications and reach the card tab under the guards stated here.
//
//   at rest      container and toolbar are seen, fullWindowContainer is hidden
//   screen up    the screen slides in while the container fades; then container and toolbar are hidden
//   going down   container and toolbar are back at once and fade in; then the screen is gone
//
// A reminder that is stored nowhere and asks for the editor while that is taken is kept on file, and a message says so.
// Owned by its window. Main thread.

#include <QPointer>
#include <array>
#include <memory>
#include <vector>

#include "cards/ZNCardViewController.h"
#include "platform/foundation/LocalizedStrings.h"
#include "shell/KeptReminders.h"
#include "shell/ScreenMakers.h"
#include "toolkit/ZNView.h"

namespace zun {

class MessageBar;
class ShellToolbar;

class ZNTabViewControllerDelegate {
  public:
    virtual ~ZNTabViewControllerDelegate() = default;
    // The user cancelled where nothing is left to cancel.
    virtual void shouldCloseWindowWithCardController() = 0;
};

class ZNTabViewController final : public ZNView, private ZNBaseViewControllerDelegate {
    Q_OBJECT
  public:
    struct Collaborators {
        ZNCardViewController::Collaborators cards;
        const LocalizedStrings& strings;
        KeptReminders& keptReminders;
        const ScreenMakers& screens;
    };
    // The screens that lie over the tabs, in the order in which cancelling looks for them.
    enum class TopScreen { Editor, Checklist, Share, Tour };

    explicit ZNTabViewController(const Collaborators& collaborators, QWidget* parent = nullptr);
    ~ZNTabViewController() override;

    void setDelegate(ZNTabViewControllerDelegate* delegate) { _delegate = delegate; }
    // Rounds the toolbar's upper corners for a window that has round ones.
    void setCornerRadius(double radius);

    void fetchData() { _cardController->fetchData(); }
    void invalidateTimer() { _cardController->invalidateTimer(); }
    [[nodiscard]] ZNCardViewController& cardController() const { return *_cardController; }
    [[nodiscard]] MessageBar& messages() const { return *_messages; }
    [[nodiscard]] ShellToolbar& toolbar() const { return *_toolbar; }
    [[nodiscard]] ZNBaseViewController* topScreen(TopScreen kind) const;

    // 0 is the card tab, 1 the list.
    void onSetActiveTab(int tab);
    [[nodiscard]] int activeTab() const { return _activeTab; }
    void showEditControllerWithReminder(const ReminderPtr& reminder);
    void showShareControllerWithReminder(const ReminderPtr& reminder);
    void showChecklistControllerWithReminder(const ReminderPtr& reminder);
    void didDismissController(ZNBaseViewController& controller) override;
    // The escape key.
    void cancelOperation();
    // The program may end at any moment: what the screens would write later is written now.
    void flush();
    // Shows the list and begins to search in it.
    void search();
    // Relative dates, zone and language may have changed.
    void minutePassed();

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    enum class ShouldHideContainer { No, Yes };
    void prepareViews();
    void addControllers();
    // Null where there is no list.
    [[nodiscard]] ListScreen* listController();
    void placeList();
    void addObservers();
    void showTourIfNecessary();
    void updateViewsForActiveTab();

    void addTopScreen(TopScreen kind, ZNBaseViewController* controller);
    void addController(ZNBaseViewController& controller, bool animated, ShouldHideContainer shouldHideContainer);
    void popTopController(ZNBaseViewController& controller, bool animated, Block withCompletion);
    void dismissTopScreen(ZNBaseViewController& controller);
    void focusTopScreen();
    void fadeContainerTo(double alpha, std::chrono::microseconds duration, Block completion);
    void showContainerAlpha();
    [[nodiscard]] bool hasTopScreen() const;
    [[nodiscard]] bool isTaken(TopScreen kind, Block showOnceFree);

    void post(std::string_view notification);
    void newReminderPrompt();
    void showCardEditor(const ReminderPtr& reminder);
    void editTopCard();
    void clickedListViewButton();
    void toggleListView();
    void clickedSettingsButton();
    void showSettingsMenu();
    void say(std::string_view key, std::initializer_list<std::string_view> arguments = {});
    [[nodiscard]] QRect toolbarBorder() const;
    [[nodiscard]] bool showsToolbarBorder() const;
    [[nodiscard]] bool cardActionsArePossible() const;

    Collaborators _with;
    ZNTabViewControllerDelegate* _delegate = nullptr;
    int _activeTab = 0;
    QWidget* _container;
    QWidget* _fullWindowContainer;
    ZNCardViewController* _cardController;
    ListScreen* _listController = nullptr;  // once it was wanted
    ShellToolbar* _toolbar;
    MessageBar* _messages;
    std::array<ZNBaseViewController*, 4> _topScreens{};
    ZNBaseViewController* _leaving = nullptr;                  // the screen that is being popped
    std::vector<QPointer<ZNBaseViewController>> _nextToLeave;  // those that asked for it meanwhile
    Block _showNext;                                           // what was asked for while its like was leaving
    AnimatedValue _containerAlpha{AnimatedValue::Kind::Fade, 1};
    double _cornerRadius = 0;
    Observation _frames;
    std::vector<Observation> _observations;
};

}  // namespace zun
