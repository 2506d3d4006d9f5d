#include "cards/ZNZeroStateView.h"

#include <QPainter>
#include <QTextLayout>
#include <cmath>

#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

using std::chrono::milliseconds;

constexpr QSizeF pictureSize{240, 176};
constexpr int pictureTop = 56;
constexpr int titleTop = 252;
constexpr int subtitleTop = 284;
constexpr int textMargin = 16;

// Lays the text out centred, in lines of about equal length: a last line of one word looks lost.
void layOutBalanced(QTextLayout& layout, double width, double lineHeight) {
    const auto layOut = [&](double lineWidth) {
        double y = 0;
        layout.beginLayout();
        for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
            line.setLineWidth(lineWidth);
            line.setPosition({(width - line.naturalTextWidth()) / 2, y + (lineHeight - line.height()) / 2});
            y += lineHeight;
        }
        layout.endLayout();
        return layout.lineCount();
    };
    const int fewest = layOut(width);
    double narrow = 0;
    double wide = width;
    while (fewest > 1 && wide - narrow > 1) {
        const double middle = (narrow + wide) / 2;
        (layOut(middle) > fewest ? narrow : wide) = middle;
    }
    layOut(wide);
}

}  // namespace

ZNZeroStateView::ZNZeroStateView(const CardContext& context, QWidget* parent)
    : ZNView(parent),
      _context(context),
      _title(QString::fromStdString(context.texts.text("Zero_State_Label"))),
      _subtitle(QString::fromStdString(context.texts.text("Zero_State_Mac_Subtitle"))) {
    setFixedSize(size);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAccessibilityRole(QAccessible::StaticText);
    setAccessibilityLabel(QString("%1, %2").arg(
        QString::fromStdString(context.texts.text("Zero_State_Accessibility_Title_Label")),
        QString::fromStdString(context.texts.text("Zero_State_Accessibility_Subtitle_Mac_Label"))));
    _frames = _context.animations.observeFrames([this] {
        if (isVisible()) update();
    });
    hide();
}

void ZNZeroStateView::animateIn() {
    show();
    if (std::exchange(_isIn, true)) return;
    const auto reveal = [this](milliseconds delay, milliseconds duration, AnimatedValue ZNZeroStateView::*value) {
        QPointer<ZNZeroStateView> self(this);
        _context.animations.after(delay, [self, duration, value] {
            if (!self || !self->_isIn) return;
            self->_context.animations.runGroup(duration, Easing::Out,
                                               [&](ZNAnimationGroup& group) { group.set((*self).*value, 1); });
            self->update();
        });
    };
    reveal(milliseconds(100), milliseconds(400), &ZNZeroStateView::_pictureAlpha);
    reveal(milliseconds(200), milliseconds(600), &ZNZeroStateView::_textAlpha);
}

void ZNZeroStateView::conceal() {
    hide();
    _isIn = false;
    _pictureAlpha.jump(0);
    _textAlpha.jump(0);
}

void ZNZeroStateView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setOpacity(_pictureAlpha.shown());
    const auto picture = _context.pictures.pixmap("zeroState", pictureSize, devicePixelRatioF());
    const auto pictureWidth = picture.deviceIndependentSize().width();
    painter.drawPixmap(QPointF((width() - pictureWidth) / 2, pictureTop), picture);

    painter.setOpacity(_textAlpha.shown());
    const auto paintText = [&](int top, const QString& text, const QFont& font, double lineHeight, QRgb colour) {
        QTextLayout layout(QString(text).replace(u'\n', QChar(QChar::LineSeparator)), font);
        QTextOption option;
        option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
        layout.setTextOption(option);
        layOutBalanced(layout, width() - 2 * textMargin, std::ceil(font.pixelSize() * lineHeight));
        painter.setPen(QColor::fromRgba(colour));
        layout.draw(&painter, QPointF(textMargin, top));
    };
    paintText(titleTop, _title, appFontWithSizeStyle(SizeStyle::LargeText, 1, QFont::DemiBold), tokens::titleLineHeight,
              tokens::groundTextTertiary);
    paintText(subtitleTop, _subtitle, appFontWithSizeStyle(SizeStyle::Paragraph, 4), tokens::notesLineHeight,
              tokens::groundTextSecondary);
}

}  // namespace zun
