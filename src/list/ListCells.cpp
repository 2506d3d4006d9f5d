#include "list/ListCells.h"

#include <utility>

#include "list/RemindersByID.h"

namespace zun {
namespace {

// More than fit on any screen, so that turning round costs no query.
constexpr std::size_t keptCells = 160;
constexpr qsizetype titleLimit = 1000;
constexpr qsizetype subtitleLimit = 300;

QString oneLine(std::string_view text, qsizetype limit) {
    return displayText(text, limit).replace(u'\n', u' ').trimmed();
}

}  // namespace

void ListCells::setMeasures(const ListMeasures& measures) {
    if (measures == _measures) return;
    _measures = measures;
    _entries.clear();
}

void ListCells::forgetRecords() {
    for (auto& [reminderID, entry] : _entries)
        entry.isFresh = false;
}

CellContent ListCells::contentOf(const ZNReminderObject& reminder) const {
    CellContent content;
    content.reminderID = reminder.reminderID().value_or("");
    content.title = oneLine(reminder.title(), titleLimit);
    content.subtitle = oneLine(_helper.subtitleStringForReminder(reminder), subtitleLimit);
    if (reminder.onGetIsSnoozed() && !reminder.completed_date())
        content.snoozeLabel = QString::fromStdString(_texts.text("Reminder_Snoozed_Label")).toUpper();
    content.pictureName = QString::fromStdString(_texts.topicPictureName(reminder));
    content.isShared = reminder.shareURL().has_value();
    return content;
}

void ListCells::take(const std::string& reminderID, CellContent content) {
    Entry& entry = _entries[reminderID];
    entry.isFresh = true;
    entry.lastFrame = _frame;
    if (entry.cell && entry.cell->content() == content) return;
    entry.cell = std::make_unique<ZNTableViewCell>(std::move(content), _measures);
}

void ListCells::prepare(const ListRows& rows, std::size_t first, std::size_t last) {
    std::vector<std::string> missing;
    for (std::size_t row = first; row <= last && row < rows.size(); ++row) {
        if (rows.isHeader(row)) continue;
        std::string reminderID(rows.reminderID(row));
        const auto found = _entries.find(reminderID);
        if (found == _entries.end() || !found->second.isFresh) missing.push_back(std::move(reminderID));
    }
    if (missing.empty()) return;
    for (const auto& reminder : fetchRemindersByID(_manager, missing))
        take(reminder->reminderID().value_or(""), contentOf(*reminder));
}

ZNTableViewCell& ListCells::cell(const ListRows& rows, std::size_t row) {
    const std::string reminderID(rows.reminderID(row));
    auto found = _entries.find(reminderID);
    if (found == _entries.end() || !found->second.isFresh) {
        prepare(rows, row, row);
        found = _entries.find(reminderID);
    }
    if (found == _entries.end()) {
        ReminderAttributes attributes;
        attributes.reminderID = reminderID;
        attributes.title = std::string(rows.reminder(row).title);
        take(reminderID, contentOf(ZNReminderObject(std::move(attributes))));
        found = _entries.find(reminderID);
    }
    found->second.isFresh = true;
    found->second.lastFrame = _frame;
    return *found->second.cell;
}

void ListCells::endFrame() {
    const bool isCrowded = _entries.size() > keptCells;
    std::erase_if(_entries, [&](auto& each) {
        auto& [reminderID, entry] = each;
        if (entry.lastFrame == _frame) return false;
        entry.cell->forgetPicture();
        return isCrowded;
    });
    ++_frame;
}

}  // namespace zun
