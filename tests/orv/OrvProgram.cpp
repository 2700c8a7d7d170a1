#include "OrvProgram.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

extern char** environ;

namespace orv::test {
namespace {

/// What devices the machine has is no concern of a test that does not say so with `--hardware`.
std::vector<std::string> commandLine(const std::vector<std::string>& arguments) {
  setenv("ORV_HARDWARE", "virtual", 1);
  std::vector<std::string> command{ORV_PROGRAM};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return command;
}

void expectOneLine(const ProcessResult& result, int status, const std::vector<std::string>& fragments) {
  EXPECT_EQ(result.status, status) << result.errors;
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.errors.rfind("orv", 0), 0U) << result.errors;
  EXPECT_EQ(std::ranges::count(result.errors, '\n'), 1) << result.errors;
  EXPECT_TRUE(result.errors.ends_with('\n'));
  for (const std::string& fragment : fragments) {
    EXPECT_NE(result.errors.find(fragment), std::string::npos) << "no '" << fragment << "' in: " << result.errors;
  }
}

}  // namespace

ProcessResult runOrv(const std::vector<std::string>& arguments) {
  return run(commandLine(arguments));
}

nlohmann::json orvJson(std::vector<std::string> arguments) {
  arguments.emplace_back("--json");
  const ProcessResult result = runOrv(arguments);
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(result.errors, "");
  return nlohmann::json::parse(result.output);
}

void expectFailure(const ProcessResult& result, const std::vector<std::string>& fragments) {
  expectOneLine(result, 1, fragments);
}

void expectWrongUsage(const ProcessResult& result, const std::vector<std::string>& fragments) {
  expectOneLine(result, 2, fragments);
}

std::vector<std::string> entriesOf(const std::string& directory) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    names.push_back(entry.path().filename().string());
  }
  std::ranges::sort(names);
  return names;
}

RunningOrv::RunningOrv(const std::vector<std::string>& arguments) {
  std::vector<std::string> command = commandLine(arguments);
  std::vector<char*> argv;
  for (std::string& argument : command) {
    argv.push_back(argument.data());
  }
  argv.push_back(nullptr);
  const std::string output = scratch_ / "out";
  const std::string errors = scratch_ / "err";
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(), O_CREAT | O_WRONLY, 0600);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errors.c_str(), O_CREAT | O_WRONLY, 0600);
  const int failure = posix_spawn(&child_, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (failure != 0) {
    throw std::runtime_error("can't run " + command.front());
  }
}

RunningOrv::~RunningOrv() {
  if (!waited_) {
    kill(child_, SIGKILL);
    waitpid(child_, nullptr, 0);
  }
}

void RunningOrv::awaitHandlerOf(int signal) const {
  const std::uint64_t bit = std::uint64_t{1} << (signal - 1);
  while (isRunning()) {
    const std::string caught = statusLine("SigCgt:");
    if (!caught.empty() && (std::stoull(caught, nullptr, 16) & bit) != 0) {
      return;
    }
    sched_yield();
  }
}

long RunningOrv::watchPeakKilobytes() const {
  long peak = 0;
  while (isRunning()) {
    const std::string size = statusLine("VmHWM:");
    peak = size.empty() ? peak : std::max(peak, std::stol(size));
    sched_yield();
  }
  return peak;
}

// The value of a line of what the kernel tells about the process; empty once it has ended.
std::string RunningOrv::statusLine(const std::string& key) const {
  std::ifstream status("/proc/" + std::to_string(child_) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(key)) {
      return line.substr(key.size());
    }
  }
  return "";
}

bool RunningOrv::isRunning() const {
  siginfo_t info{};
  return waitid(P_PID, static_cast<id_t>(child_), &info, WEXITED | WNOHANG | WNOWAIT) == 0 && info.si_pid == 0;
}

void RunningOrv::send(int signal) const {
  kill(child_, signal);
}

ProcessResult RunningOrv::wait() {
  int state = 0;
  waitpid(child_, &state, 0);
  waited_ = true;
  ProcessResult result;
  result.status = WIFEXITED(state) ? WEXITSTATUS(state) : 128 + WTERMSIG(state);
  result.output = readWholeFile(scratch_ / "out");
  result.errors = readWholeFile(scratch_ / "err");
  return result;
}

}  // namespace orv::test
