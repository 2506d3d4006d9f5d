#include "cards/ZNZeroStateView.h"

#include <QPainter>

#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

using std::chrono::milliseconds;

constexpr QSizeF pictureSize{240, 176};
constexpr int pictureTop = 56;
constexpr int titleTop = 252;
constexpr int subtitleTop = 286;

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
    const auto line = [&](int top, const QString& text, const QFont& font, QRgb colour) {
        painter.setFont(font);
        painter.setPen(QColor::fromRgba(colour));
        painter.drawText(QRect(0, top, width(), 60), Qt::AlignHCenter | Qt::AlignTop | Qt::TextWordWrap, text);
    };
    // The title is the word that matters here, so it takes the lighter of the two stated tints.
    line(titleTop, _title, appFontWithSizeStyle(SizeStyle::LargeText, 1, QFont::DemiBold), tokens::groundTextSecondary);
    line(subtitleTop, _subtitle, appFontWithSizeStyle(SizeStyle::Paragraph, 4), tokens::groundTextSecondary);
}

}  // namespace zun
