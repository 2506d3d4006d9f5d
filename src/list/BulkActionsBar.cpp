#include "list/BulkActionsBar.h"

#include <QPainter>
#include <QPointer>
#include <cmath>

#include "toolkit/Tokens.h"

namespace zun {
namespace {

constexpr int buttonSide = 44;
constexpr int iconSide = 24;
// Of each button's centre from the middle, where there are two.
constexpr int offsetOfTwo = 24;

}  // namespace

BulkActionsBar::BulkActionsBar(Pictures& pictures, ZNAnimationTimeline& animations, const LocalizedStrings& strings,
                               QWidget* parent)
    : ZNView(parent),
      _animations(animations),
      _bulkCompleteButton(new ZNButton(pictures, ZNButton::Shape::Bare, this)),
      _bulkDeleteButton(new ZNButton(pictures, ZNButton::Shape::Bare, this)) {
    setAccessibilityRole(QAccessible::ToolBar);
    setAccessibilityLabel(QString::fromStdString(strings.string("Options_Title")));
    const auto dress = [&](ZNButton& button, const char* icon, const char* key) {
        const QString text = QString::fromStdString(strings.string(key));
        button.setIconNamed(icon, iconSide);
        button.setTexts(text, text);
    };
    dress(*_bulkCompleteButton, "toolbar_completeIcon", "Complete_Action");
    dress(*_bulkDeleteButton, "toolbar_deleteIcon", "Delete_Action");
    hide();
    _frames = _animations.observeFrames([this] {
        if (_bottom.shown() != _bottom.value()) place();
    });
}

void BulkActionsBar::setShown(bool shown) {
    if (shown == isShown()) return;
    if (shown) {
        show();
        raise();
    }
    const QPointer<BulkActionsBar> self(this);
    _animations.runGroup(
        tokens::listSlide, Easing::Out, [&](ZNAnimationGroup& group) { group.set(_bottom, shown ? 0 : height); },
        [self] {
            if (!self) return;
            self->place();
            // What is out of sight must not be reached by keys.
            if (!self->isShown()) self->hide();
        });
    place();
}

void BulkActionsBar::setOffersCompleting(bool offers) {
    _bulkCompleteButton->setVisible(offers);
    layOut();
}

void BulkActionsBar::place() {
    const QSize within = parentWidget()->size();
    setGeometry(0, within.height() - height + static_cast<int>(std::round(_bottom.shown())), within.width(), height);
}

void BulkActionsBar::layOut() {
    const int offset = _bulkCompleteButton->isHidden() ? 0 : offsetOfTwo;
    const int direction = isRightToLeft() ? -1 : 1;
    QRect button(0, 0, buttonSide, buttonSide);
    button.moveCenter(QPoint(width() / 2 + direction * offset, height / 2));
    _bulkDeleteButton->setGeometry(button);
    button.moveCenter(QPoint(width() / 2 - direction * offset, height / 2));
    _bulkCompleteButton->setGeometry(button);
}

void BulkActionsBar::resizeEvent(QResizeEvent* event) {
    ZNView::resizeEvent(event);
    layOut();
}

void BulkActionsBar::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), QColor::fromRgba(tokens::listBulkBarGround));
}

}  // namespace zun
