#include "apps/zunctl/PasswordPrompt.h"

#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <utility>

namespace zun {
namespace {

// With which a person or the system ends or stops a program that waits at a terminal.
constexpr std::array signals{SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP};

// For the handler, which is given nothing else.
termios formerTerminal{};

void silence(int when) {
    termios silent = formerTerminal;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    ::tcsetattr(STDIN_FILENO, when, &silent);
}

// Only what a handler may call.
void restoreAndRaise(int number) {
    const int error = errno;
    ::tcsetattr(STDIN_FILENO, TCSANOW, &formerTerminal);
    struct sigaction normal = {};
    struct sigaction ours = {};
    normal.sa_handler = SIG_DFL;
    ::sigaction(number, &normal, &ours);
    ::raise(number);
    sigset_t only, before;
    ::sigemptyset(&only);
    ::sigaddset(&only, number);
    ::sigprocmask(SIG_UNBLOCK, &only, &before);
    // Only who was stopped goes on here.
    ::sigprocmask(SIG_SETMASK, &before, nullptr);
    ::sigaction(number, &ours, nullptr);
    silence(TCSANOW);
    errno = error;
}

// Turns off the terminal's echo while it lives; a standard input that is no terminal has none.
class WithoutEcho {
  public:
    WithoutEcho() : _isTerminal(::tcgetattr(STDIN_FILENO, &formerTerminal) == 0) {
        if (!_isTerminal) return;
        struct sigaction restoring = {};
        restoring.sa_handler = restoreAndRaise;
        restoring.sa_flags = SA_RESTART;
        for (std::size_t i = 0; i < signals.size(); ++i) {
            ::sigaction(signals[i], nullptr, &_formerActions[i]);
            // Who started the program may want it not to hear one.
            if (_formerActions[i].sa_handler != SIG_IGN) ::sigaction(signals[i], &restoring, nullptr);
        }
        silence(TCSAFLUSH);
    }
    ~WithoutEcho() {
        if (!_isTerminal) return;
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &formerTerminal);
        for (std::size_t i = 0; i < signals.size(); ++i)
            ::sigaction(signals[i], &_formerActions[i], nullptr);
    }
    WithoutEcho(const WithoutEcho&) = delete;
    WithoutEcho& operator=(const WithoutEcho&) = delete;

  private:
    std::array<struct sigaction, signals.size()> _formerActions{};
    bool _isTerminal;
};

std::optional<std::string> readLine() {
    std::string line;
    return std::getline(std::cin, line) ? std::optional(std::move(line)) : std::nullopt;
}

std::optional<std::string> ask(const char* question) {
    std::fputs(question, stderr);
    auto line = readLine();
    std::fputs("\n", stderr);
    return line;
}

}  // namespace

PasswordAnswer readPassword(PasswordEntry entry) {
    const bool asks = entry != PasswordEntry::StandardInput && ::isatty(STDIN_FILENO) != 0;
    std::optional<WithoutEcho> withoutEcho;
    if (asks) withoutEcho.emplace();
    auto password = asks ? ask("Password: ") : readLine();
    if (!password) return NoPassword::Missing;
    if (asks && entry == PasswordEntry::AskedTwice) {
        const auto again = ask("The same again: ");
        if (!again) return NoPassword::Missing;
        if (*again != *password) return NoPassword::TwoDifferent;
    }
    return *std::move(password);
}

}  // namespace zun
