#include "shell/LinkIntake.h"

#include <algorithm>

#include "ZunDataModel/TextLimits.h"
#include "core/NotificationNames.h"
#include "platform/foundation/Log.h"
#include "text/URLIntake.h"

namespace zun {
namespace {

class LinkUndoCommand final : public QUndoCommand {
  public:
    LinkUndoCommand(ZNReminderManager& manager, std::string reminderID, const QString& name)
        : QUndoCommand(name), _manager(manager), _reminderID(std::move(reminderID)) {}

    void redo() override {}
    void undo() override {
        if (const auto reminder = _manager.fetchReminderWithReminderID(_reminderID)) {
            _manager.deleteReminder(reminder, ShouldSyncWithiCloud::Yes);
        }
        setObsolete(true);
    }

  private:
    ZNReminderManager& _manager;
    std::string _reminderID;
};

}  // namespace

bool RateLimit::allow(std::chrono::microseconds now) {
    const auto earned = static_cast<std::uint64_t>(std::max<std::int64_t>(0, (now - _since) / _interval));
    if (earned > 0) {
        _left = static_cast<unsigned>(std::min<std::uint64_t>(_burst, _left + earned));
        _since = now;
    }
    if (_left == 0) return false;
    --_left;
    return true;
}

LinkIntake::Opened LinkIntake::open(const std::string& url) {
    if (!_limit.allow(_with.dispatch.uptime())) {
        NSLog("Too many links came in a short time; one was left out.");
        return Opened::Silently;
    }
    auto opened = Opened::Silently;
    reminderFromURL(url,
                    [this, &opened](bool shouldShowEditor, const ReminderPtr& reminder, const URLIntakeError* error) {
                        if (!reminder) {
                            NSLog(urlIntakeLogLine(error));
                        } else if (shouldShowEditor || !tooLongText(reminder->attributes()).empty()) {
                            // The editor says what has to be shortened.
                            opened = Opened::ForALook;
                            _with.notifications.postNotificationName(ZNEditControllerRequested, reminder);
                        } else {
                            save(reminder);
                        }
                    });
    return opened;
}

void LinkIntake::save(const ReminderPtr& reminder) {
    reminder->setCreated_date(_with.environment.now());
    _with.manager.saveReminder(reminder, ShouldSyncWithiCloud::Yes);
    _with.undoStack.push(new LinkUndoCommand(_with.manager, reminder->reminderID().value_or(""),
                                             QString::fromStdString(_with.undoText)));
}

}  // namespace zun
