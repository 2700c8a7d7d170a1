#pragma once

#include <atomic>

namespace orv::cli {

/// Makes Ctrl-C, and what else asks a program to end (SIGTERM, SIGHUP), set `interruption()` instead of ending the
/// program at once, so that it can take back what it has half done.
void catchInterruptions();

/// Set once the person has asked to stop. Handed to long operations as their cancel switch.
const std::atomic<bool>& interruption();

/// What was asked to stop has stopped: from now on the next Ctrl-C counts.
void forgetInterruption();

/// Throws `Cancelled` once the person has asked to stop.
void stopIfInterrupted();

}  // namespace orv::cli
