#include "editor/SuggestionChip.h"

#include <QAccessible>
#include <QKeySequence>
#include <QPainter>
#include <QStyle>

#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

constexpr int padding = 12;
constexpr int keyGap = 10;
constexpr int keySize = 11;
constexpr int roundingRoom = 4;  // widths of words are fractions

}  // namespace

SuggestionChip::SuggestionChip(const LocalizedStrings& strings, QWidget* parent)
    : QPushButton(parent), _strings(strings) {
    setFocusPolicy(Qt::NoFocus);
    setAttribute(Qt::WA_Hover);
    setFont(appFont(13, QFont::Medium));
    setToolTip(QString::fromStdString(strings.string("Editor_Suggestion_Tooltip")));
    hide();
}

QString SuggestionChip::key() {
    return QKeySequence(Qt::CTRL | Qt::Key_Return).toString(QKeySequence::NativeText);
}

void SuggestionChip::offer(const QString& suggestion) {
    const bool isNews = suggestion != _suggestion || isHidden();
    _suggestion = suggestion;
    setAccessibleName(QString::fromStdString(
        stringWithFormat(_strings.string("Editor_Suggestion_Accessibility_Format"), {suggestion.toStdString()})));
    show();
    updateGeometry();
    update();
    if (!isNews) return;
    QAccessibleEvent alert(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

QSize SuggestionChip::sizeHint() const {
    const int words = fontMetrics().horizontalAdvance(_suggestion);
    const int keys = QFontMetrics(appFont(keySize)).horizontalAdvance(key());
    return {words + keyGap + keys + 2 * padding + roundingRoom, chipHeight};
}

void SuggestionChip::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor ground = QColor::fromRgba(tokens::editorChipGround);
    if (isDown()) {
        ground = ground.darker(100 + static_cast<int>(100 * tokens::pressedDarken));
    } else if (underMouse()) {
        ground = ground.darker(100 + static_cast<int>(50 * tokens::hoverLighten));
    }
    painter.setPen(QPen(QColor::fromRgba(tokens::focusRing), 1));
    painter.setBrush(ground);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), height() / 2.0, height() / 2.0);

    const QFont keyFont = appFont(keySize);
    const int keyWidth = QFontMetrics(keyFont).horizontalAdvance(key()) + 1;
    const QRect inner = rect().adjusted(padding, 0, -padding, 0);
    const QRect words(inner.left(), 0, inner.width() - keyGap - keyWidth, height());
    const QRect keys(inner.right() + 1 - keyWidth, 0, keyWidth, height());
    painter.setPen(QColor::fromRgba(tokens::editorChipText));
    painter.drawText(QStyle::visualRect(layoutDirection(), inner, words),
                     static_cast<int>(Qt::AlignVCenter | Qt::AlignLeading),
                     fontMetrics().elidedText(_suggestion, Qt::ElideRight, words.width()));
    painter.setFont(keyFont);
    painter.setPen(QColor::fromRgba(tokens::editorChipText));
    painter.drawText(QStyle::visualRect(layoutDirection(), inner, keys), Qt::AlignCenter, key());
}

}  // namespace zun
