#include "host/serve/ask_password.h"

#include <termios.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <stdexcept>

namespace {

constexpr std::array EndingSignals{SIGINT, SIGQUIT, SIGTERM, SIGHUP};

termios terminalBefore{};  // for the signal handler

void endBySignal(int signal) {
    tcsetattr(STDIN_FILENO, TCSANOW, &terminalBefore);  // never waits for the terminal
    raise(signal);  // ends the process when this handler returns, by SA_RESETHAND
}

// Keeps the terminal from showing what is typed, while this object lives or until a signal ends the
// process. At most one object.
class SilentTerminal {
  public:
    SilentTerminal() {
        tcgetattr(STDIN_FILENO, &terminalBefore);
        struct sigaction ending {};
        ending.sa_handler = endBySignal;
        ending.sa_flags = static_cast<int>(SA_RESETHAND);
        sigfillset(&ending.sa_mask);
        for (size_t i = 0; i < EndingSignals.size(); ++i) {
            sigaction(EndingSignals[i], nullptr, &before_[i]);
            if (before_[i].sa_handler != SIG_IGN)
                sigaction(EndingSignals[i], &ending, nullptr);
        }
        termios silent = terminalBefore;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
    }
    ~SilentTerminal() {
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &terminalBefore);
        for (size_t i = 0; i < EndingSignals.size(); ++i)
            sigaction(EndingSignals[i], &before_[i], nullptr);
    }
    SilentTerminal(const SilentTerminal&) = delete;
    SilentTerminal& operator=(const SilentTerminal&) = delete;

  private:
    std::array<struct sigaction, EndingSignals.size()> before_{};
};

std::string readLine(const std::string& prompt) {
    std::fputs(prompt.c_str(), stderr);
    std::string line;
    if (!std::getline(std::cin, line))
        throw std::runtime_error("no password was given");
    return line;
}

}  // namespace

std::string askPassword(const std::string& user) {
    if (isatty(STDIN_FILENO) == 0)
        return readLine("");
    const SilentTerminal silent;
    std::string password = readLine("Password for " + user + ": ");
    const std::string again = readLine("\nThe same password again: ");
    std::fputs("\n", stderr);
    if (password != again)
        throw std::runtime_error("the two passwords differ; nothing was changed");
    return password;
}
