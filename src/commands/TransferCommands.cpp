#include <fmt/format.h>

#include <boost/json/object.hpp>
#include <istream>

#include "ZunDataModel/StoreFileRecords.h"
#include "ZunDataModel/TextLimits.h"
#include "commands/Commands.h"
#include "text/JSONText.h"
#include "text/RecordJSON.h"

namespace zun {
namespace {

// Records in one commit. Memory grows with it, and so does what a failing disk takes back.
constexpr std::size_t recordsPerCommit = 2'000;
// A line beyond this is no record of ours; reading on would only fill the memory.
constexpr std::size_t longestLine = 64 * 1024 * 1024;

std::optional<RecordJSONError> tooLong(const ReminderAttributes& record) {
    const auto name = tooLongText(record);
    if (name.empty()) return std::nullopt;
    return RecordJSONError{fmt::format("its \"{}\" is longer than {} bytes", name, longestReminderText)};
}

std::variant<ReminderAttributes, RecordJSONError> recordFromLine(const std::string& line) {
    if (line.size() > longestLine) return RecordJSONError{"it is longer than any record"};
    std::string error;
    const auto value = jsonFromText(line, error);
    if (!value) return RecordJSONError{"it is not JSON (" + error + ")"};
    auto record = recordFromJSON(*value);
    if (const auto* attributes = std::get_if<ReminderAttributes>(&record))
        if (auto why = tooLong(*attributes)) return *std::move(why);
    return record;
}

// Takes records in, some at a time.
class Import {
  public:
    explicit Import(CommandContext& context) : _context(context) {}

    void add(ReminderAttributes record) {
        _batch.push_back(std::make_shared<ZNReminderObject>(std::move(record)));
        if (_batch.size() == recordsPerCommit) flush();
    }
    void leaveOut(const std::string& what, const RecordJSONError& error) {
        fail(fmt::format("{} was left out: {}.", what, error.message));
    }
    void fail(const std::string& sentence) { _status = _context.fail(sentence); }
    int end() {
        flush();
        if (_context.json) {
            _context.printJSON(boost::json::object{{"imported", _imported}});
        } else {
            _context.print(fmt::format("{} imported", _imported));
        }
        return _status;
    }

  private:
    void flush() {
        if (_batch.empty()) return;
        if (_imported == 0) _context.manager.backUpBeforeImport();
        _imported += _batch.size();
        _context.manager.importReminders(std::exchange(_batch, {}));
        _context.manager.waitUntilSettled();
    }

    CommandContext& _context;
    std::vector<ReminderPtr> _batch;
    std::size_t _imported = 0;
    int _status = ExitStatus::done;
};

}  // namespace

int exportCommand(CommandContext& context) {
    for (const auto& reminder : context.manager.fetchAllReminders()) {
        context.printJSON(jsonFromRecord(reminder->attributes()));
    }
    return ExitStatus::done;
}

int importCommand(CommandContext& context, std::istream& lines) {
    Import import(context);
    std::string line;
    for (std::size_t number = 1; std::getline(lines, line); ++number) {
        if (line.find_first_not_of(" \t\r") == std::string::npos) continue;
        auto record = recordFromLine(line);
        if (const auto* error = std::get_if<RecordJSONError>(&record))
            import.leaveOut(fmt::format("Line {}", number), *error);
        else
            import.add(std::get<ReminderAttributes>(std::move(record)));
    }
    if (lines.bad()) import.fail("The file could not be read to its end.");
    return import.end();
}

int importBackupCommand(CommandContext& context, const std::string& file) {
    auto read = recordsOfStoreFile(file);
    if (const auto* why = std::get_if<std::string>(&read))
        return context.fail(fmt::format("The file {} cannot be imported: {}.", file, *why));
    Import import(context);
    for (auto& record : std::get<std::vector<ReminderAttributes>>(read)) {
        if (const auto error = tooLong(record))
            import.leaveOut(fmt::format("The reminder {}", record.reminderID.value_or("")), *error);
        else
            import.add(std::move(record));
    }
    return import.end();
}

}  // namespace zun
