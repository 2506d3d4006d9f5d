#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <utmp.h>

#include <csignal>
#include <cstdlib>

#include "platform/foundation/DurableFile.h"
#include "support/TemporaryFolder.h"

namespace zun {
namespace {

bool echoes(const FileDescriptor& terminal) {
    termios now{};
    return ::tcgetattr(terminal.number(), &now) == 0 && (now.c_lflag & ECHO) != 0;
}

TEST(PasswordPrompt, LeavesTheTerminalWithItsEchoHoweverItEnds) {
    for (const int number : {SIGINT, SIGTERM, 0}) {
        const TemporaryFolder home;
        int ours = -1, theirs = -1;
        ASSERT_EQ(::openpty(&ours, &theirs, nullptr, nullptr, nullptr), 0);
        const FileDescriptor person(ours), terminal(theirs);
        ASSERT_TRUE(echoes(terminal));
        const auto program = std::string(std::getenv("ZUN_TEST_PROGRAMS")) + "/zunctl";
        const int child = ::fork();
        if (child == 0) {
            ::login_tty(theirs);
            ::setenv("ZUN_HOME", home.path().c_str(), 1);
            ::execl(program.c_str(), program.c_str(), "account", "login", "--service", "http://localhost:1", "--name",
                    "anna", nullptr);
            ::_exit(127);
        }
        std::string shown;
        char byte = 0;
        while (!shown.ends_with("Password: ") && ::read(person.number(), &byte, 1) == 1)
            shown += byte;
        EXPECT_FALSE(echoes(terminal)) << shown;
        if (number == 0)
            EXPECT_EQ(::write(person.number(), "secret\n", 7), 7);
        else
            ::kill(child, number);
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_EQ(WIFSIGNALED(status) ? WTERMSIG(status) : 0, number);
        EXPECT_TRUE(echoes(terminal)) << number;
    }
}

}  // namespace
}  // namespace zun
