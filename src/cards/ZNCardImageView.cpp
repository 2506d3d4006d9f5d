#include "cards/ZNCardImageView.h"

#include <QPainter>
#include <cmath>

namespace zun {

ZNCardImageView::ZNCardImageView(Pictures& pictures, const CardTexts& texts, QWidget* parent)
    : ZNView(parent), _pictures(pictures), _texts(texts) {
    setAccessibilityElement(false);
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void ZNCardImageView::onSetReminder(const ReminderPtr& reminder) {
    _pictureName = reminder ? QString::fromStdString(_texts.topicPictureName(*reminder)) : QString();
    update();
}

void ZNCardImageView::paintPicture(QPainter& painter, Pictures& pictures, const QString& name, const QRectF& rect,
                                   double scale) {
    const QPixmap picture = pictures.pixmap(name, rect.size(), scale);
    if (picture.isNull()) return;
    const QSizeF size = picture.deviceIndependentSize();
    const QPointF corner = rect.center() - QPointF(size.width(), size.height()) / 2;
    painter.drawPixmap(QPointF(std::round(corner.x() * scale) / scale, std::round(corner.y() * scale) / scale),
                       picture);
}

void ZNCardImageView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setOpacity(alpha());
    paintPicture(painter, _pictures, _pictureName, rect(), devicePixelRatioF());
}

}  // namespace zun
