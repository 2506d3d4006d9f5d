#pragma once

// A panel with an arrow that points at the control it belongs to. It lies inside the window, over everything else,
// since a compositor may not let a program place windows of its own. Where there is no room on the preferred side, it
// takes another; where no side has room, it covers its control.
//
//   Transient           a press outside closes it and does nothing else; Escape closes it
//   ApplicationDefined  it stays until close(); the window under it can be used; Escape goes to its content
//
// Tab stays inside. When it closes, the focus goes back to where it was. Owned by the window; deletes itself, with its
// content, once it has closed. Main thread.

#include <QPixmap>
#include <QPointer>

#include "toolkit/ZNAnimationGroup.h"
#include "toolkit/ZNBasePopoverViewController.h"
#include "toolkit/ZNView.h"

namespace zun {

class ZNPopover final : public ZNView {
    Q_OBJECT
  public:
    enum class Behavior { Transient, ApplicationDefined };
    enum class Edge { Left, Above, Right, Below };  // of the control

    ZNPopover(ZNAnimationTimeline& animations, ZNBasePopoverViewController* content, Behavior behavior,
              QWidget* window);

    // The size of the content in logical pixels; a change while it is shown is animated.
    void setContentSize(QSize size);
    [[nodiscard]] QSize contentSize() const { return _contentSize; }
    [[nodiscard]] ZNBasePopoverViewController& content() const { return *_content; }

    void showRelativeTo(QWidget& anchor, Edge preferredEdge);
    // A second call does nothing.
    void close();
    [[nodiscard]] bool isClosing() const { return _isClosing; }

    // Where a panel of this size, arrow not included, stands in the window, and on which side.
    struct Place {
        QRect panel;
        Edge edge;
        bool coversAnchor;
        int arrow;  // the arrow's tip along the panel's side, from the panel's left or top
    };
    [[nodiscard]] static Place place(QSize panel, QRect anchor, QRect window, Edge preferredEdge);

  signals:
    // Once, when it starts to go.
    void didClose();

  protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool focusNextPrevChild(bool next) override;
    bool eventFilter(QObject* object, QEvent* event) override;

  private:
    void layOut();
    void showOpacity();
    void render();
    [[nodiscard]] QWidget* firstOrLast(bool first) const;

    ZNAnimationTimeline& _animations;
    ZNBasePopoverViewController* _content;
    Behavior _behavior;
    QSize _contentSize{1, 1};
    QPointer<QWidget> _anchor;
    QPointer<QWidget> _focusBefore;
    Edge _preferredEdge = Edge::Below;
    Place _place{};
    AnimatedValue _shownHeight{AnimatedValue::Kind::Movement, 1};
    AnimatedValue _opacity{AnimatedValue::Kind::Fade, 0};
    Observation _frames;
    QPixmap _skin;
    bool _isClosing = false;
};

}  // namespace zun
