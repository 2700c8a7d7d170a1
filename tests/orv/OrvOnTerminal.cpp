#include "OrvOnTerminal.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>

namespace orv::test {
namespace {

using namespace std::chrono_literals;

constexpr auto kPatience = 20s;

[[noreturn]] void runProgram(std::vector<char*>& arguments) {
  const rlimit noCore{0, 0};
  setrlimit(RLIMIT_CORE, &noCore);
  setpgid(0, 0);
  tcsetpgrp(STDIN_FILENO, getpid());
  std::signal(SIGTTOU, SIG_DFL);
  execv(arguments[0], arguments.data());
  _exit(127);
}

/// What a shell does with the program that has its terminal.
[[noreturn]] void runShell(std::vector<char*>& arguments, int reports, int orders) {
  std::signal(SIGTTOU, SIG_IGN);
  const pid_t program = fork();
  if (program == 0) {
    runProgram(arguments);
  }
  setpgid(program, program);
  tcsetpgrp(STDIN_FILENO, program);
  for (;;) {
    int state = 0;
    waitpid(program, &state, WUNTRACED);
    tcsetpgrp(STDIN_FILENO, getpgrp());
    const bool isStopped = WIFSTOPPED(state);
    const int status = WIFEXITED(state) ? WEXITSTATUS(state) : 128 + WTERMSIG(state);
    const std::array<char, 2> report{isStopped ? 'S' : 'E', static_cast<char>(status)};
    char order = 0;
    if (write(reports, report.data(), isStopped ? 1 : 2) < 0 || read(orders, &order, 1) <= 0 || !isStopped) {
      kill(program, SIGKILL);
      _exit(0);
    }
    tcsetpgrp(STDIN_FILENO, program);
    kill(-program, SIGCONT);
  }
}

}  // namespace

OrvOnTerminal::OrvOnTerminal(const std::vector<std::string>& arguments) {
  std::vector<std::string> command{ORV_PROGRAM};
  command.insert(command.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  argv.reserve(command.size() + 1);
  for (std::string& argument : command) {
    argv.push_back(argument.data());
  }
  argv.push_back(nullptr);
  std::array<int, 2> reports{};
  std::array<int, 2> orders{};
  EXPECT_EQ(pipe(reports.data()), 0);
  EXPECT_EQ(pipe(orders.data()), 0);
  const winsize size{24, 80, 0, 0};
  shell_ = forkpty(&terminal_, nullptr, nullptr, &size);
  if (shell_ == 0) {
    close(reports[0]);
    close(orders[1]);
    runShell(argv, reports[1], orders[0]);
  }
  close(reports[1]);
  close(orders[0]);
  reports_ = reports[0];
  orders_ = orders[1];
}

OrvOnTerminal::~OrvOnTerminal() {
  close(orders_);
  close(terminal_);  // hangs up
  close(reports_);
  kill(shell_, SIGKILL);
  waitpid(shell_, nullptr, 0);
}

void OrvOnTerminal::type(const std::string& keys) const {
  EXPECT_EQ(write(terminal_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
}

bool OrvOnTerminal::takeIn(int report, Deadline deadline, bool* isReported) {
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
  std::array<pollfd, 2> descriptors{{{terminal_, POLLIN, 0}, {report, POLLIN, 0}}};
  if (left.count() <= 0 || poll(descriptors.data(), descriptors.size(), static_cast<int>(left.count())) <= 0) {
    return false;
  }
  if ((descriptors[0].revents & POLLIN) != 0) {
    std::array<char, 4096> bytes{};
    const ssize_t count = read(terminal_, bytes.data(), bytes.size());
    shown_.append(bytes.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
  }
  *isReported = descriptors[1].revents != 0;
  return true;
}

void OrvOnTerminal::awaitText(const std::string& text) {
  const Deadline deadline = std::chrono::steady_clock::now() + kPatience;
  bool isReported = false;
  std::size_t found = shown_.find(text, seen_);
  while (found == std::string::npos && takeIn(-1, deadline, &isReported)) {
    found = shown_.find(text, seen_);
  }
  ASSERT_NE(found, std::string::npos) << "no '" << text << "' in: " << shown_.substr(seen_);
  seen_ = found + text.size();
}

std::string OrvOnTerminal::awaitReport(std::size_t length) {
  const Deadline deadline = std::chrono::steady_clock::now() + kPatience;
  std::string report;
  bool isReported = false;
  while (report.size() < length && takeIn(reports_, deadline, &isReported)) {
    char byte = 0;
    if (isReported && read(reports_, &byte, 1) == 1) {
      report += byte;
    }
  }
  return report;
}

termios OrvOnTerminal::modes() const {
  termios modes{};
  EXPECT_EQ(tcgetattr(terminal_, &modes), 0);
  return modes;
}

void OrvOnTerminal::awaitStop() {
  ASSERT_EQ(awaitReport(1), "S");
}

void OrvOnTerminal::goOn() const {
  EXPECT_EQ(write(orders_, "c", 1), 1);
}

int OrvOnTerminal::awaitEnd() {
  const std::string report = awaitReport(2);
  EXPECT_EQ(report.substr(0, 1), "E");
  return report.size() == 2 ? static_cast<unsigned char>(report[1]) : -1;
}

}  // namespace orv::test
