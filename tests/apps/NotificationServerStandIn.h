#pragma once

// org.freedesktop.Notifications on the session bus, as a script wants it: it notes every call and does what the test
// tells it to. What has the same tag stands on its screen once. Each object is a run of the server with a connection of
// its own; when it goes, the server vanishes.

#include <sdbus-c++/sdbus-c++.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace zun {

// What is long for any machine: a test that waits for it has failed.
inline constexpr std::chrono::seconds patience{20};

// A Notify call.
struct Notify {
    std::uint32_t identifier = 0;  // what the server answered
    std::uint32_t replaces = 0;
    std::string sender, application, icon, title, body;
    std::vector<std::string> actions;
    std::map<std::string, sdbus::Variant> hints;
    std::int32_t timeout = 0;
    std::chrono::system_clock::time_point at;

    [[nodiscard]] bool isSilent() const { return hints.contains("suppress-sound"); }
    [[nodiscard]] std::string hint(const std::string& name) const {
        const auto found = hints.find(name);
        return found == hints.end() ? "" : found->second.get<std::string>();
    }
};

class NotificationServerStandIn {
  public:
    enum class Mood { Healthy, Refuses, Hangs, AnswersNonsense };
    struct Habits {
        std::string name = "Stand-in";
        std::vector<std::string> capabilities{"actions", "body", "body-markup", "sound"};
        bool dropsWhatItsSenderLeaves = false;
        Mood mood = Mood::Healthy;
    };

    NotificationServerStandIn() : NotificationServerStandIn(Habits{}) {}
    explicit NotificationServerStandIn(Habits habits);
    ~NotificationServerStandIn();

    void setMood(Mood mood);
    // Waits until the condition holds for what was noted; false if it does not come to that.
    bool waitUntil(const std::function<bool()>& condition);
    // Until there are so many calls with a sound.
    bool waitForAlerts(std::size_t count);

    // All so far, in their order; those that a person would hear; the titles on the screen now.
    [[nodiscard]] std::vector<Notify> calls() const;
    [[nodiscard]] std::vector<Notify> alerts() const;
    [[nodiscard]] std::vector<std::string> screen() const;
    [[nodiscard]] std::size_t callCount() const;

    // What the user or the server does.
    void invoke(std::uint32_t identifier, const std::string& action, const std::string& token = {});
    void leave(std::uint32_t identifier, std::uint32_t reason);
    // Signals whose arguments are not what the protocol says.
    void emitNonsense();

  private:
    void notify(sdbus::MethodCall call);
    void senderLeft(const std::string& sender);

    Habits _habits;
    mutable std::recursive_mutex _mutex;
    std::condition_variable_any _changed;
    std::vector<Notify> _calls;
    std::map<std::uint32_t, Notify> _screen;
    std::uint32_t _lastIdentifier = 0;
    std::unique_ptr<sdbus::IConnection> _connection;
    std::unique_ptr<sdbus::IProxy> _bus;
    std::unique_ptr<sdbus::IObject> _object;
};

}  // namespace zun
