#include "editor/EditorDrafts.h"

#include <algorithm>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <fstream>
#include <mutex>

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

// Writes one set of lines at a time, and none over a later one.
class EditorDrafts::Writer {
  public:
    explicit Writer(std::filesystem::path file) : _file(std::move(file)) {}

    void write(const std::vector<Line>& lines, std::uint64_t version) {
        const std::lock_guard lock(_mutex);
        if (version <= _written) return;
        _written = version;
        std::error_code error;
        std::filesystem::create_directories(_file.parent_path(),
                                            error);  // the write says what is wrong with the folder
        std::string text;
        for (const Line& line : lines)
            text.append(line.text ? *line.text : textOfDraft(*line.draft)).append("\n");
        error = replaceFileDurably(_file, text, 0600);
        if (error) NSLog("Drafts could not be kept: " + error.message());
    }

  private:
    const std::filesystem::path _file;
    std::mutex _mutex;
    std::uint64_t _written = 0;
};

EditorDrafts::EditorDrafts(const std::filesystem::path& stateFolder, const Environment& environment, Dispatch& dispatch)
    : _keptReminders(stateFolder / "kept-reminders.jsonl"),
      _environment(environment),
      _writer(std::make_shared<Writer>(stateFolder / "drafts.jsonl")),
      _queue(dispatch.makeSerialQueue("com.zunlabs.drafts", QualityOfService::Utility)),
      _file(stateFolder / "drafts.jsonl") {}

void EditorDrafts::load() {
    if (!_isLoaded) {
        _isLoaded = true;
        for (auto& line : linesOf(_file)) {
            auto draft = readDraft(line);
            _lines.push_back({std::make_shared<const std::string>(std::move(line)),
                              draft ? std::make_shared<const EditorDraft>(std::move(*draft)) : nullptr});
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
            _lines.push_back({std::make_shared<const std::string>(std::move(line)), nullptr});
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
    _lines.push_back({nullptr, std::make_shared<const EditorDraft>(std::move(draft))});
}

void EditorDrafts::removeLine(const std::string& draftID) {
    std::erase_if(_lines, [&](const Line& line) { return line.draft && line.draft->draftID == draftID; });
}

std::string EditorDrafts::keep(ReminderAttributes opened, ReminderAttributes edited,
                               const std::string& continuedDraftID) {
    load();
    removeLine(continuedDraftID);
    std::string draftID = _environment.newIdentifier();
    add({draftID, std::move(opened), std::move(edited)});
    if (_lines.size() > limit) _lines.erase(_lines.begin(), _lines.end() - limit);
    store();
    return draftID;
}

std::string EditorDrafts::keepForNow(ReminderAttributes opened, ReminderAttributes edited,
                                     const std::string& continuedDraftID) {
    load();
    removeLine(continuedDraftID);
    const std::string draftID = continuedDraftID.empty() ? _environment.newIdentifier() : continuedDraftID;
    _lines.push_back(
        {nullptr, std::make_shared<const EditorDraft>(EditorDraft{draftID, std::move(opened), std::move(edited)})});
    _queue->async([writer = _writer, lines = _lines, version = ++_version] { writer->write(lines, version); });
    return draftID;
}

void EditorDrafts::remove(const std::string& draftID) {
    load();
    const auto before = _lines.size();
    removeLine(draftID);
    if (_lines.size() != before) store();
}

void EditorDrafts::store() {
    _writer->write(_lines, ++_version);
}

std::optional<EditorDraft> EditorDrafts::draftForReminder(const std::string& reminderID) {
    load();
    const auto found = std::find_if(_lines.rbegin(), _lines.rend(), [&](const Line& line) {
        return line.draft && line.draft->edited.reminderID == reminderID;
    });
    return found == _lines.rend() ? std::nullopt : std::optional(*found->draft);
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
