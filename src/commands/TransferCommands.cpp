#include <fmt/format.h>

#include <boost/json/object.hpp>
#include <istream>

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

std::variant<ReminderAttributes, RecordJSONError> recordFromLine(const std::string& line) {
    if (line.size() > longestLine) return RecordJSONError{"it is longer than any record"};
    std::string error;
    const auto value = jsonFromText(line, error);
    if (!value) return RecordJSONError{"it is not JSON (" + error + ")"};
    auto record = recordFromJSON(*value);
    if (const auto* attributes = std::get_if<ReminderAttributes>(&record)) {
        const auto name = tooLongText(*attributes);
        if (!name.empty())
            return RecordJSONError{fmt::format("its \"{}\" is longer than {} bytes", name, longestReminderText)};
    }
    return record;
}

}  // namespace

int exportCommand(CommandContext& context) {
    for (const auto& reminder : context.manager.fetchAllReminders()) {
        context.printJSON(jsonFromRecord(reminder->attributes()));
    }
    return ExitStatus::done;
}

int importCommand(CommandContext& context, std::istream& lines) {
    int status = ExitStatus::done;
    std::size_t imported = 0;
    std::vector<ReminderPtr> batch;
    const auto flush = [&] {
        if (batch.empty()) return;
        if (imported == 0) context.manager.backUpBeforeImport();
        imported += batch.size();
        context.manager.importReminders(std::exchange(batch, {}));
        context.manager.waitUntilSettled();
    };
    std::string line;
    for (std::size_t number = 1; std::getline(lines, line); ++number) {
        if (line.find_first_not_of(" \t\r") == std::string::npos) continue;
        auto record = recordFromLine(line);
        if (const auto* error = std::get_if<RecordJSONError>(&record)) {
            status = context.fail(fmt::format("Line {} was left out: {}.", number, error->message));
            continue;
        }
        batch.push_back(std::make_shared<ZNReminderObject>(std::get<ReminderAttributes>(std::move(record))));
        if (batch.size() == recordsPerCommit) flush();
    }
    flush();
    if (lines.bad()) status = context.fail("The file could not be read to its end.");
    if (context.json) {
        context.printJSON(boost::json::object{{"imported", imported}});
    } else {
        context.print(fmt::format("{} imported", imported));
    }
    return status;
}

}  // namespace zun
