#pragma once

// The pile of up to three visible cards: recognises the swipe that throws the top card away and plays fly-out, skip and
// restore. It holds no reminders; it asks its delegate.
//
// The stack paints its cards itself, back to front, from pictures that the items render once. Only the top item is
// there as a widget, for focus, clicks and assistive technology; it stays at rest while the picture of the card moves,
// and is away while a card flies, so that nobody finds buttons that would not answer.
//
// Two guards: `animating` drops renders while an animated render runs, `shouldRespondToActions` drops actions while a
// card flies.
//
// Owned by its parent widget. Main thread; deferred blocks do nothing once the stack has gone.

#include <QMargins>
#include <QPixmap>
#include <QPointer>
#include <map>
#include <memory>
#include <vector>

#include "cards/CardContext.h"
#include "cards/StackGeometry.h"
#include "cards/SwipeGatherer.h"
#include "cards/ZNStackViewDelegate.h"
#include "toolkit/ZNView.h"

class QMouseEvent;
class QTouchEvent;

namespace zun {

class CardSkin;
class ZNButton;
class ZNStackViewItem;

class ZNStackView final : public ZNView, private SwipeSink {
    Q_OBJECT
  public:
    explicit ZNStackView(const CardContext& context, QWidget* parent = nullptr);
    ~ZNStackView() override;

    // Builds five items from the delegate and renders without animation. Null takes the delegate away and hides the
    // cards.
    void onSetDelegate(ZNStackViewDelegate* delegate);

    // Dropped while an animated render runs.
    void renderStackWithAnimation(bool animated);
    void skipTopCard();
    // The block runs when the deck has closed up; it is dropped where a render would be, or if no action is allowed
    // now.
    void completeTopCardWithCompletion(Block completion);
    void snoozeTopCardWithCompletion(Block completion);

    [[nodiscard]] bool animating() const { return _animating; }
    [[nodiscard]] bool shouldRespondToActions() const { return _shouldRespondToActions; }
    [[nodiscard]] unsigned gestureDistance() const { return _recognizer.gestureDistance(); }
    [[nodiscard]] const std::vector<ZNStackViewItem*>& stackViews() const { return _stackViews; }
    [[nodiscard]] StackGeometry geometryNow() const;

    // The part of the widget around the stack proper, where cards may be seen while they fly. The stack's bounds are
    // the widget's without these margins.
    void setOverflow(const QMargins& overflow);
    void setNaturalScrolling(NaturalScrolling natural) { _gatherer.setNaturalScrolling(natural); }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    // The focus is not shown on the stack itself, so that it need not be painted anew, which it is by default.
    void focusInEvent(QFocusEvent*) override {}
    void focusOutEvent(QFocusEvent*) override {}
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    enum class Skipped { No, Yes };

    void swipeChanged(QPointF delta, DirectionInvertedFromDevice inverted, SwipePower power) override;
    void swipeEnded(SwipePower power) override;
    void swipeAbandoned() override;
    [[nodiscard]] bool swipesAllowed() const;
    void showSwipe();
    void goOnWithSwipe(const ReminderPtr& swiped);

    // Answers whether it was dropped.
    enum class Rendered { Yes, Dropped };
    void addViews();
    Rendered renderStack(bool animated, Skipped skipped, Block completion);
    void placeItem(int index, int shown, bool animated, Skipped skipped, const StackGeometry& geometry,
                   ZNAnimationGroup& group);
    void finishRender(Skipped skipped, const Block& completion);
    void animateTopStackItemWithVerticalOffset(double offset, Block completion);
    void restoreTopCard();
    [[nodiscard]] ZNStackViewItem& throwTopItem();
    void allowActions(bool allowed);
    [[nodiscard]] bool movesThings() const { return _context.animations.animations() != Animations::Reduced; }

    [[nodiscard]] QRectF stackBounds() const;
    [[nodiscard]] ZNStackViewItem* topItem() const { return _stackViews.empty() ? nullptr : _stackViews.front(); }
    [[nodiscard]] QRectF shownRect(const ZNStackViewItem& item) const;
    void placeTopWidget();
    void watchControls(ZNStackViewItem& item);

    // What of an item is on the screen.
    struct Painted {
        QRectF card;
        double alpha = 0;
        double tilt = 0;
        int z = 0;
        bool operator==(const Painted&) const = default;
    };
    [[nodiscard]] Painted appearance(const ZNStackViewItem& item) const;
    [[nodiscard]] static QRect touched(const Painted& painted);
    void repaintMoved();
    void repaintItem(ZNStackViewItem& item);
    void paintCards(QPainter& painter, const QRect& rect);
    void paintItem(QPainter& painter, ZNStackViewItem& item, const Painted& painted, double scale);
    void paintLeaning(QPainter& painter, ZNStackViewItem& item, const Painted& painted, double scale);
    void paintGlows(QPainter& painter, const ZNStackViewItem& item, double scale);
    [[nodiscard]] std::vector<ZNStackViewItem*> itemsBackToFront() const;
    void renderPicturesSoon();

    bool filterMouse(QWidget& watched, QMouseEvent& event);
    // A press of the snooze button that is held becomes a request for its menu.
    void startHold(QWidget& pressed, QPointF globalPosition);
    void holdElapsed(ZNButton& button, QPointF globalPosition);
    bool touchEvent(QTouchEvent& event);

    CardContext _context;
    ZNStackViewDelegate* _delegate = nullptr;
    std::vector<ZNStackViewItem*> _stackViews;
    SwipeRecognizer _recognizer;
    SwipeGatherer _gatherer;
    std::unique_ptr<CardSkin> _skin;
    QMargins _overflow;
    bool _animating = false;
    bool _shouldRespondToActions = true;
    bool _isThrowing = false;        // a card flies, and no top widget is there
    unsigned _actions = 0;           // counts what an older restore must not undo
    bool _renderWasDropped = false;  // by a resize while an animated render ran
    bool _rendersSoon = false;
    int _focusedControl = -1;
    QPointer<ZNButton> _pressed;
    bool _mouseDrags = false;
    NSTimer _hold;
    std::map<const ZNStackViewItem*, Painted> _painted;
    // The one card that leans, shadow and all.
    struct Leaning {
        const ZNStackViewItem* item = nullptr;
        qint64 picture = 0;
        QPixmap pixmap;
    };
    Leaning _leaning;
    std::vector<Observation> _observations;
};

}  // namespace zun
