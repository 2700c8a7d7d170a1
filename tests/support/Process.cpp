#include "support/Process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

#include "support/TemporaryDirectory.h"

extern char** environ;

namespace orv::test {

ProcessResult run(const std::vector<std::string>& arguments) {
  const TemporaryDirectory scratch;
  const std::string output = scratch / "out";
  const std::string errors = scratch / "err";

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(), O_CREAT | O_WRONLY, 0600);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errors.c_str(), O_CREAT | O_WRONLY, 0600);

  std::vector<char*> argv;
  for (const std::string& argument : arguments) {
    argv.push_back(const_cast<char*>(argument.c_str()));
  }
  argv.push_back(nullptr);

  pid_t child = 0;
  const int failure = posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (failure != 0) {
    throw std::runtime_error("can't run " + arguments.front());
  }
  int state = 0;
  waitpid(child, &state, 0);
  ProcessResult result;
  result.status = WIFEXITED(state) ? WEXITSTATUS(state) : 128 + WTERMSIG(state);
  result.output = readWholeFile(output);
  result.errors = readWholeFile(errors);
  return result;
}

}  // namespace orv::test
