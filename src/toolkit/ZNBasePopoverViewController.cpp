#include "toolkit/ZNBasePopoverViewController.h"

namespace zun {

ZNBasePopoverViewController::ZNBasePopoverViewController(QWidget* parent) : ZNView(parent) {
    setAccessibilityRole(QAccessible::Grouping);
}

QWidget* ZNBasePopoverViewController::initialFocus() {
    for (QWidget* next = nextInFocusChain(); next && next != this; next = next->nextInFocusChain()) {
        const bool takesKeys = (next->focusPolicy() & Qt::TabFocus) != 0 && next->isEnabled();
        if (takesKeys && isAncestorOf(next) && next->isVisibleTo(this)) return next;
    }
    return nullptr;
}

void ZNBasePopoverViewController::setHeight(int height) {
    if (_popoverDelegate) _popoverDelegate->setPopoverHeight(*this, height);
}

void ZNBasePopoverViewController::dismiss() {
    if (_popoverDelegate) _popoverDelegate->dismissPopoverController(*this);
}

}  // namespace zun
