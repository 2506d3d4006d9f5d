#pragma once

// The base of every widget of ours: a name and a role for assistive technology, and an alpha that its own painting
// honours. Owned by its parent widget. Main thread.

#include <QAccessible>
#include <QWidget>

namespace zun {

// Lets assistive technology see our widgets; done by the first of them.
void installAccessibility();

class ZNView : public QWidget {
    Q_OBJECT
  public:
    explicit ZNView(QWidget* parent = nullptr);

    void setAccessibilityRole(QAccessible::Role role);
    [[nodiscard]] QAccessible::Role accessibilityRole() const { return _role; }
    // Sets the accessible name and tells assistive technology if it changed.
    void setAccessibilityLabel(const QString& label);
    // False takes the view (not its children) out of what assistive technology reads.
    void setAccessibilityElement(bool isElement);
    [[nodiscard]] bool isAccessibilityElement() const { return _isElement; }

    // 0 to 1. Subclasses paint with it; children have their own.
    [[nodiscard]] double alpha() const { return _alpha; }
    void setAlpha(double alpha);

  private:
    QAccessible::Role _role = QAccessible::Client;
    bool _isElement = true;
    double _alpha = 1;
};

// A one-line text that is only heard: it lies over text that its parent paints, so that assistive technology finds it
// there.
class ZNSpokenText final : public ZNView {
    Q_OBJECT
  public:
    explicit ZNSpokenText(QWidget* parent);
};

}  // namespace zun
