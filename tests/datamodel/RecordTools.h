#pragma once

// Random records, and one device with a store.

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "ZunDataModel/ZNDatabase.h"
#include "platform/foundation/SimulatedDispatch.h"
#include "support/TemporaryFolder.h"
#include "support/TestEnvironment.h"

namespace zun {

// Any attribute may have any value, odd ones included; dates lie within some days of `around`.
ReminderAttributes randomRecord(std::mt19937& random, NSDate around);
ReminderPtr namedReminder(const std::string& reminderID, const std::string& title = {});

// A device: its own queues and notification centre over a store, which may share its folder with another device.
struct Device {
    Device(const std::filesystem::path& inFolder, const Environment& environment);
    ~Device();

    void run() { store->waitForWrites(); }
    // Adds, updates or removes, and waits until it is durable.
    void add(const ReminderPtr& reminder);
    [[nodiscard]] std::vector<ReminderPtr> fetch(std::string_view format,
                                                 std::vector<NSPredicate::Argument> arguments = {},
                                                 const std::vector<NSSortDescriptor>& sort = {}) const;
    [[nodiscard]] ReminderPtr stored(const std::string& reminderID) const;
    [[nodiscard]] std::size_t count() const;
    // "Added a", "Updated b", "DeDuped": what was posted since the last call.
    std::vector<std::string> takeNews();

    std::filesystem::path folder;
    SimulatedDispatch dispatch{1};
    NSNotificationCenter notifications;
    std::vector<StoreErrorCode> failures;

  private:
    std::vector<std::string> _news;
    std::vector<Observation> _observations;

  public:
    std::unique_ptr<ZNDatabase> store;  // goes first: its last writes still tell the others
};

}  // namespace zun
