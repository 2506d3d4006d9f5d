#pragma once

// What Qt draws by itself: Fusion, with menus and menu bars that have room, and without the picture files that it would
// read, and with them every picture plug-in it would look for, before the first window is there. Owned by the
// application.

#include <QProxyStyle>

namespace zun {

class ZNStyle final : public QProxyStyle {
    Q_OBJECT
  public:
    ZNStyle() : QProxyStyle(QStringLiteral("fusion")) {}

    int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override;
    QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& contents,
                           const QWidget* widget) const override;
    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override;
    QIcon standardIcon(StandardPixmap icon, const QStyleOption* option, const QWidget* widget) const override;
};

}  // namespace zun
