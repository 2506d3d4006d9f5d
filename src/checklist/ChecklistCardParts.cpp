#include "checklist/ChecklistCardParts.h"

#include <QPainter>
#include <algorithm>
#include <cmath>

#include "toolkit/Pictures.h"
#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

constexpr int buttonHeight = 36;
constexpr int buttonPadding = 18;
constexpr int iconSide = 20;
constexpr int iconGap = 8;
constexpr int questionMargin = 16;
constexpr int questionGap = 8;

}  // namespace

// ---- text

ChecklistLabel::ChecklistLabel(const TextStyle& style, QWidget* parent) : ZNView(parent), _style(style) {
    setAccessibilityRole(QAccessible::StaticText);
}

void ChecklistLabel::setText(const QString& text, const QString& spoken) {
    setAccessibilityLabel(spoken);
    if (text == _text) return;
    _text = text;
    _block = TextBlock(_text, _style, width());
    update();
}

void ChecklistLabel::setTextStyle(const TextStyle& style) {
    _style = style;
}

int ChecklistLabel::layOutWithWidth(int width) {
    _style.side = layoutDirection() == Qt::RightToLeft ? Qt::AlignRight : Qt::AlignLeft;
    _block = TextBlock(_text, _style, width);
    setToolTip(_block.isCut() ? _text : QString());
    update();
    return _text.isEmpty() ? 0 : static_cast<int>(_block.height());
}

void ChecklistLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    _block.paint(painter, {0, 0});
}

// ---- complete

ChecklistCompleteButton::ChecklistCompleteButton(Pictures& pictures, const QString& text, QWidget* parent)
    : QPushButton(text, parent), _pictures(pictures) {
    setFont(appFont(13, QFont::DemiBold));
    setAttribute(Qt::WA_Hover);
    setAutoDefault(false);
    hide();
}

void ChecklistCompleteButton::setAlpha(double alpha) {
    _alpha = alpha;
    setVisible(alpha > 0);
    update();
}

QSize ChecklistCompleteButton::sizeHint() const {
    const int word = fontMetrics().horizontalAdvance(text());
    return {word + iconSide + iconGap + 2 * (buttonPadding + FocusRing::room), buttonHeight + 2 * FocusRing::room};
}

void ChecklistCompleteButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setOpacity(_alpha);
    const QRectF face = QRectF(rect()).adjusted(FocusRing::room, FocusRing::room, -FocusRing::room, -FocusRing::room);
    QColor ground = QColor::fromRgba(tokens::selection);
    if (isDown()) {
        ground = ground.darker(100 + static_cast<int>(100 * tokens::pressedDarken));
    } else if (underMouse()) {
        ground = ground.lighter(100 + static_cast<int>(100 * tokens::hoverLighten));
    }
    painter.setPen(Qt::NoPen);
    painter.setBrush(ground);
    painter.drawRoundedRect(face, face.height() / 2, face.height() / 2);
    _ring.paint(painter, *this, face, face.height() / 2);

    const bool isMirrored = layoutDirection() == Qt::RightToLeft;
    const double word = fontMetrics().horizontalAdvance(text());
    const double start = face.left() + std::floor((face.width() - word - iconSide - iconGap) / 2);
    const QRectF icon(isMirrored ? start + word + iconGap : start, face.top() + (face.height() - iconSide) / 2,
                      iconSide, iconSide);
    painter.drawPixmap(icon.topLeft(),
                       _pictures.pixmap(QStringLiteral("acceptIcon"), icon.size(), devicePixelRatioF()));
    painter.setPen(QColor::fromRgba(tokens::groundText));
    painter.drawText(QRectF(isMirrored ? start : icon.right() + iconGap, face.top(), word + 1, face.height()),
                     Qt::AlignVCenter | Qt::AlignLeft | Qt::AlignAbsolute, text());
}

void ChecklistCompleteButton::focusInEvent(QFocusEvent* event) {
    _ring.focusIn(*event);
    QPushButton::focusInEvent(event);
}

// ---- question

CreateCardsQuestion::CreateCardsQuestion(const Texts& texts) : _complete(new ZNPushButton(texts.complete, this)) {
    setAccessibilityRole(QAccessible::AlertMessage);
    setAccessibilityLabel(texts.question);
    TextStyle style;
    style.font = appFont(13);
    style.color = QColor::fromRgba(tokens::dialogText);
    style.lineHeight = tokens::notesLineHeight;
    auto* question = new ChecklistLabel(style, this);
    question->setText(texts.question, texts.question);
    int y = questionMargin;
    const int inner = width - 2 * questionMargin;
    const int textHeight = question->layOutWithWidth(inner);
    question->setGeometry(questionMargin, y, inner, textHeight);
    y += textHeight + questionMargin - FocusRing::room;

    auto* remove = new ZNPushButton(texts.remove, this);
    auto* cancel = new ZNPushButton(texts.cancel, this);
    for (auto* button : {_complete, remove, cancel}) {
        const int height = button->sizeHint().height();
        button->setGeometry(questionMargin - FocusRing::room, y, inner + 2 * FocusRing::room, height);
        y += height + questionGap - 2 * FocusRing::room;
    }
    _height = y + questionMargin - questionGap + FocusRing::room;
    connect(_complete, &QPushButton::clicked, this, &CreateCardsQuestion::completeChosen);
    connect(remove, &QPushButton::clicked, this, &CreateCardsQuestion::removeChosen);
    connect(cancel, &QPushButton::clicked, this, &CreateCardsQuestion::cancelChosen);
}

}  // namespace zun
