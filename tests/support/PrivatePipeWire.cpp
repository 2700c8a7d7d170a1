#include "support/PrivatePipeWire.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <thread>
#include <vector>

#include "support/Process.h"

namespace orv::test {
namespace {

constexpr const char* kReport =
    "echo \"$PIPEWIRE_RUNTIME_DIR\"; echo \"$XDG_CONFIG_HOME\"; "
    "echo \"$ORV_PIPEWIRE_PID\"; exec cat";

/// The next line that comes, or what there is of it at the end.
std::string readLine(int file) {
  std::string line;
  char next = 0;
  for (;;) {
    const ssize_t count = read(file, &next, 1);
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count <= 0 || next == '\n') {
      return line;
    }
    line += next;
  }
}

void pause() {
  std::this_thread::sleep_for(std::chrono::milliseconds(2));
}

void setVariable(const char* name, const std::string& value) {
  setenv(name, value.c_str(), 1);
}

}  // namespace

std::unique_ptr<PrivatePipeWire> PrivatePipeWire::start(bool withSessionManager, std::string* reason) {
  int in[2] = {-1, -1};
  int out[2] = {-1, -1};
  if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0) {
    throw std::runtime_error("no pipes");
  }
  std::unique_ptr<PrivatePipeWire> server(new PrivatePipeWire);
  server->script_ = fork();
  if (server->script_ == 0) {
    dup2(in[0], 0);
    dup2(out[1], 1);
    dup2(out[1], 2);
    const char* const script = ORV_PRIVATE_PIPEWIRE;
    if (withSessionManager) {
      execl(script, script, "-w", "sh", "-c", kReport, nullptr);
    } else {
      execl(script, script, "sh", "-c", kReport, nullptr);
    }
    _exit(127);
  }
  close(in[0]);
  close(out[1]);
  server->input_ = in[1];
  const std::string first = readLine(out[0]);
  const std::string second = readLine(out[0]);
  const std::string third = readLine(out[0]);
  close(out[0]);
  if (first.empty() || first.front() != '/' || third.empty()) {
    *reason = first.empty() ? "the private PipeWire server did not start" : first;
    return nullptr;
  }
  setVariable("PIPEWIRE_RUNTIME_DIR", first);
  setVariable("PIPEWIRE_REMOTE", "pipewire-0");
  setVariable("XDG_CONFIG_HOME", second);
  server->server_ = static_cast<pid_t>(std::stol(third));
  return server;
}

PrivatePipeWire::~PrivatePipeWire() {
  if (isOwnChild_) {
    killServer();
  }
  close(input_);
  waitpid(script_, nullptr, 0);
}

void PrivatePipeWire::killServer() {
  kill(server_, SIGKILL);
  if (isOwnChild_) {
    waitpid(server_, nullptr, 0);
  } else {
    while (kill(server_, 0) == 0) {
      pause();
    }
  }
}

void PrivatePipeWire::pauseServer() const {
  kill(server_, SIGSTOP);
}

void PrivatePipeWire::resumeServer() const {
  kill(server_, SIGCONT);
}

void PrivatePipeWire::restartServer() {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): set before there were threads
  const std::string folder = getenv("PIPEWIRE_RUNTIME_DIR");
  unlink((folder + "/pipewire-0").c_str());
  server_ = fork();
  if (server_ == 0) {
    const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
    dup2(nowhere, 0);
    dup2(nowhere, 1);
    dup2(nowhere, 2);
    execlp("pipewire", "pipewire", nullptr);
    _exit(127);
  }
  isOwnChild_ = true;
  while (access((folder + "/pipewire-0").c_str(), F_OK) != 0) {
    pause();
  }
}

void PrivatePipeWire::addNode(const std::string& name, const std::string& properties) {
  const auto made =
      run({"pw-cli", "create-node", "adapter",
           "{ factory.name=support.null-audio-sink object.linger=true node.name=\"" + name + "\" " +
               "adapter.auto-port-config = { mode = dsp monitor = true position = preserve } " + properties + " }"});
  if (made.status != 0) {
    throw std::runtime_error("pw-cli: " + made.errors + made.output);
  }
}

void PrivatePipeWire::removeNode(const std::string& name) {
  run({"pw-cli", "destroy", name});
}

}  // namespace orv::test
