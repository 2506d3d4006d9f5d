#pragma once

// A slim scroll bar for the ground: a thumb and nothing else. Owned by its parent widget. Main thread.

#include <QScrollBar>

namespace zun {

class GroundScrollBar final : public QScrollBar {
    Q_OBJECT
  public:
    static constexpr int thickness = 10;

    explicit GroundScrollBar(QWidget* parent);
    [[nodiscard]] QSize sizeHint() const override { return {thickness, 3 * thickness}; }
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    void paintEvent(QPaintEvent* event) override;
};

}  // namespace zun
