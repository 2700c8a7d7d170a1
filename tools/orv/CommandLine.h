#pragma once

namespace orv::cli {

/// The whole program: reads the arguments, does what they say, and answers the exit status: 0 done, 1 failed, 2 wrong
/// usage, 130 stopped by the person.
int runCommandLine(int argc, char** argv);

}  // namespace orv::cli
