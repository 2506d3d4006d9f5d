#include <utility>

#include "ZunDataModel/TextLimits.h"
#include "cards/ScreenBar.h"
#include "cards/ZNCardView.h"
#include "core/NotificationNames.h"
#include "editor/RecordMerge.h"
#include "editor/ZNEditViewController.h"

namespace zun {
namespace {

bool isBlank(const std::string& text) {
    return text.find_first_not_of(" \t\r\n") == std::string::npos;
}

bool hasText(const ReminderAttributes& record) {
    return !isBlank(record.title) || !isBlank(record.notes.value_or("")) || !isBlank(record.checklist.value_or(""));
}

}  // namespace

// What was shown when the editor opened. The record in memory may carry an earlier edit that nobody saved; then the
// stored row is what this one differs from. A row that is of another time than the record says nothing about it. What
// is stored nowhere yet, such as the text of a link, is all to be kept.
void ZNEditViewController::rememberOpenedRecord() {
    if (_model.isNew()) return;
    _opened = _model.reminder().attributes();
    const auto row = _with.manager.fetchReminderWithReminderID(_opened.reminderID);
    if (row && row->modified_date() == _opened.modified_date) _opened = row->attributes();
}

// Texts that stand as they were opened keep their very characters, which a field may show in another form.
ReminderAttributes ZNEditViewController::editedRecord() const {
    ReminderAttributes record = _model.reminder().attributes();
    const QString title = _reminderTitle->string();
    const QString notes = _reminderNotes->string();
    if (title != _titleAtOpening) record.title = title.toStdString();
    if (notes != _notesAtOpening || !record.notes) record.notes = notes.toStdString();
    return record;
}

void ZNEditViewController::onRightButtonPress() {
    if (_isFinished) return;
    const ReminderAttributes edited = editedRecord();
    _model.reminder().setNotes(edited.notes);
    _model.reminder().setTitle(edited.title);
    if (!_model.isValid() || !tooLongText(edited).empty()) {
        _cardView->shakeCard();
        explainRefusal();
        return;
    }
    finish();
    _model.isNew() ? saveReminder() : updateReminder();
    removeKeptDraft();
    dismiss();
}

// The shaking for those who do not see it, and what it means for those who do.
void ZNEditViewController::explainRefusal() {
    const bool isTitleMissing = _model.reminder().title().empty();
    const auto tooLong = tooLongText(_model.reminder().attributes());
    const QString reason = text(isTitleMissing    ? "Editor_Title_Missing"
                                : tooLong.empty() ? "Editor_Place_Missing"
                                                  : "Editor_Text_Too_Long");
    rightButton().setToolTip(reason);
    rightButton().setAccessibleDescription(reason);
    if (!isTitleMissing && tooLong != "title") return;
    _reminderTitle->setAccessibleDescription(reason);
    _reminderTitle->setFocus(Qt::OtherFocusReason);
}

void ZNEditViewController::saveReminder() {
    _model.reminder().setCreated_date(_with.environment.now());
    _with.manager.saveReminder(reminder(), ShouldSyncWithiCloud::Yes);
    _with.cards.notifications.postNotificationName(ZNUserAddedReminderNotification, reminder());
}

void ZNEditViewController::updateReminder() {
    const ReminderAttributes edited = _model.reminder().attributes();
    const auto fresh = _with.manager.fetchReminderWithReminderID(edited.reminderID);
    if (!fresh || fresh->shouldDeleteRemote().value_or(false)) {
        _model.reminder().setAttributes(asNewRecord(edited));
        saveReminder();
        return;
    }
    _model.reminder().setAttributes(mergeEdits(_opened, edited, fresh->attributes()));
    _with.manager.updateReminder(reminder(), ShouldUpdateDateModified::Yes, ShouldSyncWithiCloud::Yes);
    _with.cards.notifications.postNotificationName(ZNUserUpdatedReminderNotification, reminder());
    if (_editDelegate) _editDelegate->didUpdateReminder(reminder());
}

void ZNEditViewController::onLeftButtonPress() {
    if (_isFinished) return;
    finish();
    keepDraft();
    dismiss();
}

void ZNEditViewController::finish() {
    _isFinished = true;
    _draftTimer.invalidate();
}

// ---- drafts

void ZNEditViewController::flush() {
    if (_isFinished) return;
    _draftTimer.invalidate();
    keepDraft();
}

bool ZNEditViewController::hasTouchedText(const ReminderAttributes& edited) const {
    return edited.title != _opened.title || edited.notes.value_or("") != _opened.notes.value_or("") ||
           edited.checklist.value_or("") != _opened.checklist.value_or("");
}

void ZNEditViewController::keepDraft() {
    const ReminderAttributes edited = editedRecord();
    if (!hasText(edited) || !hasTouchedText(edited)) return removeKeptDraft();
    _keptDraftID = _with.drafts.keep(_opened, edited, _keptDraftID);
}

// The first of some changes starts the clock, so that whoever types without a pause is not left behind.
void ZNEditViewController::keepDraftSoon() {
    if (_isFinished || _draftTimer.isValid()) return;
    _draftTimer = NSTimer(_with.cards.dispatch.main(), draftDelay, false, [self = QPointer(this)] {
        if (self) self->keepDraftForNow();
    });
}

void ZNEditViewController::keepDraftForNow() {
    ReminderAttributes edited = editedRecord();
    if (!hasText(edited) || !hasTouchedText(edited)) return removeKeptDraft();
    _keptDraftID = _with.drafts.keepForNow(_opened, std::move(edited), _keptDraftID);
}

void ZNEditViewController::removeKeptDraft() {
    if (!_keptDraftID.empty()) _with.drafts.remove(std::exchange(_keptDraftID, {}));
}

}  // namespace zun
