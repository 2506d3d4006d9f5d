#include "core/ReminderListLoader.h"

#include <atomic>
#include <mutex>
#include <numeric>
#include <optional>
#include <span>
#include <stop_token>
#include <utility>
#include <vector>

#include "ZunDataModel/SearchFolding.h"

namespace zun {

// What waits for the last call's rows.
struct ReminderListLoader::Reply {
    std::uint64_t call = 0;
    Completion completion;
};

// The queue's part: the reminders fetched last and what was found in them. Works on one block at a time.
class ReminderListLoader::Worker {
  public:
    explicit Worker(const Collaborators& with) : _with(with) {}

    // ---- any thread
    std::atomic<std::uint64_t> latestCall{0};
    std::atomic<std::uint64_t> latestFetch{0};

    // Whether a block may start; then leave() must follow.
    bool enter() {
        const std::lock_guard lock(_mutex);
        _isWorking = !_isClosed;
        return _isWorking;
    }
    void leave() {
        {
            const std::lock_guard lock(_mutex);
            _isWorking = false;
        }
        _with.dispatch.notify();
    }
    void close() {
        {
            const std::lock_guard lock(_mutex);
            _isClosed = true;
        }
        _closing.request_stop();
        _with.dispatch.waitUntil([this] {
            const std::lock_guard lock(_mutex);
            return !_isWorking;
        });
    }

    // ---- inside a block
    void fetch(Type type) {
        const auto stop = _closing.get_token();
        // The old ones go first where nobody else holds them.
        _reminders.reset();
        _found.clear();
        _removed.clear();
        _reminders =
            std::make_shared<ListedReminders>(type == Type::Upcoming ? _with.manager.listAllIncompleteReminders(stop)
                                                                     : _with.manager.listAllCompletedReminders(stop));
        _type = type;
        findAll();
        for (const Identifiers& each : _leftOut)
            remove(*each);
    }

    void search(std::string_view text) {
        auto folded = foldedForSearch(text);
        // What contains the longer text contains the shorter.
        if (folded.find(_foldedText) == std::string::npos) findAll();
        if (!folded.empty())
            std::erase_if(_found, [&](std::uint32_t number) {
                return _reminders->foldedTitle(number).find(folded) == std::string_view::npos;
            });
        _foldedText = std::move(folded);
    }

    void remove(std::span<const std::string> reminderIDs) {
        std::vector<bool> goes(_reminders->size());
        for (const std::string& each : reminderIDs) {
            const std::size_t first = _reminders->indexOfObjectWithID(each);
            if (first != ListedReminders::npos) goes[first] = true;
        }
        _removed.resize(goes.size());
        for (std::uint32_t number = 0; number < goes.size(); ++number)
            if (goes[_reminders->firstOfSameID(number)]) _removed[number] = true;
        std::erase_if(_found, [this](std::uint32_t number) { return _removed[number]; });
    }

    void leaveOut(Identifiers reminderIDs) {
        remove(*reminderIDs);
        _leftOut.push_back(std::move(reminderIDs));
    }
    void admitAll() { _leftOut.clear(); }

    [[nodiscard]] ListRows rows() const {
        if (_type == Type::Completed) {
            CompletedSections sections(_with.labels, _with.environment);
            for (const std::uint32_t number : _found)
                if (const auto completed = (*_reminders)[number].completed_date) sections.add(number, *completed);
            return {_reminders, sections.take()};
        }
        UpcomingSections sections(_with.labels, _with.strings, _with.environment);
        for (const std::uint32_t number : _found) {
            const ListedReminder reminder = (*_reminders)[number];
            sections.add(number, reminder.fire_date, reminder.isLocationBased);
        }
        return {_reminders, sections.take()};
    }

  private:
    void findAll() {
        _foldedText.clear();
        _found.resize(_reminders->size());
        std::iota(_found.begin(), _found.end(), 0);
        std::erase_if(_found, [this](std::uint32_t number) { return number < _removed.size() && _removed[number]; });
    }

    const Collaborators _with;
    std::stop_source _closing;
    std::mutex _mutex;
    bool _isClosed = false;
    bool _isWorking = false;

    Type _type = Type::Upcoming;
    std::shared_ptr<const ListedReminders> _reminders = std::make_shared<ListedReminders>();
    std::string _foldedText;
    std::vector<std::uint32_t> _found;  // in order; all that contain _foldedText and are not removed
    std::vector<bool> _removed;         // empty while none is
    std::vector<Identifiers> _leftOut;
};

ReminderListLoader::ReminderListLoader(const Collaborators& collaborators)
    : _with(collaborators),
      _queue(collaborators.dispatch.makeSerialQueue("list", QualityOfService::UserInitiated)),
      _reply(std::make_shared<Reply>()),
      _worker(std::make_shared<Worker>(collaborators)) {}

ReminderListLoader::~ReminderListLoader() {
    _worker->close();
}

void ReminderListLoader::fetch(Type type, std::string searchText, Completion completion) {
    start(Fetch::Yes, std::move(completion), [type, text = std::move(searchText)](Worker& worker) {
        worker.fetch(type);
        worker.search(text);
    });
}

void ReminderListLoader::search(std::string text, Completion completion) {
    start(Fetch::No, std::move(completion), [text = std::move(text)](Worker& worker) { worker.search(text); });
}

void ReminderListLoader::removeReminderById(std::string reminderID) {
    enqueue([reminderID = std::move(reminderID)](Worker& worker) { worker.remove({&reminderID, 1}); });
}

void ReminderListLoader::leaveOut(Identifiers reminderIDs) {
    enqueue([reminderIDs = std::move(reminderIDs)](Worker& worker) { worker.leaveOut(reminderIDs); });
}

void ReminderListLoader::admitAll() {
    enqueue([](Worker& worker) { worker.admitAll(); });
}

void ReminderListLoader::enqueue(std::function<void(Worker&)> work) {
    _queue->async([worker = _worker, work = std::move(work)] {
        if (!worker->enter()) return;
        work(*worker);
        worker->leave();
    });
}

void ReminderListLoader::start(Fetch fetch, Completion completion, std::function<void(Worker&)> work) {
    const std::uint64_t call = ++_reply->call;
    const Completion replaced = std::exchange(_reply->completion, std::move(completion));
    _worker->latestCall = call;
    if (fetch == Fetch::Yes) _worker->latestFetch = call;
    _queue->async([worker = _worker, reply = std::weak_ptr(_reply), &dispatch = _with.dispatch, fetch, call,
                   work = std::move(work)] {
        // A search that was replaced is not worth its while, nor is a fetch that another one follows.
        const auto& latest = fetch == Fetch::Yes ? worker->latestFetch : worker->latestCall;
        if (latest != call || !worker->enter()) return;
        work(*worker);
        std::optional<ListRows> rows;
        if (worker->latestCall == call) rows = worker->rows();
        worker->leave();
        if (!rows) return;
        dispatch.main()->async([reply, call, rows = *std::move(rows)]() mutable {
            const auto expected = reply.lock();
            if (!expected || expected->call != call) return;
            const auto run = std::exchange(expected->completion, {});
            if (run) run(std::move(rows));
        });
    });
}

}  // namespace zun
