#pragma once

// What the store keeps for the sync beside the records, always in the transaction of the change it belongs to: versions
// that the sync replaced or deleted, and pushes whose outcome is not known yet. Plain values.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "ZunDataModel/ReminderAttributes.h"

namespace zun {

// The values stand in files: never change one.
enum class KeptReason {
    Replaced = 1,  // by another device's version
    Deleted = 2,   // on another device
    Unsent = 3,    // deleted here, for a push under way; not shown to anybody
};

struct KeptVersion {
    std::int64_t number = 0;  // rises with each
    NSDate date;              // when it was replaced or deleted
    KeptReason reason = KeptReason::Replaced;
    ReminderAttributes record;

    static constexpr std::chrono::days lifetime{30};  // it is forgotten after
};

// What goes with a write.
struct WriteNotes {
    // A push of this change follows. Until pushDidEnd() with the same name, a store that is opened anew takes it for
    // failed. Unique; names of several records of one write may be the same.
    std::optional<std::string> pushID;
    // Keeps what is stored before the write, if the write changes or removes it.
    std::optional<KeptReason> keeps;
};

// One attribute of the record as it is stored by then; whatever else was written meanwhile stays.
enum class CloudMark { DidPersist, HasLocalChanges, HasNoLocalChanges };

// What becomes of a record that the sync has looked at.
enum class RecordVerdict {
    Leave,
    Mark,    // nothing that anybody sees has changed: nothing is kept, nobody is told
    Write,   // a record that was not stored is added
    Remove,  // with all that share its identifier
};
// Looks at the stored record, null if there is none, and changes it in place if it says Mark or Write.
using RecordDecision = std::function<RecordVerdict(std::size_t index, std::optional<ReminderAttributes>& record)>;
struct DecidedRecord {
    RecordVerdict verdict = RecordVerdict::Leave;
    ReminderAttributes record;  // as written or removed; nothing of one that was left
};

}  // namespace zun
