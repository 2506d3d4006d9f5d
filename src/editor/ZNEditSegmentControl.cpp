#include "editor/ZNEditSegmentControl.h"

#include <QPainter>
#include <QRadioButton>
#include <QStyle>
#include <algorithm>

#include "toolkit/PlainControls.h"
#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

constexpr int controlHeight = tokens::minimumHitSize;
constexpr double radius = 7;
constexpr int inset = 2;
constexpr int sidePadding = 18;

// A radio button, so that arrow keys and assistive technology know it; drawn as a segment.
class Segment final : public QRadioButton {
  public:
    Segment(const QString& label, QWidget* parent) : QRadioButton(label, parent) {
        setFont(appFont(13, QFont::Medium));
        setAttribute(Qt::WA_Hover);
    }
    [[nodiscard]] int wantedWidth() const { return fontMetrics().horizontalAdvance(text()) + 2 * sidePadding; }

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const QRectF face = QRectF(rect()).adjusted(inset, inset, -inset, -inset);
        painter.setPen(Qt::NoPen);
        if (isChecked()) {
            painter.setBrush(QColor::fromRgba(tokens::editorTint));
            painter.drawRoundedRect(face, radius - inset, radius - inset);
        } else if (underMouse()) {
            painter.setBrush(QColor::fromRgbF(0, 0, 0, static_cast<float>(tokens::hoverLighten / 2)));
            painter.drawRoundedRect(face, radius - inset, radius - inset);
        }
        painter.setPen(QColor::fromRgba(isChecked() ? tokens::cardGround : tokens::barTextOnCard));
        painter.drawText(face, Qt::AlignCenter,
                         fontMetrics().elidedText(text(), Qt::ElideRight, static_cast<int>(face.width()) - 8));
        _ring.paint(painter, *this, face.adjusted(2, 2, -2, -2), radius - inset - 2);
    }
    void focusInEvent(QFocusEvent* event) override {
        _ring.focusIn(*event);
        QRadioButton::focusInEvent(event);
    }
    [[nodiscard]] bool hitButton(const QPoint& position) const override { return rect().contains(position); }

  private:
    FocusRing _ring;
};

}  // namespace

ZNEditSegmentControl::ZNEditSegmentControl(const QString& first, const QString& second, QWidget* parent)
    : ZNView(parent) {
    setAccessibilityRole(QAccessible::Grouping);
    _segments = {new Segment(first, this), new Segment(second, this)};
    _segments[0]->setChecked(true);
    for (auto* each : _segments) {
        connect(each, &QAbstractButton::toggled, this, [this](bool isOn) {
            if (isOn) emit didChange();
        });
    }
}

int ZNEditSegmentControl::selectedSegment() const {
    return _segments[1]->isChecked() ? 1 : 0;
}

void ZNEditSegmentControl::setSelectedSegment(int index) {
    const QSignalBlocker silence(this);
    segment(index).setChecked(true);
}

QAbstractButton& ZNEditSegmentControl::segment(int index) const {
    return *_segments[index == 1 ? 1 : 0];
}

QSize ZNEditSegmentControl::sizeHint() const {
    int widest = 0;
    for (auto* each : _segments)
        widest = std::max(widest, static_cast<Segment*>(each)->wantedWidth());
    return {2 * widest, controlHeight};
}

void ZNEditSegmentControl::resizeEvent(QResizeEvent*) {
    const int half = width() / 2;
    _segments[0]->setGeometry(QStyle::visualRect(layoutDirection(), rect(), {0, 0, half, height()}));
    _segments[1]->setGeometry(QStyle::visualRect(layoutDirection(), rect(), {half, 0, width() - half, height()}));
}

void ZNEditSegmentControl::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromRgba(tokens::editorWell));
    painter.drawRoundedRect(rect(), radius, radius);
}

}  // namespace zun
