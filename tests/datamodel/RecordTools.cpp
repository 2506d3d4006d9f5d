#include "datamodel/RecordTools.h"

namespace zun {

namespace {

class RandomValue {
  public:
    RandomValue(std::mt19937& random, NSDate around) : _random(random), _around(around) {}

    bool chance(int percent) { return std::uniform_int_distribution{1, 100}(_random) <= percent; }
    std::int64_t number(std::int64_t from, std::int64_t to) { return std::uniform_int_distribution{from, to}(_random); }

    void operator()(std::string& value) {
        static const std::string texts[] = {
            "", "Pay rent", "\xC3\x84rger", "a'b\"c;--", std::string("nul\0inside", 10), "\xF0\x9F\x8E\x82", "0"};
        value = texts[number(0, std::size(texts) - 1)];
    }
    void operator()(NSDate& value) { value = _around + std::chrono::hours{number(-3, 3)}; }
    void operator()(std::uint64_t& value) {
        value = static_cast<std::uint64_t>(chance(5) ? number(-3, -1) : number(0, 3));
    }
    void operator()(std::int64_t& value) { value = number(-2, 2); }
    void operator()(double& value) { value = chance(70) ? 0 : static_cast<double>(number(-2, 2)) / 2; }
    void operator()(bool& value) { value = chance(50); }
    void operator()(DayOrdinals& value) {
        for (int day = 1; day <= 7; ++day)
            if (chance(30)) value.push_back(day);
    }
    void operator()(Bytes& value) { value.assign(static_cast<std::size_t>(number(0, 3)), 0xFF); }
    template <typename T>
    void operator()(std::optional<T>& value) {
        if (chance(50)) (*this)(value.emplace());
    }

  private:
    std::mt19937& _random;
    NSDate _around;
};

}  // namespace

ReminderAttributes randomRecord(std::mt19937& random, NSDate around) {
    ReminderAttributes record;
    RandomValue value(random, around);
    for (const auto& attribute : reminderAttributes())
        std::visit([&](auto member) { value(record.*member); }, attribute.member);
    record.reminderID = "record-" + std::to_string(random());
    return record;
}

ReminderPtr namedReminder(const std::string& reminderID, const std::string& title) {
    auto reminder = std::make_shared<ZNReminderObject>();
    if (!reminderID.empty()) reminder->setReminderID(reminderID);
    reminder->setTitle(title);
    return reminder;
}

Device::Device(const std::filesystem::path& inFolder, const Environment& environment)
    : folder(inFolder),
      store(std::make_unique<ZNDatabase>(inFolder, ZNDatabase::Collaborators{dispatch, notifications, environment})) {
    store->setFailureHandler([this](const StoreError& error) { failures.push_back(error.code); });
    for (const auto& [name, word] : {std::pair{ZNReminderObjectAddedNotification, "Added"},
                                     {ZNReminderObjectUpdatedNotification, "Updated"},
                                     {ZNReminderObjectRemovedNotification, "Removed"},
                                     {ZNDatabaseDeDupedNotification, "DeDuped"}}) {
        _observations.push_back(
            notifications.addObserver(name, [this, word = std::string(word)](const NSNotification& notification) {
                const auto* const reminder = std::any_cast<ReminderPtr>(&notification.object);
                _news.push_back(reminder ? word + " " + (*reminder)->reminderID().value_or("nobody") : word);
            }));
    }
}

Device::~Device() = default;

void Device::add(const ReminderPtr& reminder) {
    store->addReminder(reminder);
    run();
}

std::vector<ReminderPtr> Device::fetch(std::string_view format, std::vector<NSPredicate::Argument> arguments,
                                       const std::vector<NSSortDescriptor>& sort) const {
    const auto predicate = NSPredicate::predicateWithFormat(format, std::move(arguments));
    if (!predicate) throw std::runtime_error("malformed predicate: " + std::string(format));
    return store->fetchRemindersForPredicate(predicate, sort, ReturnAsReminderObject::Yes).reminders;
}

ReminderPtr Device::stored(const std::string& reminderID) const {
    const auto found = fetch("(reminderID == %@)", {reminderID});
    return found.empty() ? nullptr : found.front();
}

std::size_t Device::count() const {
    return store->fetchRemindersForPredicate(std::nullopt, {}, ReturnAsReminderObject::No).count;
}

std::vector<std::string> Device::takeNews() {
    dispatch.runUntilIdle();
    return std::exchange(_news, {});
}

}  // namespace zun
