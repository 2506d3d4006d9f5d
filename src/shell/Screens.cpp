#include "shell/Screens.h"

#include "checklist/ZNChecklistViewController.h"
#include "editor/ZNEditViewController.h"
#include "list/ZNListViewController.h"

namespace zun {

Screens::Screens(const Collaborators& collaborators)
    : _with(collaborators), _drafts(collaborators.stateFolder, collaborators.environment, collaborators.dispatch) {}

ScreenMakers Screens::makers() {
    ScreenMakers makers;
    makers.editor = [this](const CardContext& context, const ReminderPtr& reminder, QWidget* parent) {
        const EditorContext editor{context, _with.manager, _with.environment, _with.strings, _with.quickEntry, _drafts};
        return new ZNEditViewController(editor, reminder, parent);
    };
    makers.checklist = [this](const CardContext& context, const ReminderPtr& reminder, QWidget* parent) {
        return new ZNChecklistViewController(context, _with.manager, reminder, parent);
    };
    makers.list = [this](const CardContext& context, QWidget* parent) {
        return new ZNListViewController({context, _with.manager, _with.environment, _with.strings, _with.labels},
                                        ZNListViewController::Type::Upcoming, parent);
    };
    return makers;
}

}  // namespace zun
