#include "list/ZNSegmentControl.h"

#include <QPainter>
#include <QPointer>
#include <QRadioButton>
#include <algorithm>

#include "toolkit/PlainControls.h"
#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

constexpr double tracking = 2;
constexpr int titleSize = 11;
constexpr int titlePadding = 14;
constexpr double ringRadius = 6;

class Segment final : public QRadioButton {
  public:
    Segment(const QString& title, QWidget* parent) : QRadioButton(title.toUpper(), parent) {
        QFont font = appFont(titleSize, QFont::DemiBold);
        font.setLetterSpacing(QFont::AbsoluteSpacing, tracking);
        setFont(font);
        setAttribute(Qt::WA_Hover);
        setAccessibleName(title);
    }
    [[nodiscard]] QSize sizeHint() const override {
        return {fontMetrics().horizontalAdvance(text()) + 2 * titlePadding, ZNSegmentControl::height};
    }

  protected:
    [[nodiscard]] bool hitButton(const QPoint& position) const override { return rect().contains(position); }
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const bool isBright = isChecked() || underMouse();
        painter.setPen(QColor::fromRgba(isBright ? tokens::groundText : tokens::groundTextSecondary));
        // The space behind the last letter would push the word off its centre.
        painter.drawText(QRectF(rect()).translated(tracking / 2, -1), Qt::AlignCenter, text());
        _ring.paint(painter, *this, QRectF(rect()).adjusted(4, 4, -4, -6), ringRadius);
    }
    void focusInEvent(QFocusEvent* event) override {
        _ring.focusIn(*event);
        QRadioButton::focusInEvent(event);
    }

  private:
    FocusRing _ring;
};

}  // namespace

ZNSegmentControl::ZNSegmentControl(ZNAnimationTimeline& animations, const std::array<QString, 2>& titles,
                                   QWidget* parent)
    : ZNView(parent), _animations(animations), _indicatorColor(tokens::groundText) {
    setAccessibilityRole(QAccessible::Grouping);
    setFixedHeight(height);
    for (std::size_t i = 0; i < titles.size(); ++i) {
        _segments[i] = new Segment(titles[i], this);
        connect(_segments[i], &QRadioButton::toggled, this, [this, i](bool isChosen) {
            if (isChosen) onSetSelectedSegment(static_cast<int>(i));
        });
    }
    _segments.front()->setChecked(true);
    _frames = _animations.observeFrames([this] {
        if (_indicator.shown() != _indicator.value()) update();
    });
}

void ZNSegmentControl::onSetSelectedSegment(int segment) {
    if (segment == _selected) return;
    _selected = segment;
    _segments[static_cast<std::size_t>(segment)]->setChecked(true);
    setActiveIndicatorToIndex(segment, _shouldAnimate);
}

void ZNSegmentControl::setActiveIndicatorToIndex(int index, bool shouldAnimate) {
    _animations.runGroup(
        shouldAnimate ? tokens::listSlide : tokens::listSlide.zero(), Easing::InOut,
        [&](ZNAnimationGroup& group) { group.set(_indicator, index); },
        [self = QPointer(this)] {
            if (self) self->update();
        });
    update();
    emit didChangeSegment(index);
}

void ZNSegmentControl::setActiveIndicatorHeight(int indicatorHeight) {
    _activeIndicatorHeight = indicatorHeight;
    update();
}

void ZNSegmentControl::setIndicatorColor(QRgb color) {
    _indicatorColor = color;
    update();
}

int ZNSegmentControl::widthForTitles() const {
    return 2 * std::max(_segments[0]->sizeHint().width(), _segments[1]->sizeHint().width());
}

void ZNSegmentControl::resizeEvent(QResizeEvent* event) {
    ZNView::resizeEvent(event);
    const int half = width() / 2;
    const bool isMirrored = isRightToLeft();
    _segments[isMirrored ? 1 : 0]->setGeometry(0, 0, half, ZNSegmentControl::height);
    _segments[isMirrored ? 0 : 1]->setGeometry(half, 0, width() - half, ZNSegmentControl::height);
}

void ZNSegmentControl::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const double thickness = _activeIndicatorHeight;
    painter.setBrush(QColor::fromRgba(tokens::listSegmentRule));
    painter.drawRect(QRectF(0, ZNSegmentControl::height - 1, width(), 1));
    painter.setBrush(QColor::fromRgba(_indicatorColor));
    const double half = width() / 2.0;
    const double left = (isRightToLeft() ? 1 - _indicator.shown() : _indicator.shown()) * half;
    painter.drawRoundedRect(QRectF(left, ZNSegmentControl::height - thickness, half, thickness), thickness / 2,
                            thickness / 2);
}

}  // namespace zun
