#pragma once

// The cells of the rows in view, made from records that are fetched when they are seen, in one query for all that are
// missing. A few that have just left are kept without their pictures. Main thread; blocks for the query.

#include <memory>
#include <string>
#include <unordered_map>

#include "cards/CardTexts.h"
#include "core/ListRows.h"
#include "core/ZNReminderManager.h"
#include "list/ZNTableViewCell.h"
#include "text/ZNReminderHelper.h"

namespace zun {

class ListCells {
  public:
    // All must outlive the cells.
    ListCells(const ZNReminderManager& manager, const CardTexts& texts, const ZNReminderHelper& helper)
        : _manager(manager), _texts(texts), _helper(helper) {}

    // Other measures need other cells.
    void setMeasures(const ListMeasures& measures);
    [[nodiscard]] const ListMeasures& measures() const { return _measures; }
    // The records may have changed, or what is said about them: each is looked at again when it is seen next. A cell
    // that would say the same stays.
    void forgetRecords();

    // Headings among the rows are skipped.
    void prepare(const ListRows& rows, std::size_t first, std::size_t last);
    // The cell of a reminder's row. A record that has just gone is shown by what the row knows.
    [[nodiscard]] ZNTableViewCell& cell(const ListRows& rows, std::size_t row);
    // Lets the pictures go of all cells not asked for since the last call.
    void endFrame();

  private:
    struct Entry {
        std::unique_ptr<ZNTableViewCell> cell;
        bool isFresh = false;
        std::uint64_t lastFrame = 0;
    };
    [[nodiscard]] CellContent contentOf(const ZNReminderObject& reminder) const;
    void take(const std::string& reminderID, CellContent content);

    const ZNReminderManager& _manager;
    const CardTexts& _texts;
    const ZNReminderHelper& _helper;
    ListMeasures _measures;
    std::unordered_map<std::string, Entry> _entries;
    std::uint64_t _frame = 1;
};

}  // namespace zun
