#include "editor/EditorDrafts.h"

#include <algorithm>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <fstream>

#include "editor/RecordMerge.h"
#include "platform/foundation/DurableFile.h"
#include "platform/foundation/Log.h"
#include "text/RecordJSON.h"

namespace zun {
namespace {

namespace json = boost::json;

constexpr std::string_view nobody = "new";  // a record is only read with an identifier

std::optional<ReminderAttributes> readRecord(const json::value& value) {
    const auto* object = value.if_object();
    if (!object) return std::nullopt;
    json::object complete = *object;
    auto& identifier = complete["reminderID"];
    const bool isNew = !identifier.is_string() || identifier.get_string().empty();
    if (isNew) identifier = nobody;
    auto record = recordFromJSON(complete);
    auto* attributes = std::get_if<ReminderAttributes>(&record);
    if (!attributes) return std::nullopt;
    if (isNew) attributes->reminderID.reset();
    return std::move(*attributes);
}

std::optional<json::object> readObject(const std::string& line) {
    boost::system::error_code error;
    const auto value = json::parse(line, error);
    if (error.failed() || !value.is_object()) return std::nullopt;
    return value.get_object();
}

std::optional<EditorDraft> readDraft(const std::string& line) {
    const auto object = readObject(line);
    if (!object) return std::nullopt;
    const auto* identifier = object->if_contains("draftID");
    const auto* opened = object->if_contains("opened");
    const auto* edited = object->if_contains("edited");
    if (!identifier || !identifier->is_string() || !opened || !edited) return std::nullopt;
    auto before = readRecord(*opened);
    auto after = readRecord(*edited);
    if (!before || !after) return std::nullopt;
    return EditorDraft{std::string(identifier->get_string()), std::move(*before), std::move(*after)};
}

std::string textOfDraft(const EditorDraft& draft) {
    return json::serialize(json::object{{"draftID", draft.draftID},
                                        {"opened", jsonFromRecord(draft.opened)},
                                        {"edited", jsonFromRecord(draft.edited)}});
}

std::vector<std::string> linesOf(const std::filesystem::path& file) {
    std::vector<std::string> lines;
    std::ifstream stream(file, std::ios::binary);
    for (std::string line; std::getline(stream, line);)
        if (!line.empty()) lines.push_back(std::move(line));
    return lines;
}

}  // namespace

EditorDrafts::EditorDrafts(const std::filesystem::path& stateFolder, const Environment& environment)
    : _file(stateFolder / "drafts.jsonl"),
      _keptReminders(stateFolder / "kept-reminders.jsonl"),
      _environment(environment) {}

void EditorDrafts::load() {
    if (!_isLoaded) {
        _isLoaded = true;
        for (auto& line : linesOf(_file)) {
            auto draft = readDraft(line);
            _lines.push_back({std::move(line), std::move(draft)});
        }
    }
    takeOverKeptReminders();
}

void EditorDrafts::takeOverKeptReminders() {
    std::error_code ignored;
    if (!std::filesystem::exists(_keptReminders, ignored)) return;
    for (auto& line : linesOf(_keptReminders)) {
        const auto object = readObject(line);
        auto record = object ? readRecord(*object) : std::nullopt;
        if (record) {
            record->reminderID.reset();
            add({_environment.newIdentifier(), ReminderAttributes(), std::move(*record)});
        } else {
            _lines.push_back({std::move(line), std::nullopt});
        }
    }
    // A crash between the two leaves them in both files, and adding finds those that are here already.
    store();
    std::filesystem::remove(_keptReminders, ignored);
}

void EditorDrafts::add(EditorDraft draft) {
    std::erase_if(_lines, [&](const Line& line) {
        if (!line.draft) return false;
        const auto& reminderID = line.draft->edited.reminderID;
        return line.draft->edited == draft.edited || (reminderID && reminderID == draft.edited.reminderID);
    });
    auto text = textOfDraft(draft);
    _lines.push_back({std::move(text), std::move(draft)});
}

void EditorDrafts::keep(ReminderAttributes opened, ReminderAttributes edited, const std::string& continuedDraftID) {
    load();
    std::erase_if(_lines, [&](const Line& line) { return line.draft && line.draft->draftID == continuedDraftID; });
    add({_environment.newIdentifier(), std::move(opened), std::move(edited)});
    if (_lines.size() > limit) _lines.erase(_lines.begin(), _lines.end() - limit);
    store();
}

void EditorDrafts::remove(const std::string& draftID) {
    load();
    const auto removed =
        std::erase_if(_lines, [&](const Line& line) { return line.draft && line.draft->draftID == draftID; });
    if (removed > 0) store();
}

void EditorDrafts::store() const {
    std::error_code error;
    std::filesystem::create_directories(_file.parent_path(), error);  // the write says what is wrong with the folder
    std::string text;
    for (const Line& line : _lines)
        text.append(line.text).append("\n");
    error = replaceFileDurably(_file, text, 0600);
    if (error) NSLog("Drafts could not be kept: " + error.message());
}

std::optional<EditorDraft> EditorDrafts::draftForReminder(const std::string& reminderID) {
    load();
    const auto found = std::find_if(_lines.rbegin(), _lines.rend(), [&](const Line& line) {
        return line.draft && line.draft->edited.reminderID == reminderID;
    });
    return found == _lines.rend() ? std::nullopt : found->draft;
}

std::optional<EditorDraft> EditorDrafts::draftForNewReminder(
    const std::function<bool(const std::string& reminderID)>& isStored) {
    load();
    for (auto line = _lines.rbegin(); line != _lines.rend(); ++line) {
        if (!line->draft) continue;
        const auto& reminderID = line->draft->edited.reminderID;
        if (reminderID && isStored(*reminderID)) continue;
        EditorDraft draft = *line->draft;
        if (reminderID) draft.edited = asNewRecord(std::move(draft.edited));
        return draft;
    }
    return std::nullopt;
}

}  // namespace zun
