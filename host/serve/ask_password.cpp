#include "host/serve/ask_password.h"

#include <termios.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <stdexcept>

namespace {

// Keeps the terminal from showing what is typed, while this object lives.
class SilentTerminal {
  public:
    SilentTerminal() {
        tcgetattr(STDIN_FILENO, &before_);
        termios silent = before_;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
    }
    ~SilentTerminal() { tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_); }
    SilentTerminal(const SilentTerminal&) = delete;
    SilentTerminal& operator=(const SilentTerminal&) = delete;

  private:
    termios before_{};
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
