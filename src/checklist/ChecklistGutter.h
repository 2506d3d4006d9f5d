#pragma once

// The column of check buttons beside the text: ZNCheckButtons as it were, 20 by 20, one for each item, but drawn rather
// than being a widget each, since a list may have any length. Assistive technology finds each as a check box with its
// item's text as name and an action that toggles it.
//
// Owned by its checklist view. Main thread.

#include <QWidget>

#include "checklist/ZNChecklistTextView.h"

namespace zun {

class ChecklistGutter final : public QWidget {
    Q_OBJECT
  public:
    static constexpr int buttonSide = 20;

    ChecklistGutter(ZNChecklistTextView& view, ChecklistLayout& layout, Pictures& pictures);
    ~ChecklistGutter() override;

    [[nodiscard]] int buttonCount() const;
    // The button of an item, in this widget's coordinates.
    [[nodiscard]] QRect buttonRect(int line) const;
    // The item whose button is at this point, or -1.
    [[nodiscard]] int buttonAt(QPoint point) const;
    [[nodiscard]] ZNChecklistTextView& view() const { return _view; }

    // Tells assistive technology.
    void announceCheck(int line);
    void announceButtons();

  signals:
    void clicked(int line);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;

  private:
    void hover(int line);

    ZNChecklistTextView& _view;
    ChecklistLayout& _layout;
    Pictures& _pictures;
    int _hovered = -1;
    int _pressed = -1;
};

}  // namespace zun
