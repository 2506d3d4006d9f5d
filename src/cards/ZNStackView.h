#pragma once

// The pile of up to three visible cards: recognises the swipe that throws the top card away and plays fly-out, skip and restore.
// It holds no reminders; it asks its delegate.
//
// The stack paints its cards itself, back to front, from pictures that the items render once. Only the top item is there as a widget,
// for focus, clicks and assistive technology; it stays at rest while the picture of the card moves.
//
// Two guards: `animating` drops renders while an animated render runs, `shouldRespondToActions` drops actions while a card flies.
//
// Owned by its parent widget. Main thread; deferred blocks do nothing once the stack has gone.

#include <QMargins>
#include <QPointer>
#include <QRegion>
#include <memory>
#include <vector>

#include "cards/CardContext.h"
#include "cards/StackGeometry.h"
#include "cards/SwipeGatherer.h"
#include "cards/ZNStackViewDelegate.h"
#include "toolkit/ZNView.h"

namespace zun {

class CardSkin;
class ZNStackViewItem;

class ZNStackView final : public ZNView, private SwipeSink {
    Q_OBJECT
  public:
    explicit ZNStackView(const CardContext& context, QWidget* parent = nullptr);
    ~ZNStackView() override;

    // Builds five items from the delegate and renders without animation. Null takes the delegate away and hides the cards.
    void onSetDelegate(ZNStackViewDelegate* delegate);

    // Dropped while an animated render runs.
    void renderStackWithAnimation(bool animated);
    void skipTopCard();
    // The block runs when the deck has closed up; it is dropped where a render would be, or if no action is allowed now.
    void completeTopCardWithCompletion(Block completion);
    void snoozeTopCardWithCompletion(Block completion);

    [[nodiscard]] bool animating() const { return _animating; }
    [[nodiscard]] bool shouldRespondToActions() const { return _shouldRespondToActions; }
    [[nodiscard]] unsigned gestureDistance() const { return _recognizer.gestureDistance(); }
    [[nodiscard]] const std::vector<ZNStackViewItem*>& stackViews() const { return _stackViews; }
    [[nodiscard]] StackGeometry geometryNow() const;

    // The part of the widget around the stack proper, where cards may be seen while they fly. The stack's bounds are the widget's
    // without these margins.
    void setOverflow(const QMargins& overflow);
    void setNaturalScrolling(NaturalScrolling natural) { _gatherer.setNaturalScrolling(natural); }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    friend class ZNStackViewItem;
    enum class Skipped { No, Yes };

    void swipeChanged(QPointF delta, DirectionInvertedFromDevice inverted, SwipePower power) override;
    void swipeEnded(SwipePower power) override;
    [[nodiscard]] bool swipesAllowed() const;

    void addViews();
    void renderStack(bool animated, Skipped skipped, Block completion);
    void placeItem(int index, int shown, Skipped skipped, const StackGeometry& geometry, ZNAnimationGroup& group);
    void finishRender(Skipped skipped, const Block& completion);
    void animateTopStackItemWithVerticalOffset(double offset, Block completion);
    void restoreTopCard();
    void updateCardAtIndex(int index, double percentage);
    void throwTopItem();
    void setShouldRespondToActions(bool should);

    [[nodiscard]] QRectF stackBounds() const;
    [[nodiscard]] ZNStackViewItem* topItem() const;
    void placeWidgets();
    void repaintMoved();
    [[nodiscard]] std::vector<ZNStackViewItem*> itemsBackToFront() const;
    bool mouseEvent(QObject* watched, QEvent* event);
    bool touchEvent(QEvent* event);
    // The block, silent once the stack has gone.
    [[nodiscard]] Block guarded(Block block);

    CardContext _context;
    ZNStackViewDelegate* _delegate = nullptr;
    std::vector<ZNStackViewItem*> _stackViews;
    SwipeRecognizer _recognizer;
    SwipeGatherer _gatherer;
    std::unique_ptr<CardSkin> _skin;
    QMargins _overflow;
    bool _animating = false;
    bool _shouldRespondToActions = true;
    QPointer<QWidget> _pressed;
    QRegion _painted;  // where cards were painted last
    std::vector<Observation> _observations;
};

}  // namespace zun
