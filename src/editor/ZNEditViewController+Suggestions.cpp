#include <utility>

#include "cards/ScreenBar.h"
#include "cards/TextBlock.h"
#include "editor/RecordMerge.h"
#include "editor/SuggestionChip.h"
#include "editor/ZNEditSegmentControl.h"
#include "editor/ZNEditViewController.h"

namespace zun {
namespace {

// Nobody writes a date into a title of this length; a pasted megabyte is not searched at every key.
constexpr qsizetype longestTitleWithPhrase = 2000;
constexpr qsizetype longestDraftName = 80;

// The attributes that a date phrase writes.
void takeDates(ReminderAttributes& to, const ReminderAttributes& from) {
    to.start_date = from.start_date;
    to.due_date = from.due_date;
    to.fire_date = from.fire_date;
    to.end_date = from.end_date;
    to.repeat_type = from.repeat_type;
    to.customRepeatInterval = from.customRepeatInterval;
    to.customRepeatDayOrdinals = from.customRepeatDayOrdinals;
}

}  // namespace

void ZNEditViewController::titleDidChange() {
    takeBackPhraseIfUndone();
    textDidChange();
}

void ZNEditViewController::textDidChange() {
    updateSuggestion();
    keepDraftSoon();
}

void ZNEditViewController::updateSuggestion() {
    const QString title = _reminderTitle->string();
    const bool mayHavePhrase = title != _titleAtOpening && title.size() <= longestTitleWithPhrase &&
                               _model.activeReminderType() == EditorModel::ReminderType::Date;
    if (!mayHavePhrase) {
        _phrase.reset();
        _phraseTitle.clear();
    } else if (title != _phraseTitle) {
        _phraseTitle = title;
        _phrase = _with.quickEntry.read(title.toStdString());
    }
    const QString phrase = _phrase
                               ? QString::fromUtf8(title.toUtf8().mid(static_cast<qsizetype>(_phrase->phraseStart),
                                                                      static_cast<qsizetype>(_phrase->phraseLength)))
                               : QString();
    if (_phrase && phrase != _droppedPhrase) {
        _suggestion = Suggestion::Phrase;
        _chip->offer(QString::fromStdString(_with.quickEntry.description(*_phrase)));
    } else if (_draft && !_isDraftDropped && !hasTouchedText(editedRecord())) {
        _suggestion = Suggestion::Draft;
        _chip->offer(QString::fromStdString(
            stringWithFormat(_with.strings.string("Editor_Continue_Draft_Format"), {draftName().toStdString()})));
    } else {
        _suggestion = Suggestion::None;
        _chip->hide();
    }
    _reminderTitle->setAccessibleDescription(_suggestion == Suggestion::None ? QString() : _chip->spokenText());
    layOutContents();
}

QString ZNEditViewController::draftName() const {
    for (const auto& each : {std::optional(_draft->edited.title), _draft->edited.notes, _draft->edited.checklist}) {
        const QString line = displayText(each.value_or(""), longestDraftName).simplified();
        if (!line.isEmpty()) return line;
    }
    return text("Editor_Untitled_Draft");
}

void ZNEditViewController::acceptSuggestion() {
    switch (_suggestion) {
        case Suggestion::Phrase:
            acceptPhrase();
            break;
        case Suggestion::Draft:
            continueDraft();
            break;
        case Suggestion::None:
            break;
    }
}

void ZNEditViewController::dropSuggestion() {
    if (_suggestion == Suggestion::Draft) _isDraftDropped = true;
    if (_suggestion == Suggestion::Phrase)
        _droppedPhrase = QString::fromUtf8(_reminderTitle->string().toUtf8().mid(
            static_cast<qsizetype>(_phrase->phraseStart), static_cast<qsizetype>(_phrase->phraseLength)));
    updateSuggestion();
}

void ZNEditViewController::acceptPhrase() {
    const QuickEntry entry = *_phrase;
    const QString title = _reminderTitle->string();
    ZNReminderObject& record = _model.reminder();
    AcceptedPhrase accepted{title, record.attributes(), {}};
    _with.quickEntry.apply(entry, record);
    // The title stays with its field until it is saved.
    record.setTitle(accepted.before.title);
    accepted.after = record.attributes();
    _model.adoptTypeOfRecord();
    _reminderTitle->replaceCharactersInRange(0, title.size(), QString::fromStdString(entry.title));
    _acceptedPhrase = std::move(accepted);
    updateViewsForReminder(true);
    updateSuggestion();
}

// An undo in the title that brings the phrase back takes its dates away, unless they were changed since.
void ZNEditViewController::takeBackPhraseIfUndone() {
    if (!_acceptedPhrase || _reminderTitle->string() != _acceptedPhrase->titleBefore) return;
    const AcceptedPhrase accepted = *std::exchange(_acceptedPhrase, std::nullopt);
    ReminderAttributes record = _model.reminder().attributes();
    ReminderAttributes expected = record;
    takeDates(expected, accepted.after);
    if (record != expected) return;
    takeDates(record, accepted.before);
    _model.reminder().setAttributes(record);
    updateViewsForReminder(true);
}

void ZNEditViewController::continueDraft() {
    const EditorDraft draft = *std::exchange(_draft, std::nullopt);
    removeKeptDraft();
    _keptDraftID = draft.draftID;
    const ReminderAttributes current = _model.reminder().attributes();
    const bool isNew = _model.isNew();
    _model.reminder().setAttributes(isNew ? draft.edited : mergeEdits(draft.opened, draft.edited, current));
    _model.adoptTypeOfRecord();
    _toggleTypeButton->setChecked(_model.activeReminderType() == EditorModel::ReminderType::Location);
    setReminderFields();
    _segmentControl->setSelectedSegment(static_cast<int>(_model.initialSegment()));
    updateViewsForReminder(true);
    updateSuggestion();
    _reminderTitle->setFocus(Qt::OtherFocusReason);
    _reminderTitle->moveCursor(QTextCursor::End);
}

}  // namespace zun
