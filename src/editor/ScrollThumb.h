#pragma once

// A slender mark at the edge of what scrolls, there only while there is something to scroll to. It lies over its area,
// takes no room from it and no clicks. Owned by its area. Main thread.

#include <QWidget>

class QScrollArea;

namespace zun {

class ScrollThumb final : public QWidget {
    Q_OBJECT
  public:
    explicit ScrollThumb(QScrollArea& area);

  protected:
    void paintEvent(QPaintEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void follow();

    QScrollArea& _area;
};

}  // namespace zun
