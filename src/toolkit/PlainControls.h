#pragma once

// Plain controls in our look, on light ground: real check boxes, pop-up buttons, push buttons and toolbar items, so
// that keys, right-to-left order and assistive technology work as everywhere, painted by us. A focus that a key brought
// shows a ring. Owned by their parent widget. Main thread.

#include <QCheckBox>
#include <QComboBox>
#include <QPushButton>
#include <QToolButton>

namespace zun {

class Pictures;

// Whether the ring is to be seen, and the ring.
class FocusRing {
  public:
    void focusIn(const QFocusEvent& event);
    // Around a rounded rectangle of this widget; around it there must be room for `room` points.
    void paint(QPainter& painter, const QWidget& widget, const QRectF& shape, double radius) const;

    static constexpr int room = 3;

  private:
    bool _shows = false;
};

class ZNCheckBox final : public QCheckBox {
    Q_OBJECT
  public:
    explicit ZNCheckBox(const QString& text, QWidget* parent);
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    [[nodiscard]] bool hitButton(const QPoint& position) const override { return rect().contains(position); }

  private:
    FocusRing _ring;
};

// Its list opens by a click or by keys. The wheel only scrolls what is around it: it would change a choice unnoticed.
class ZNPopUpButton final : public QComboBox {
    Q_OBJECT
  public:
    explicit ZNPopUpButton(QWidget* parent);
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

  private:
    FocusRing _ring;
};

class ZNPushButton final : public QPushButton {
    Q_OBJECT
  public:
    explicit ZNPushButton(const QString& text, QWidget* parent = nullptr);
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;

  private:
    FocusRing _ring;
};

// An icon over its label. Those of one parent exclude each other.
class ZNToolbarItem final : public QToolButton {
    Q_OBJECT
  public:
    // The identifier becomes the object's name.
    ZNToolbarItem(const QString& identifier, Pictures& pictures, QWidget* parent);
    void setIconNamed(const QString& name) { _iconName = name; }
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;

  private:
    Pictures& _pictures;
    QString _iconName;
    FocusRing _ring;
};

}  // namespace zun
