#include "toolkit/ZNStyle.h"

#include <QGuiApplication>
#include <QIconEngine>
#include <QMenu>
#include <QMenuBar>
#include <QPainter>
#include <QPainterPath>
#include <QStyleOptionMenuItem>
#include <algorithm>

#include "toolkit/Tokens.h"

namespace zun {
namespace {

constexpr int menuBarSideMargin = 4;
constexpr int menuBarEdgeMargin = 3;
constexpr int menuEdgeMargin = 4;
constexpr int menuItemHeight = 28;

// Two chevrons: there is more than has room.
class MoreIcon final : public QIconEngine {
  public:
    void paint(QPainter* painter, const QRect& rect, QIcon::Mode, QIcon::State) override {
        const QRectF box = QRectF(rect).adjusted(rect.width() * 0.25, rect.height() * 0.25, -rect.width() * 0.25,
                                                 -rect.height() * 0.25);
        const bool isMirrored = QGuiApplication::layoutDirection() == Qt::RightToLeft;
        const auto at = [&](double x, double y) {
            return QPointF(isMirrored ? box.right() - x * box.width() : box.left() + x * box.width(),
                           box.top() + y * box.height());
        };
        QPainterPath path;
        for (const double left : {0.0, 0.5}) {
            path.moveTo(at(left, 0));
            path.lineTo(at(left + 0.5, 0.5));
            path.lineTo(at(left, 1));
        }
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(QPen(QColor::fromRgba(tokens::groundText), 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter->drawPath(path);
        painter->restore();
    }
    QIconEngine* clone() const override { return new MoreIcon; }
};

}  // namespace

int ZNStyle::pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const {
    if (metric == PM_MenuBarHMargin && qobject_cast<const QMenuBar*>(widget)) return menuBarSideMargin;
    if (metric == PM_MenuBarVMargin && qobject_cast<const QMenuBar*>(widget)) return menuBarEdgeMargin;
    if (metric == PM_MenuVMargin) return menuEdgeMargin;
    return QProxyStyle::pixelMetric(metric, option, widget);
}

QSize ZNStyle::sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& contents,
                                const QWidget* widget) const {
    QSize size = QProxyStyle::sizeFromContents(type, option, contents, widget);
    const auto* item = qstyleoption_cast<const QStyleOptionMenuItem*>(option);
    if (type == CT_MenuItem && item && item->menuItemType != QStyleOptionMenuItem::Separator)
        size.setHeight(std::max(size.height(), menuItemHeight));
    return size;
}

void ZNStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                            const QWidget* widget) const {
    if (element == PE_FrameMenu) return;  // the panel has its edge
    if (element != PE_PanelMenu) {
        QProxyStyle::drawPrimitive(element, option, painter, widget);
        return;
    }
    painter->save();
    painter->setPen(QPen(QColor::fromRgba(tokens::settingsOutline), 1));
    // The items of pop-up buttons fill their rows with the window's colour.
    painter->setBrush(qobject_cast<const QMenu*>(widget) ? option->palette.base() : option->palette.window());
    painter->drawRect(QRectF(option->rect).adjusted(0.5, 0.5, -0.5, -0.5));
    painter->restore();
}

QIcon ZNStyle::standardIcon(StandardPixmap icon, const QStyleOption* option, const QWidget* widget) const {
    if (icon == SP_ToolBarHorizontalExtensionButton) return QIcon(new MoreIcon);
    return QProxyStyle::standardIcon(icon, option, widget);
}

}  // namespace zun
