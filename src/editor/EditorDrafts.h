#pragma once

// What was written in editors that were closed without saving: one file "drafts.jsonl" in the state folder, a draft a
// line, the oldest first. Every change is on the disk when the call returns. A line that cannot be read is kept as it
// stands. Reminders that links left in "kept-reminders.jsonl" are taken over as drafts of new reminders.
//
// Main thread; keep() and remove() block for one durable write, the first call of all for reading the file. A failed
// write is logged; the draft then lives as long as this object.

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "ZunDataModel/ReminderAttributes.h"
#include "platform/foundation/Environment.h"

namespace zun {

struct EditorDraft {
    std::string draftID;
    ReminderAttributes opened;  // what the editor found; edited differs from it by what the user did
    ReminderAttributes edited;  // its reminderID is absent for a new reminder
};

class EditorDrafts {
  public:
    static constexpr std::size_t limit = 20;  // older ones make room

    // The folder need not exist. The environment outlives this.
    EditorDrafts(const std::filesystem::path& stateFolder, const Environment& environment);

    // Adds it as the latest. It takes the place of the draft that it goes on with, if any, and of one of the same
    // reminder or with the same contents.
    void keep(ReminderAttributes opened, ReminderAttributes edited, const std::string& continuedDraftID = {});
    void remove(const std::string& draftID);
    // The latest draft of this reminder.
    [[nodiscard]] std::optional<EditorDraft> draftForReminder(const std::string& reminderID);
    // The latest draft of a new reminder, or of one that is stored no more.
    [[nodiscard]] std::optional<EditorDraft> draftForNewReminder(
        const std::function<bool(const std::string& reminderID)>& isStored);

  private:
    struct Line {
        std::string text;                  // as it stands in the file
        std::optional<EditorDraft> draft;  // absent where the text cannot be read
    };
    void load();
    void store() const;
    void takeOverKeptReminders();
    void add(EditorDraft draft);

    std::filesystem::path _file;
    std::filesystem::path _keptReminders;
    const Environment& _environment;
    std::vector<Line> _lines;
    bool _isLoaded = false;
};

}  // namespace zun
