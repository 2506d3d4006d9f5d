#pragma once

// The main window: the violet ground, its menu bar above its content, its smallest and its stated size, and the layout
// mode that follows its width. In full screen the menu bar is hidden and its keys go on working. The window
// remembers its place and size between runs. Maximised and tiled count as full screen, so the window manager may make
// it as large as it likes; only the size that is remembered and restored keeps to the stated maximum. Main thread.

#include <filesystem>
#include <optional>

#include "settings/ZNSettingsObject.h"
#include "toolkit/ZNGradientView.h"

class QMenuBar;

namespace zun {

// 0 below 390, 1 below 480, 2 up to and including 980, 3 above.
[[nodiscard]] std::uint64_t layoutModeForWidth(double width);

class ZNWindow final : public ZNGradientView {
    Q_OBJECT
  public:
    static constexpr QSize smallest{400, 450};
    static constexpr QSize largest{980, 720};

    ZNWindow(ZNSettingsObject& settings, std::filesystem::path placeFile);
    ~ZNWindow() override;

    // Fills the window below the menu bar. The window owns both from then on.
    void setContent(QWidget* content);
    void setMenuBar(QMenuBar* menuBar);
    // What the content has, in logical pixels.
    [[nodiscard]] QRect contentRect() const;
    void restorePlace();
    // Unless it is maximised, minimised or in full screen.
    void rememberPlace() const;
    // In the middle of the screen, at this size.
    void centre(QSize size);
    void toggleFullScreen();

    // Whether the mouse holds the ground, by which the window is moved: nothing that lies on it took the press.
    [[nodiscard]] bool isHeldByGround() const { return _heldAt.has_value(); }

  signals:
    void fullScreenChanged(bool isFullScreen);

  protected:
    void resizeEvent(QResizeEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

  private:
    void placeContent();

    ZNSettingsObject& _settings;
    std::filesystem::path _placeFile;
    QWidget* _content = nullptr;
    QMenuBar* _menuBar = nullptr;
    std::optional<QPoint> _heldAt;
};

}  // namespace zun
