#pragma once

// Two segments side by side, one of them selected: notes or checklist. One stop of the tab key; the arrow keys choose.
// Owned by its parent widget. Main thread.

#include <array>

#include "toolkit/ZNView.h"

class QAbstractButton;

namespace zun {

class ZNEditSegmentControl final : public ZNView {
    Q_OBJECT
  public:
    ZNEditSegmentControl(const QString& first, const QString& second, QWidget* parent);

    [[nodiscard]] int selectedSegment() const;
    // Tells of no change.
    void setSelectedSegment(int segment);
    [[nodiscard]] QAbstractButton& segment(int index) const;
    // The one that the tab key stops at.
    [[nodiscard]] QAbstractButton& selectedButton() const { return segment(selectedSegment()); }
    [[nodiscard]] QSize sizeHint() const override;

  signals:
    // The user chose the other one.
    void didChange();

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    std::array<QAbstractButton*, 2> _segments{};
};

}  // namespace zun
