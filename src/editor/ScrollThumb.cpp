#include "editor/ScrollThumb.h"

#include <QEvent>
#include <QPainter>
#include <QScrollArea>
#include <QScrollBar>
#include <algorithm>

#include "toolkit/Tokens.h"

namespace zun {
namespace {

constexpr int thumbWidth = 4;
constexpr int edge = 3;
constexpr int shortest = 28;

}  // namespace

ScrollThumb::ScrollThumb(QScrollArea& area) : QWidget(&area), _area(area) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    area.installEventFilter(this);
    connect(area.verticalScrollBar(), &QScrollBar::valueChanged, this, [this] { follow(); });
    connect(area.verticalScrollBar(), &QScrollBar::rangeChanged, this, [this] { follow(); });
    follow();
}

void ScrollThumb::follow() {
    const QScrollBar& bar = *_area.verticalScrollBar();
    const int range = bar.maximum() - bar.minimum();
    setVisible(range > 0);
    if (range <= 0) return;
    const int track = _area.height() - 2 * edge;
    const int whole = range + bar.pageStep();
    const int length = std::min(track, std::max(shortest, track * bar.pageStep() / whole));
    const int top =
        edge + static_cast<int>(static_cast<double>(track - length) * (bar.value() - bar.minimum()) / range);
    const bool isMirrored = layoutDirection() == Qt::RightToLeft;
    setGeometry(isMirrored ? edge : _area.width() - edge - thumbWidth, top, thumbWidth, length);
    raise();
}

bool ScrollThumb::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Resize) follow();
    return QWidget::eventFilter(watched, event);
}

void ScrollThumb::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromRgba(tokens::editorSwitchOff));
    painter.drawRoundedRect(rect(), thumbWidth / 2.0, thumbWidth / 2.0);
}

}  // namespace zun
