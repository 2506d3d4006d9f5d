#pragma once

// The window of the menu bar mode: a rounded piece of the violet ground with an arrow to the item that it hangs from.
// Where nothing composes windows, its corners are cut out instead of being clear. Where a program may not place its
// windows, it is a plain one without an arrow. Main thread.

#include "shell/PanelPlacement.h"
#include "toolkit/ZNView.h"

namespace zun {

class ZNPanel final : public ZNView {
    Q_OBJECT
  public:
    ZNPanel();
    ~ZNPanel() override;

    // Whether the desktop lets it stand where it wants.
    [[nodiscard]] static bool canBePlaced();
    // Fills the panel up to the arrow. The panel owns it from then on.
    void setContent(QWidget* content);
    [[nodiscard]] QRect contentRect() const;
    void place(const PanelPlacement& placement);
    // Moves the arrow's tip.
    void setArrowX(int x);

  signals:
    void resized();
    void closed();
    void resignedKey();

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    [[nodiscard]] QPainterPath outline() const;
    void cutOut();

    QWidget* _content = nullptr;
    PanelPlacement::Arrow _arrow = PanelPlacement::Arrow::None;
    int _arrowX = 0;
};

}  // namespace zun
