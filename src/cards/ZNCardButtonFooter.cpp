#include "cards/ZNCardButtonFooter.h"

#include <QPainter>
#include <array>
#include <cmath>

#include "cards/StackGeometry.h"
#include "toolkit/Pictures.h"
#include "toolkit/Tokens.h"

namespace zun {

namespace {

const std::array<QString, 3>& iconNames() {
    static const std::array<QString, 3> names{QStringLiteral("acceptIcon"), QStringLiteral("snoozeIcon"),
                                              QStringLiteral("skipIcon")};
    return names;
}

}  // namespace

ZNCardButtonFooter::ZNCardButtonFooter(Pictures& pictures, QWidget* parent) : ZNView(parent) {
    setAccessibilityElement(false);
    std::array<ZNButton*, 3> made{};
    for (std::size_t i = 0; i < made.size(); ++i) {
        made[i] = new ZNButton(pictures, ZNButton::Shape::Bare, this);
        made[i]->setIconNamed(iconNames()[i], static_cast<int>(CardMeasures::footerIconSide));
        made[i]->setGround(tokens::cardFooter);
        made[i]->setIconAlpha(tokens::footerIconAlpha);
        made[i]->setFace(ZNButton::Face::Parents);
    }
    _completeButton = made[0];
    _snoozeButton = made[1];
    _skipButton = made[2];
}

QRectF ZNCardButtonFooter::buttonRect(const QRectF& footer, int button) {
    const double width = footer.width() * CardMeasures::buttonWidthShare;
    // A third each is a hundredth short; the middle button stays in the middle.
    const double left = button == 0 ? 0 : button == 1 ? (footer.width() - width) / 2 : footer.width() - width;
    return {footer.left() + left, footer.top(), width, footer.height()};
}

void ZNCardButtonFooter::paintFooter(QPainter& painter, const QRectF& rect, Pictures& pictures, double scale) {
    painter.fillRect(rect, QColor::fromRgba(tokens::cardFooter));
    const double dividerHeight = rect.height() * CardMeasures::dividerHeightShare;
    for (const int button : {0, 1}) {
        const double between = (buttonRect(rect, button).right() + buttonRect(rect, button + 1).left()) / 2;
        const QRectF divider(std::round(between), std::round(rect.center().y() - dividerHeight / 2), 1,
                             std::round(dividerHeight));
        painter.fillRect(divider, QColor::fromRgba(tokens::cardDivider));
    }
    const double opacity = painter.opacity();
    painter.setOpacity(opacity * tokens::footerIconAlpha);
    for (const int button : {0, 1, 2}) {
        const QSizeF side(CardMeasures::footerIconSide, CardMeasures::footerIconSide);
        const QPixmap icon = pictures.pixmap(iconNames()[static_cast<std::size_t>(button)], side, scale);
        const QPointF corner = buttonRect(rect, button).center() - QPointF(side.width(), side.height()) / 2;
        painter.drawPixmap(QPointF(std::round(corner.x() * scale) / scale, std::round(corner.y() * scale) / scale),
                           icon);
    }
    painter.setOpacity(opacity);
}

void ZNCardButtonFooter::resizeEvent(QResizeEvent*) {
    const std::array<ZNButton*, 3> buttons{_completeButton, _snoozeButton, _skipButton};
    for (int i = 0; i < 3; ++i)
        buttons[static_cast<std::size_t>(i)]->setGeometry(buttonRect(rect(), i).toRect());
}

}  // namespace zun
