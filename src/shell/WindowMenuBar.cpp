#include "shell/WindowMenuBar.h"

#include <QKeyEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QStyle>
#include <QStyleOptionMenuItem>

#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

constexpr double radius = 4;
constexpr double openVeil = 0.16;  // of white, under the word whose menu is open

}  // namespace

WindowMenuBar::WindowMenuBar(QWidget* parent) : QMenuBar(parent) {
    setFont(appFont(13));
    QPalette light = palette();
    // The arrow to what has no room is drawn by the style.
    for (const auto role : {QPalette::ButtonText, QPalette::WindowText, QPalette::Text})
        light.setColor(role, QColor::fromRgba(tokens::groundText));
    setPalette(light);
}

// The base class has this filter on its window for the same key.
bool WindowMenuBar::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::ShortcutOverride || event->type() == QEvent::KeyPress) {
        setShowsLetters(static_cast<QKeyEvent*>(event)->key() == Qt::Key_Alt);
    } else if (event->type() == QEvent::KeyRelease || event->type() == QEvent::WindowDeactivate) {
        setShowsLetters(false);
    }
    return QMenuBar::eventFilter(watched, event);
}

void WindowMenuBar::setShowsLetters(bool shows) {
    if (shows == _showsLetters) return;
    _showsLetters = shows;
    update();
}

void WindowMenuBar::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    // One band with the toolbar below it.
    painter.fillRect(event->rect(), QColor::fromRgba(tokens::toolbarGround));
    painter.setRenderHint(QPainter::Antialiasing);
    for (auto* item : actions()) {
        const QRect place = actionGeometry(item);
        if (place.isEmpty() || !event->rect().intersects(place)) continue;
        QStyleOptionMenuItem option;
        initStyleOption(&option, item);
        const bool isOpen = option.state & QStyle::State_Sunken;
        if (isOpen || (option.state & QStyle::State_Selected)) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(QColor::fromRgbF(1, 1, 1, static_cast<float>(isOpen ? openVeil : openVeil * 0.6)));
            painter.drawRoundedRect(QRectF(place).adjusted(1, 2, -1, -2), radius, radius);
        }
        painter.setPen(QColor::fromRgba(tokens::groundText));
        painter.setOpacity(item->isEnabled() ? 1 : tokens::disabledAlpha);
        painter.drawText(place,
                         Qt::AlignCenter | Qt::TextSingleLine |
                             (_showsLetters || hasFocus() ? Qt::TextShowMnemonic : Qt::TextHideMnemonic),
                         item->text());
        painter.setOpacity(1);
    }
}

}  // namespace zun
