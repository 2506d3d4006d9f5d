#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <utmp.h>

#include <csignal>
#include <cstdlib>
#include <optional>
#include <string>

#include "platform/foundation/DurableFile.h"
#include "support/TemporaryFolder.h"

namespace zun {
namespace {

bool echoes(const FileDescriptor& terminal) {
    termios now{};
    return ::tcgetattr(terminal.number(), &now) == 0 && (now.c_lflag & ECHO) != 0;
}

// zunctl at a terminal of its own.
class PersonAtTerminal {
  public:
    explicit PersonAtTerminal(const std::string& verb) {
        int ours = -1, theirs = -1;
        if (::openpty(&ours, &theirs, nullptr, nullptr, nullptr) != 0) return;
        _person.emplace(ours);
        _terminal.emplace(theirs);
        const auto program = std::string(std::getenv("ZUN_TEST_PROGRAMS")) + "/zunctl";
        child = ::fork();
        if (child != 0) return;
        ::login_tty(theirs);
        ::setenv("ZUN_HOME", _home.path().c_str(), 1);
        ::execl(program.c_str(), program.c_str(), "account", verb.c_str(), "--service", "http://localhost:1", "--name",
                "anna", nullptr);
        ::_exit(127);
    }
    void waitFor(const std::string& question) {
        std::string shown;
        char byte = 0;
        while (!shown.ends_with(question) && ::read(_person->number(), &byte, 1) == 1)
            shown += byte;
        EXPECT_TRUE(shown.ends_with(question)) << shown;
    }
    void type(const std::string& line) const {
        EXPECT_EQ(::write(_person->number(), line.data(), line.size()), static_cast<ssize_t>(line.size()));
    }
    int end() const {
        int status = 0;
        EXPECT_EQ(::waitpid(child, &status, 0), child);
        return status;
    }
    [[nodiscard]] bool isEchoing() const { return echoes(*_terminal); }

    pid_t child = -1;

  private:
    TemporaryFolder _home;
    std::optional<FileDescriptor> _person, _terminal;
};

TEST(PasswordPrompt, LeavesTheTerminalWithItsEchoHoweverItEnds) {
    for (const int number : {SIGINT, SIGTERM, 0}) {
        PersonAtTerminal person("login");
        person.waitFor("Password: ");
        EXPECT_FALSE(person.isEchoing());
        if (number == 0)
            person.type("secret\n");
        else
            ::kill(person.child, number);
        const int status = person.end();
        EXPECT_EQ(WIFSIGNALED(status) ? WTERMSIG(status) : 0, number);
        EXPECT_TRUE(person.isEchoing()) << number;
    }
}

TEST(PasswordPrompt, ANewPasswordIsTypedTwiceAlike) {
    for (const bool isAlike : {true, false}) {
        PersonAtTerminal person("create");
        person.waitFor("Password: ");
        person.type("secret\n");
        person.waitFor("The same again: ");
        EXPECT_FALSE(person.isEchoing());
        person.type(isAlike ? "secret\n" : "Secret\n");
        // Only alike ones are sent, to a service that is not there.
        person.waitFor(isAlike ? "cannot be reached" : "passwords differ");
        EXPECT_EQ(WEXITSTATUS(person.end()), 1);
    }
}

}  // namespace
}  // namespace zun
