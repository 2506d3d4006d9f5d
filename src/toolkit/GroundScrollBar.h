#pragma once

// A slim scroll bar: a thumb and nothing else, stronger under the pointer. Owned by its parent
// widget. Main thread.

#include <QScrollBar>

namespace zun {

class GroundScrollBar final : public QScrollBar {
    Q_OBJECT
  public:
    static constexpr int thickness = 10;

    enum class On { Ground, Panel };  // light on the dark ground, dark on a light panel
    GroundScrollBar(On on, QWidget* parent);

    // Shows and moves what the other bar, which stays off, scrolls; there only while there is something to scroll to.
    // So it can lie wherever its owner wants it, without taking room from what is scrolled. The other must live as
    // long.
    void standFor(QScrollBar& figures);
    // Takes up the other's figures again, for an owner that hid this bar.
    void follow();
    [[nodiscard]] QSize sizeHint() const override { return {thickness, 3 * thickness}; }
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    On _on;
    const QScrollBar* _figures = nullptr;
};

}  // namespace zun
