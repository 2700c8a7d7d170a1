#include "Interruption.h"

#include <csignal>

#include "Failure.h"

namespace orv::cli {
namespace {

std::atomic<bool> interrupted = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler sets it");

extern "C" void noteInterruption(int) {
  interrupted = true;
}

}  // namespace

void catchInterruptions() {
  struct sigaction action {};
  action.sa_handler = noteInterruption;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);

  // A program started to outlive its terminal goes on ignoring its end.
  struct sigaction hangUp {};
  sigaction(SIGHUP, nullptr, &hangUp);
  if (hangUp.sa_handler != SIG_IGN) {
    sigaction(SIGHUP, &action, nullptr);
  }
}

const std::atomic<bool>& interruption() {
  return interrupted;
}

void forgetInterruption() {
  interrupted = false;
}

void stopIfInterrupted() {
  if (interrupted) {
    throw Cancelled();
  }
}

}  // namespace orv::cli
