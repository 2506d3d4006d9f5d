#pragma once

// The programs as a user or a script starts them. Their files lie below one folder; what they print is read once they
// have ended.

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "support/TemporaryFolder.h"

namespace zun {

struct Ended {
    int status = -1;  // as a shell gives it: 128 and the signal for a program that was killed
    std::string out, err;
};

// A program under way. Killed, if it still runs, when the object goes.
class Program {
  public:
    Program(const std::string& name, const std::vector<std::string>& words,
            const std::map<std::string, std::string>& variables, const std::string& input = {});
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    // Waits for its end.
    Ended end();
    void sendSignal(int number) const;

  private:
    TemporaryFolder _prints;
    int _pid = 0;
};

// One home, its commands and its application.
class ProgramsHome {
  public:
    Ended zunctl(std::vector<std::string> words) const;
    // With that on its standard input.
    Ended zunctlReading(const std::string& input, const std::vector<std::string>& words) const;
    std::unique_ptr<Program> start(std::vector<std::string> words) const;
    // Starts the application and waits until it has taken its name on the session bus, at most half a minute.
    std::unique_ptr<Program> startApplication(const std::vector<std::string>& words = {}) const;
    // ActivateAction of the running application, with an alert's and a reminder's identifier if the reminder's is
    // given. False if none answered.
    bool activateThroughBus(const std::string& action, const std::string& reminderID = {}) const;
    // The number that the running application last gave to the launchers, asked of it; -1 if none answered.
    std::int64_t launcherCount() const;
    // What org.freedesktop.Application.Open of the running application does with a link. False if none answered.
    bool openThroughBus(const std::string& url) const;

    [[nodiscard]] const std::filesystem::path& folder() const { return _folder.path(); }
    [[nodiscard]] std::string busName() const;

    std::map<std::string, std::string> variables{{"TZ", "Europe/Berlin"}};

  private:
    [[nodiscard]] std::map<std::string, std::string> environment() const;
    [[nodiscard]] std::string objectPath() const;
    TemporaryFolder _folder;
};

}  // namespace zun
