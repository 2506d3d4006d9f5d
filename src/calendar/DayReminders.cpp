#include "calendar/DayReminders.h"

#include <fmt/format.h>

#include "toolkit/Tokens.h"

namespace zun {
namespace {

// Far more than the lines of a row hold.
constexpr std::size_t shownBytes = 1200;

QString shown(std::string_view text) {
    if (text.size() > shownBytes) text = text.substr(0, shownBytes);
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())).simplified();
}

}  // namespace

DayReminders::DayReminders(const ZNReminderManager& manager, const Environment& environment,
                           const LocalizedStrings& strings, QObject* parent)
    : QAbstractListModel(parent), _manager(manager), _helper(environment, strings), _labels(environment, strings) {}

void DayReminders::setReminderIDs(std::vector<std::string> reminderIDs) {
    if (reminderIDs == _reminderIDs) return forgetTexts();
    beginResetModel();
    _reminderIDs = std::move(reminderIDs);
    _texts.clear();
    endResetModel();
}

void DayReminders::forgetTexts() {
    _texts.clear();
    if (!_reminderIDs.empty()) emit dataChanged(index(0), index(rowCount() - 1));
}

ReminderPtr DayReminders::reminderAt(int row) const {
    if (row < 0 || row >= rowCount()) return nullptr;
    return _manager.fetchReminderWithReminderID(_reminderIDs[static_cast<std::size_t>(row)]);
}

int DayReminders::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(_reminderIDs.size());
}

const DayReminders::Texts& DayReminders::textsAt(int row) const {
    const auto known = _texts.find(row);
    if (known != _texts.end()) return known->second;
    Texts texts;
    if (const auto reminder = reminderAt(row)) {
        texts.title = shown(reminder->title());
        texts.subtitle = shown(_helper.subtitleStringForReminder(*reminder));
        const auto tint = _labels.colorForDate(reminder->onGetDueDate());
        if (tint) texts.tint = QColor(QString::fromUtf8(tint->data(), static_cast<qsizetype>(tint->size())));
    }
    return _texts.emplace(row, std::move(texts)).first->second;
}

QVariant DayReminders::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    const auto& texts = textsAt(index.row());
    switch (role) {
        case Title:
            return texts.title;
        case Subtitle:
            return texts.subtitle;
        case Tint:
            return texts.tint;
        case Qt::DisplayRole:
        case Qt::AccessibleTextRole:
            return QString(texts.title + ", " + texts.subtitle);
        default:
            return {};
    }
}

}  // namespace zun
