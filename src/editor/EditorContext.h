#pragma once

// What the editor is made with besides what every screen is. A plain bundle of references to objects of the program,
// all of which outlive the editor.

#include "cards/CardContext.h"
#include "core/ZNReminderManager.h"
#include "editor/EditorDrafts.h"
#include "platform/foundation/Environment.h"
#include "platform/foundation/LocalizedStrings.h"
#include "text/QuickEntry.h"

namespace zun {

struct EditorContext {
    CardContext cards;
    ZNReminderManager& manager;
    const Environment& environment;
    const LocalizedStrings& strings;
    const QuickEntryReader& quickEntry;
    EditorDrafts& drafts;
};

}  // namespace zun
