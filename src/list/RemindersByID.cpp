#include "list/RemindersByID.h"

#include <algorithm>
#include <array>
#include <unordered_map>

namespace zun {
namespace {

// A query names this many identifiers or fewer; few sizes, so that each is parsed once.
constexpr std::array<std::size_t, 4> batchSizes{1, 8, 32, 200};

const std::string& formatFor(std::size_t size) {
    static const auto formats = [] {
        std::unordered_map<std::size_t, std::string> all;
        for (const std::size_t each : batchSizes) {
            std::string format = "reminderID == %@";
            for (std::size_t i = 1; i < each; ++i)
                format += " OR reminderID == %@";
            all.emplace(each, std::move(format));
        }
        return all;
    }();
    return formats.at(size);
}

void fetchBatch(const ZNReminderManager& manager, std::span<const std::string> identifiers,
                std::unordered_map<std::string, ReminderPtr>& found) {
    const std::size_t size = *std::ranges::lower_bound(batchSizes, identifiers.size());
    std::vector<NSPredicate::Argument> arguments(identifiers.begin(), identifiers.end());
    arguments.resize(size, identifiers.front());
    const auto predicate = NSPredicate::predicateWithFormat(formatFor(size), std::move(arguments));
    for (auto& reminder : manager.fetchAllRemindersWithPredicate(predicate, {}, ReturnAsReminderObject::Yes).reminders)
        if (!reminder->shouldDeleteRemote().value_or(false))
            found.emplace(reminder->reminderID().value_or(""), std::move(reminder));
}

}  // namespace

std::vector<ReminderPtr> fetchRemindersByID(const ZNReminderManager& manager,
                                            std::span<const std::string> reminderIDs) {
    std::unordered_map<std::string, ReminderPtr> found;
    found.reserve(reminderIDs.size());
    for (auto rest = reminderIDs; !rest.empty();) {
        const auto batch = rest.first(std::min(rest.size(), batchSizes.back()));
        fetchBatch(manager, batch, found);
        rest = rest.subspan(batch.size());
    }
    std::vector<ReminderPtr> reminders;
    for (const std::string& reminderID : reminderIDs) {
        const auto each = found.find(reminderID);
        if (each != found.end() && each->second) reminders.push_back(std::move(each->second));
    }
    return reminders;
}

ReminderPtr fetchReminderByID(const ZNReminderManager& manager, const std::string& reminderID) {
    const auto found = fetchRemindersByID(manager, {&reminderID, 1});
    return found.empty() ? nullptr : found.front();
}

}  // namespace zun
