#include "Terminal.h"

#include <termios.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <string_view>

namespace orv::cli {
namespace {

constexpr int kKeys = STDIN_FILENO;

/// What ends a program without letting it clean up.
constexpr std::array<int, 6> kDeadly{SIGQUIT, SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL};

// For signal handlers.
termios modesBefore{};
std::array<struct sigaction, kDeadly.size()> deadlyBefore{};
struct sigaction stopBefore {};
struct sigaction continueBefore {};
std::atomic<bool> stopWanted = false;
std::atomic<bool> wasContinued = false;
static_assert(std::atomic<bool>::is_always_lock_free, "signal handlers set them");

extern "C" void noteStop(int) {
  stopWanted = true;
}

extern "C" void noteContinue(int) {
  wasContinued = true;
}

/// And then lets the signal do what it would have done.
extern "C" void restoreModes(int signal) {
  tcsetattr(kKeys, TCSANOW, &modesBefore);
  for (std::size_t i = 0; i < kDeadly.size(); ++i) {
    if (kDeadly[i] == signal) {
      sigaction(signal, &deadlyBefore[i], nullptr);
    }
  }
  raise(signal);
}

void handle(int signal, void (*handler)(int), struct sigaction* before) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  sigaction(signal, &action, before);
}

}  // namespace

std::unique_ptr<Terminal> Terminal::open() {
  termios modes{};
  if (isatty(kKeys) == 0 || tcgetattr(kKeys, &modes) != 0) {
    return nullptr;
  }
  return std::unique_ptr<Terminal>(new Terminal);
}

Terminal::Terminal() {
  stopWanted = false;
  handle(SIGTSTP, noteStop, &stopBefore);
  handle(SIGCONT, noteContinue, &continueBefore);
  take();
}

Terminal::~Terminal() {
  giveBack();
  sigaction(SIGTSTP, &stopBefore, nullptr);
  sigaction(SIGCONT, &continueBefore, nullptr);
}

/// A background program that changes the terminal's modes would be stopped for it.
bool Terminal::isForeground() const {
  return tcgetpgrp(kKeys) == getpgrp();
}

void Terminal::take() {
  if (isTaken_ || !isForeground()) {
    return;
  }
  isKnown_ = isKnown_ || tcgetattr(kKeys, &modesBefore) == 0;
  for (std::size_t i = 0; i < kDeadly.size(); ++i) {
    handle(kDeadly[i], restoreModes, &deadlyBefore[i]);
  }
  termios modes = modesBefore;
  modes.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
  modes.c_cc[VMIN] = 0;
  modes.c_cc[VTIME] = 0;
  isTaken_ = tcsetattr(kKeys, TCSANOW, &modes) == 0;
}

void Terminal::giveBack() {
  if (!isTaken_) {
    return;
  }
  isTaken_ = false;
  if (isForeground()) {
    tcsetattr(kKeys, TCSANOW, &modesBefore);
  }
  for (std::size_t i = 0; i < kDeadly.size(); ++i) {
    sigaction(kDeadly[i], &deadlyBefore[i], nullptr);
  }
}

std::vector<Key> Terminal::keys() {
  if (wasContinued.exchange(false)) {
    giveBack();  // the shell may have set modes of its own meanwhile
  }
  take();
  if (!isTaken_ || !isForeground()) {
    return {};
  }
  std::array<char, 256> bytes{};
  const ssize_t count = read(kKeys, bytes.data(), bytes.size());
  return reader_.take(std::string_view(bytes.data(), count > 0 ? static_cast<std::size_t>(count) : 0));
}

bool Terminal::isSuspensionWanted() const {
  return stopWanted;
}

void Terminal::suspend() {
  giveBack();
  stopWanted = false;
  sigaction(SIGTSTP, &stopBefore, nullptr);
  raise(SIGTSTP);
  handle(SIGTSTP, noteStop, nullptr);
  wasContinued = false;
  isKnown_ = false;  // the person may have changed it meanwhile
  take();
}

}  // namespace orv::cli
