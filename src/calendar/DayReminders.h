#pragma once

// The reminders of one day as the rows of a list. The records are fetched one by one when their rows are seen, so a day
// of ten thousand costs no more than what is on the screen. Main thread; the first look at a row blocks for one query.

#include <QAbstractListModel>
#include <QColor>
#include <map>
#include <string>
#include <vector>

#include "core/ZNReminderManager.h"
#include "text/ZNReminderHelper.h"

namespace zun {

class DayReminders final : public QAbstractListModel {
    Q_OBJECT
  public:
    enum Role { Title = Qt::UserRole, Subtitle, Tint };

    DayReminders(const ZNReminderManager& manager, const Environment& environment, const LocalizedStrings& strings,
                 QObject* parent);

    void setReminderIDs(std::vector<std::string> reminderIDs);
    // Subtitles are relative to now; they are made anew when they are seen next.
    void forgetTexts();
    // The record as it is stored now; null if it has gone.
    [[nodiscard]] ReminderPtr reminderAt(int row) const;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;

  private:
    struct Texts {
        QString title, subtitle;
        QColor tint;
    };
    [[nodiscard]] const Texts& textsAt(int row) const;

    const ZNReminderManager& _manager;
    ZNReminderHelper _helper;
    DateLabels _labels;
    std::vector<std::string> _reminderIDs;
    mutable std::map<int, Texts> _texts;
};

}  // namespace zun
