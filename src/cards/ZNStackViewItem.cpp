#include "cards/ZNStackViewItem.h"

#include <QGuiApplication>
#include <algorithm>

#include "cards/CardControls.h"
#include "core/NotificationNames.h"
#include "toolkit/Tokens.h"

namespace zun {

namespace {
constexpr qsizetype spokenLimit = 2000;
}

ZNStackViewItem::ZNStackViewItem(const CardContext& context, ZNStackViewItemDelegate* delegate)
    : _context(context), _delegate(delegate) {
    setAccessibilityRole(QAccessible::Grouping);
    hide();
}

ZNStackViewItem::~ZNStackViewItem() {
    removeObservers();
}

void ZNStackViewItem::onSetReminder(ReminderPtr reminder) {
    removeObservers();
    _reminder = std::move(reminder);
    if (!_reminder) return;
    addObservers();
    updateFields();
}

void ZNStackViewItem::addObservers() {
    // A change may come from any thread, for instance the one that saves.
    const auto hop = [this, self = QPointer<ZNStackViewItem>(this)](std::string_view) {
        onMainThread(_context.dispatch, [self] {
            if (self && self->_reminder) self->updateFields();
        });
    };
    _reminderObservation =
        _reminder->observe({"title", "notes", "fire_date", "repeat_type", "isSnoozed", "start_date", "checklist"}, hop);
    _settingsObservation = _context.settings.observe({"windowLayoutMode"}, hop);
}

void ZNStackViewItem::removeObservers() {
    _reminderObservation.reset();
    _settingsObservation.reset();
}

void ZNStackViewItem::setFaceSize(QSizeF size) {
    if (size == _faceSize) return;
    _faceSize = size;
    if (_reminder) updateFields();
}

void ZNStackViewItem::updateFields() {
    if (_faceSize.isEmpty()) return;
    const CardSetting setting{_faceSize, _context.windowSize().width(), _context.settings.windowLayoutMode()};
    const bool changed = _face.update(CardContent::of(*_reminder, _context.texts), setting);
    setAccessibilityLabel(displayText(_context.texts.accessibilityLabel(*_reminder), spokenLimit));
    if (!changed) return;
    dropPicture();
    if (_controls) _controls->follow(_face);
    emit appearanceChanged();
}

void ZNStackViewItem::setStatus(double& status, double percentage) {
    if (status == percentage) return;
    status = percentage;
    emit appearanceChanged();
}

void ZNStackViewItem::setEnabled(bool enabled) {
    if (enabled) makeControls();
    if (_controls) _controls->setEnabled(enabled);
}

void ZNStackViewItem::makeControls() {
    if (_controls) return;
    CardControls::Actions actions;
    actions.complete = [this] {
        if (_delegate) _delegate->shouldCompleteTopCard();
    };
    actions.snooze = [this] {
        if (_delegate) _delegate->shouldSnoozeTopCard();
    };
    actions.skip = [this] {
        if (_delegate) _delegate->shouldSkipTopCard();
    };
    actions.edit = [this] {
        if (_delegate) _delegate->shouldEditTopCard();
    };
    actions.snoozeMenu = [this](QPoint position) {
        if (_delegate) _delegate->shouldShowSnoozeForCell(*this, _controls->snoozeButton(), position);
    };
    actions.checklist = [this] {
        if (_reminder) _context.notifications.postNotificationName(ZNChecklistRequestedNotification, _reminder);
    };
    actions.share = [this] {
        if (_reminder) _context.notifications.postNotificationName(ZNShareControllerRequested, _reminder);
    };
    _controls = std::make_unique<CardControls>(_context.pictures, _context.texts, *this, actions);
    _controls->follow(_face);
    emit controlsMade();
}

void ZNStackViewItem::setAccessibilityEnabled(bool enabled) {
    if (_controls) _controls->setAccessible(enabled);
}

void ZNStackViewItem::setAccessibilityElement(bool isElement) {
    ZNView::setAccessibilityElement(isElement);
    if (_controls) _controls->setAccessible(isElement);
}

double ZNStackViewItem::tilt() const {
    const double share = (centerX.shown() - restX) / StackGeometry::skipDistance;
    return std::clamp(share, -1.0, 1.0) * tokens::cardTiltDegrees;
}

const QPixmap& ZNStackViewItem::picture(double scale) {
    if (_picture.isNull() || _picture.devicePixelRatio() != scale) _picture = _face.render(_context.pictures, scale);
    return _picture;
}

void ZNStackViewItem::dropPicture() {
    _picture = QPixmap();
}

ZNButton* ZNStackViewItem::snoozeButton() const {
    return _controls ? &_controls->snoozeButton() : nullptr;
}

}  // namespace zun
