#pragma once

// A small window beside the main one: of one size, with a title, to be closed and miniaturised, in the middle of the
// main screen. Its ground reaches up to the title and moves it; Escape and Ctrl+W close it. Owned by whoever made it,
// also after it was closed. Main thread.

#include <optional>

#include "toolkit/ZNView.h"

namespace zun {

class FixedWindow : public ZNView {
    Q_OBJECT
  public:
    FixedWindow(const QString& title, QSize size, QRgb ground);

  signals:
    // The user or the program closes it; it is still there.
    void willClose();

  protected:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

  private:
    bool _wasShown = false;
    std::optional<QPoint> _heldAt;
};

}  // namespace zun
