#pragma once

// Fetches, searches and sections the list off the main thread. Main thread only, and blocks it for nothing but the
// thread hops; the work is done on a serial queue of its own, and the result handed over on the main thread.
//
// Each call replaces the one before: only the last one's completion runs, and none after the loader has gone. A fetch
// that a search replaces still fetches, since the search needs it. Completions are kept, run and destroyed on the main
// thread.
//
// Keeps the reminders fetched last, so that a search reads no file. Rows that are still held keep theirs.

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "core/ListRows.h"
#include "core/ZNReminderManager.h"
#include "dates/DateLabels.h"
#include "platform/foundation/Dispatch.h"
#include "platform/foundation/Environment.h"
#include "platform/foundation/LocalizedStrings.h"

namespace zun {

class ReminderListLoader {
  public:
    enum class Type { Upcoming = 0, Completed = 1 };
    using Completion = std::function<void(ListRows)>;

    struct Collaborators {
        const ZNReminderManager& manager;
        const DateLabels& labels;
        const LocalizedStrings& strings;
        const Environment& environment;
        Dispatch& dispatch;
    };

    // The collaborators outlive the loader.
    explicit ReminderListLoader(const Collaborators& collaborators);
    // Waits for work under way to notice, some milliseconds at most.
    ~ReminderListLoader();
    ReminderListLoader(const ReminderListLoader&) = delete;
    ReminderListLoader& operator=(const ReminderListLoader&) = delete;

    // Everything of that type.
    void fetch(Type type, Completion completion) { fetch(type, {}, std::move(completion)); }
    // What search() would give of it, without showing everything in between.
    void fetch(Type type, std::string searchText, Completion completion);
    // Of what was fetched last, the reminders whose title contains the text, blind to case and accents. An empty text
    // gives everything.
    void search(std::string text, Completion completion);
    // Leaves a reminder out of further searches, until the next fetch.
    void removeReminderById(std::string reminderID);
    // Leaves these out of further searches and fetches, until admitAll() and a fetch after it.
    using Identifiers = std::shared_ptr<const std::vector<std::string>>;
    void leaveOut(Identifiers reminderIDs);
    void admitAll();

  private:
    class Worker;
    struct Reply;
    enum class Fetch { No, Yes };
    void start(Fetch fetch, Completion completion, std::function<void(Worker&)> work);
    void enqueue(std::function<void(Worker&)> work);

    const Collaborators _with;
    const DispatchQueuePtr _queue;
    const std::shared_ptr<Reply> _reply;  // the main thread's
    const std::shared_ptr<Worker> _worker;
};

}  // namespace zun
