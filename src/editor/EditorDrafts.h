#pragma once

// What was written in editors that were closed without saving, and what is being written in one that is open: one file
// "drafts.jsonl" in the state folder, a draft a line, the oldest first. A line that cannot be read is kept as it
// stands. Reminders that links left in "kept-reminders.jsonl" are taken over as drafts of new reminders.
//
//   keep, remove   on the disk when the call returns
//   keepForNow     written on a queue of its own soon after; never over something later
//
// Main thread; keep() and remove() block for one durable write, and for one that is under way; the first call of all
// for reading the file. A failed write is logged; the draft then lives as long as this object.

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ZunDataModel/ReminderAttributes.h"
#include "platform/foundation/Dispatch.h"
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
    EditorDrafts(const std::filesystem::path& stateFolder, const Environment& environment, Dispatch& dispatch);

    // Adds it as the latest, and gives its identifier. It takes the place of the draft that it goes on with, if any,
    // and of one of the same reminder or with the same contents.
    std::string keep(ReminderAttributes opened, ReminderAttributes edited, const std::string& continuedDraftID = {});
    // The same while the editor is still open: it takes the place of the draft that it goes on with and of no other,
    // since this one may be saved yet.
    [[nodiscard]] std::string keepForNow(ReminderAttributes opened, ReminderAttributes edited,
                                         const std::string& continuedDraftID);
    void remove(const std::string& draftID);
    // The latest draft of this reminder.
    [[nodiscard]] std::optional<EditorDraft> draftForReminder(const std::string& reminderID);
    // The latest draft of a new reminder, or of one that is stored no more.
    [[nodiscard]] std::optional<EditorDraft> draftForNewReminder(
        const std::function<bool(const std::string& reminderID)>& isStored);

  private:
    // Shared with the queue, and never changed.
    struct Line {
        std::shared_ptr<const std::string> text;   // as it was read; null for what this run has kept
        std::shared_ptr<const EditorDraft> draft;  // null where the text cannot be read
    };
    class Writer;
    void load();
    void store();
    void takeOverKeptReminders();
    void add(EditorDraft draft);
    void removeLine(const std::string& draftID);

    std::filesystem::path _keptReminders;
    const Environment& _environment;
    std::shared_ptr<Writer> _writer;
    DispatchQueuePtr _queue;
    std::filesystem::path _file;
    std::vector<Line> _lines;
    std::uint64_t _version = 0;  // of the lines
    bool _isLoaded = false;
};

}  // namespace zun
