#pragma once

// The base of the screens: the tabs, and those that lie over them for a while: editor, checklist, share, tour. It says
// in which order a screen is built, where its card stands, how the card slides in and out, and gives it a bar with two
// buttons and a title. A screen without a card only appears. The bar is made when it is first asked for; it lies at the
// top of the card, or of the screen where there is no card.
//
// Whoever opens it calls loadView() once, then animateContentInWithAnimation(); the screen asks its delegate to be
// dismissed. Owned by its parent widget. Main thread.

#include <QLabel>

#include "cards/CardContext.h"
#include "toolkit/ZNView.h"

namespace zun {

class ScreenBar;
class ZNBarButton;
class ZNBaseViewController;
class ZNButton;
class ZNCardView;

class ZNBaseViewControllerDelegate {
  public:
    virtual ~ZNBaseViewControllerDelegate() = default;
    virtual void didDismissController(ZNBaseViewController& controller) = 0;
};

// How large such a screen's card is in a window, or in a view as long as there is no window.
[[nodiscard]] QSize screenCardSize(QSizeF windowSize, QSizeF viewSize, std::uint64_t windowLayoutMode);

class ZNBaseViewController : public ZNView {
    Q_OBJECT
  public:
    static constexpr double restingOffset = 30;  // of the card's centre below the screen's
    static constexpr double overshootOffset = 20;
    static constexpr double hiddenOffset = 1000;

    explicit ZNBaseViewController(const CardContext& context, QWidget* parent = nullptr);

    void setDelegate(ZNBaseViewControllerDelegate* delegate) { _delegate = delegate; }
    // Builds the screen by the five steps below, in their order.
    void loadView();

    virtual void prepareViews() {}
    virtual void setConstraints() {}
    virtual void customizeViews() {}
    virtual void configureAccessibilityValues() {}
    // Gives the card its size and place for the window as it is now.
    virtual void updateViewsForWindowResize();
    virtual void onLeftButtonPress() {}
    virtual void onRightButtonPress() {}
    // The escape key, where nothing on the screen has taken it.
    virtual void cancelOperation() { onLeftButtonPress(); }
    // The program may end at any moment: what would be written later is written now. The screen stays.
    virtual void flush() {}
    // Slides the card up from below the screen, over its place and back to it; or out again.
    virtual void animateContentInWithAnimation(bool animated);
    virtual void animateContentOutWithAnimation(bool animated);
    [[nodiscard]] virtual bool hasCard() const { return false; }
    [[nodiscard]] virtual ZNCardView* card() const { return nullptr; }

    // An icon, a title or a word that is set later than in customizeViews() shows after layOutToolbar().
    [[nodiscard]] ZNView& toolbar();
    [[nodiscard]] ZNButton& leftButton();
    [[nodiscard]] ZNBarButton& rightButton();
    [[nodiscard]] QLabel& controllerTitle();
    void layOutToolbar();

  protected:
    void resizeEvent(QResizeEvent* event) override;
    // A screen that is ready to go.
    void dismiss();
    [[nodiscard]] const CardContext& context() const { return _context; }
    // Where the bar on the card begins: further down in a window than in the panel.
    [[nodiscard]] int toolbarTop() const;

  private:
    [[nodiscard]] ScreenBar& bar();
    void placeBar();
    void placeCard();
    void slideTo(double offset, bool animated, Block completion = {});

    CardContext _context;
    ZNBaseViewControllerDelegate* _delegate = nullptr;
    QSize _cardSize{100, 100};
    AnimatedValue _cardOffset{AnimatedValue::Kind::Movement, overshootOffset};
    ScreenBar* _bar = nullptr;
    Observation _frames;
};

}  // namespace zun
