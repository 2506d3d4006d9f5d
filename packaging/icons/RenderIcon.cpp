// Renders the application's icon for desktops that do not scale drawings: zun_render_icon DRAWING SIDE OUTPUT.

#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>
#include <cstdio>

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    const int side = arguments.value(2).toInt();
    QSvgRenderer drawing(arguments.value(1));
    if (arguments.size() != 4 || side <= 0 || !drawing.isValid()) {
        std::fprintf(stderr, "zun_render_icon: cannot render %s\n", qPrintable(arguments.value(1)));
        return 1;
    }
    QImage image(side, side, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    drawing.render(&painter, QRectF(0, 0, side, side));
    painter.end();
    if (!image.save(arguments.value(3), "PNG")) {
        std::fprintf(stderr, "zun_render_icon: cannot write %s\n", qPrintable(arguments.value(3)));
        return 1;
    }
    return 0;
}
