#include "ZunDataModel/store/ChangeLog.h"

#include "ZunDataModel/store/StoreTuning.h"

namespace zun {

std::int64_t newestChange(StoreConnection& connection) {
    return connection.integer("SELECT coalesce(max(seq), 0) FROM change_log");
}

void ChangeLogWriter::finish(StoreConnection& connection) {
    if (_changes.empty()) return;
    if (_changes.size() > tuning::changesLoggedSingly) _changes = {{ChangeKind::Many, {}}};

    const std::int64_t first = newestChange(connection) + 1;
    if (_writer == 0) _writer = first;
    std::int64_t seq = first;
    for (const Change& change : _changes) {
        const StatementUse insert(
            connection.statement("INSERT INTO change_log (seq, kind, reminderID, writer) VALUES (?, ?, ?, ?)"));
        insert->bind(1, seq++);
        insert->bind(2, static_cast<std::int64_t>(change.kind));
        insert->bind(3, std::string_view(change.reminderID));
        insert->bind(4, _writer.load());
        insert->step();
    }
    if (seq / tuning::changesPrunedEvery == first / tuning::changesPrunedEvery) return;
    const StatementUse prune(connection.statement("DELETE FROM change_log WHERE seq < ?"));
    prune->bind(1, seq - tuning::changesKept);
    prune->step();
}

ForeignChanges readForeignChanges(StoreConnection& connection, std::int64_t after,
                                  const std::atomic<std::int64_t>& ownWriter) {
    ForeignChanges result{after, false, {}};
    const StatementUse entries(
        connection.statement("SELECT seq, kind, reminderID, writer FROM change_log WHERE seq > ? ORDER BY seq"));
    entries->bind(1, after);
    while (entries->step()) {
        const std::int64_t seq = entries->integer(0);
        if (seq != result.last + 1) result.incomplete = true;
        result.last = seq;
        if (entries->integer(3) != ownWriter)
            result.changes.push_back({static_cast<ChangeKind>(entries->integer(1)), entries->text(2)});
    }
    return result;
}

}  // namespace zun
