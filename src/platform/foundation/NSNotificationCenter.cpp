#include "platform/foundation/NSNotificationCenter.h"

#include <boost/signals2/signal.hpp>
#include <map>
#include <mutex>

namespace zun {

namespace signals = boost::signals2;

Observation& Observation::operator=(Observation&& other) noexcept {
    if (this != &other) {
        reset();
        _end = std::exchange(other._end, nullptr);
    }
    return *this;
}

void Observation::reset() {
    if (auto end = std::exchange(_end, nullptr)) end();
}

struct NSNotificationCenter::Signals {
    using Signal = signals::signal<void(const NSNotification&)>;

    // Signals are made by the first observer of a name and kept: there are few names, and a posting may be using one.
    std::mutex mutex;
    std::map<std::string, std::shared_ptr<Signal>, std::less<>> byName;
};

NSNotificationCenter::NSNotificationCenter() : _signals(std::make_shared<Signals>()) {}
NSNotificationCenter::~NSNotificationCenter() = default;

Observation NSNotificationCenter::addObserver(std::string_view name, Handler handler) {
    std::shared_ptr<Signals::Signal> signal;
    {
        const std::lock_guard lock(_signals->mutex);
        auto& entry = _signals->byName[std::string(name)];
        if (!entry) entry = std::make_shared<Signals::Signal>();
        signal = entry;
    }
    // A connection knows by itself whether its signal is still there, so an observation may outlive the centre.
    return Observation([connection = signal->connect(std::move(handler))] { connection.disconnect(); });
}

void NSNotificationCenter::postNotificationName(std::string_view name, std::any object) {
    std::shared_ptr<Signals::Signal> signal;
    {
        const std::lock_guard lock(_signals->mutex);
        const auto entry = _signals->byName.find(name);
        if (entry == _signals->byName.end()) return;
        signal = entry->second;
    }
    (*signal)(NSNotification{name, std::move(object)});
}

}  // namespace zun
