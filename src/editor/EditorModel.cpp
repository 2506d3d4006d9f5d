#include "editor/EditorModel.h"

namespace zun {

EditorModel::EditorModel(const Collaborators& collaborators, ReminderPtr reminder)
    : _with(collaborators),
      _texts(collaborators.environment, collaborators.strings),
      _reminder(reminder ? std::move(reminder) : std::make_shared<ZNReminderObject>()) {
    adoptTypeOfRecord();
}

void EditorModel::adoptTypeOfRecord() {
    _type = _reminder->locationLatitude() != 0 ? ReminderType::Location : ReminderType::Date;
}

// ---- date

NSDate EditorModel::defaultDate() const {
    return ZNDateHelper(_with.environment).tomorrowWithUserSetMorningHour(_with.settings.morningHour());
}

void EditorModel::toggleDateOptionsWithVisibility(bool visible) {
    visible ? didSelectDate(defaultDate()) : onClearDate();
}

void EditorModel::onClearDate() {
    _reminder->onSetStartDate(std::nullopt);
    _reminder->onSetFireDate(std::nullopt);
    _reminder->setDue_date(std::nullopt);
    _reminder->setEnd_date(std::nullopt);
    _reminder->setRepeat_type(RepeatType::none);
    _reminder->setEarlyReminderType(0);
    _reminder->setEarlyReminderInterval(0);
    _reminder->setCustomRepeatDayOrdinals(std::nullopt);
    _reminder->setCustomRepeatInterval(0);
}

void EditorModel::didSelectDate(NSDate date) {
    _reminder->onSetStartDate(date);
    _reminder->setDue_date(date);
    _reminder->onSetFireDate(_reminder->dateAdjustedForEarlyReminderType(date));
}

void EditorModel::didChangeDateSettings() {
    _reminder->onSetFireDate(_reminder->dateAdjustedForEarlyReminderType(_reminder->onGetDueDate()));
}

// ---- repeat

void EditorModel::onToggleRepeat(int row) {
    if (row < customRepeatRow) {
        _reminder->setCustomRepeatInterval(0);
        _reminder->setCustomRepeatDayOrdinals(std::nullopt);
    }
    const bool isRefined = _reminder->customRepeatDayOrdinals() && _reminder->customRepeatInterval() != 0;
    if (row < 1 || row > customRepeatRow) {
        _reminder->setRepeat_type(RepeatType::none);
    } else if (!isRefined) {
        _reminder->setRepeat_type(static_cast<std::uint64_t>(row));
    }
    updateEndDateForRepeat();
}

void EditorModel::updateEndDateForRepeat() {
    if (_reminder->repeat_type() == RepeatType::none && _reminder->end_date()) clearEndDate();
}

int EditorModel::rowForRepeatType() const {
    if (_reminder->hasCustomRepeat()) return customRepeatRow;
    const std::uint64_t type = _reminder->repeat_type();
    return type >= RepeatType::daily && type <= RepeatType::customUnrefined ? static_cast<int>(type) : 0;
}

std::array<std::string, 6> EditorModel::repeatRows() const {
    const auto text = [this](std::string_view key) { return _with.strings.string(key); };
    std::array rows = {text("Repeat_None"),    text("Repeat_Daily"),  text("Repeat_Weekly"),
                       text("Repeat_Monthly"), text("Repeat_Yearly"), text("Mac_Custom_Repeat")};
    // A custom repeat that nobody has refined yet has no unit that could be named.
    const std::uint64_t type = _reminder->repeat_type();
    if (rowForRepeatType() == customRepeatRow && type != RepeatType::customUnrefined) {
        rows[customRepeatRow] =
            _texts.stringForRepeatType(type, _reminder->customRepeatInterval(), _reminder->customRepeatDayOrdinals(),
                                       ShowOrdinals::Yes, UseShortStrings::Yes);
    }
    return rows;
}

// ---- place

void EditorModel::toggleReminderType() {
    _type = _type == ReminderType::Date ? ReminderType::Location : ReminderType::Date;
    _reminder->reset();
    if (_type == ReminderType::Location) _reminder->setLocationActivationRadius(minimumActivationDistanceInMeters);
}

std::string EditorModel::locationText() const {
    const auto name = _reminder->locationName();
    return name ? *name : _with.strings.string("Location_selection_label");
}

// ---- the whole

bool EditorModel::isValid() const {
    const bool noLocation = !_reminder->locationName() || !_reminder->isLocationBased();
    return !_reminder->title().empty() && !(_type == ReminderType::Location && noLocation);
}

EditorModel::Segment EditorModel::initialSegment() const {
    const bool hasNotes = !_reminder->notes().value_or("").empty();
    return !hasNotes && !_reminder->checklist().value_or("").empty() ? Segment::Checklist : Segment::Notes;
}

EditorModel::VisibleControls EditorModel::visibleControls(Segment segment) const {
    const bool isDate = _type == ReminderType::Date;
    const bool repeats = _reminder->repeat_type() != RepeatType::none;
    const bool ends = _reminder->end_date().has_value();
    VisibleControls visible{};
    visible.notes = segment == Segment::Notes;
    visible.checklist = segment == Segment::Checklist;
    visible.dateSection = isDate;
    visible.locationSection = !isDate;
    visible.dateRows = isDate && _reminder->start_date().has_value();
    visible.endDateLabel = isDate && repeats;
    visible.endDatePicker = isDate && repeats && ends;
    visible.plusButton = isDate && repeats && !ends;
    visible.clearButton = isDate && ends;
    visible.endDatePickerEnabled = repeats;
    return visible;
}

int EditorModel::dateContainerHeight() const {
    if (_type == ReminderType::Location) return 110;
    if (!_reminder->start_date()) return 44;
    return _reminder->repeat_type() == RepeatType::none ? 125 : 155;
}

}  // namespace zun
