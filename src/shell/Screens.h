#pragma once

// The screens of the application and what they share: the drafts, and the reader of dates in titles. The screens are
// made by the makers; all collaborators and this outlive them. Main thread.

#include <filesystem>

#include "core/ZNReminderManager.h"
#include "dates/DateLabels.h"
#include "editor/EditorDrafts.h"
#include "shell/ScreenMakers.h"
#include "text/QuickEntry.h"

namespace zun {

class Screens {
  public:
    struct Collaborators {
        ZNReminderManager& manager;
        const Environment& environment;
        Dispatch& dispatch;
        const LocalizedStrings& strings;
        const DateLabels& labels;
        const QuickEntryReader& quickEntry;
        std::filesystem::path stateFolder;
    };

    explicit Screens(const Collaborators& collaborators);
    Screens(const Screens&) = delete;
    Screens& operator=(const Screens&) = delete;

    [[nodiscard]] ScreenMakers makers();

  private:
    Collaborators _with;
    EditorDrafts _drafts;
};

}  // namespace zun
