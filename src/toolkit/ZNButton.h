#pragma once

// A button with an icon of ours. Hover lightens it, pressing darkens it, a key that brings the focus draws a ring. The
// left button or a key clicks; the right button or the menu key gives rightClicked().
//
// A button whose face is painted by its parent, for instance inside the picture of a card, paints only its states over
// it.
//
// Owned by its parent widget. Main thread.

#include <QAbstractButton>
#include <QAccessible>
#include <QString>

namespace zun {

class Pictures;

class ZNButton : public QAbstractButton {
    Q_OBJECT
  public:
    enum class Shape {
        Bare,   // no ground: the icon alone, states fill the whole rectangle
        Round,  // a disc as large as the face
        Text,   // no face at all; for areas of text that act like buttons
    };
    enum class Face { Own, Parents };

    ZNButton(Pictures& pictures, Shape shape, QWidget* parent = nullptr);

    // The icon's name and its side in logical pixels.
    void setIconNamed(const QString& name, int side);
    [[nodiscard]] bool hasIcon() const { return !_iconName.isEmpty(); }
    void setGround(QRgb ground);
    void setIconAlpha(double alpha);
    void setFace(Face face);
    // Whether states are drawn, for a button whose face is moving elsewhere.
    void setShowsStates(bool shows);
    // Name and tooltip in one; the tooltip may be empty.
    void setTexts(const QString& accessibilityLabel, const QString& tooltip);
    void setAccessibilityElement(bool isElement);
    [[nodiscard]] bool isAccessibilityElement() const { return _isElement; }
    void setAccessibilityRole(QAccessible::Role role) { _role = role; }
    [[nodiscard]] QAccessible::Role accessibilityRole() const { return _role; }

    // Whether anybody waits for rightClicked(), and the same for those who have no right button.
    [[nodiscard]] bool offersMenu() const;
    void requestMenu();

    // The rectangle of the visible face; around it there is room for the ring.
    [[nodiscard]] QRectF faceRect() const;
    // Paints the face at rest into a rectangle of another device, e.g. the picture of a card.
    void paintFace(QPainter& painter, const QRectF& rect, double scale) const;
    [[nodiscard]] QSize sizeHint() const override;

    // What a round button needs around its face for the ring.
    static constexpr int ringMargin = 3;

  signals:
    void rightClicked(QPoint globalPosition);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

  private:
    void paintStates(QPainter& painter);
    [[nodiscard]] bool hasLightGround() const;

    Pictures& _pictures;
    Shape _shape;
    Face _face = Face::Own;
    QString _iconName;
    int _iconSide = 24;
    QRgb _ground = 0;
    double _iconAlpha = 1;
    QAccessible::Role _role = QAccessible::PushButton;
    bool _isElement = true;
    bool _showsStates = true;
    bool _showsRing = false;
    bool _rightPressed = false;
};

}  // namespace zun
