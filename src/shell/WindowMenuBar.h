#pragma once

// The main window's menu bar: light words on the window's own ground, their letters underlined while Alt is held. Where
// the desktop shows menus in a place of its own, it has them and this bar takes no room. Owned by its parent. Main
// thread.

#include <QMenuBar>

namespace zun {

class WindowMenuBar final : public QMenuBar {
    Q_OBJECT
  public:
    explicit WindowMenuBar(QWidget* parent);

  protected:
    void paintEvent(QPaintEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void setShowsLetters(bool shows);

    bool _showsLetters = false;
};

}  // namespace zun
