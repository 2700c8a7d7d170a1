#pragma once

#include <string>
#include <vector>

namespace orv::test {

/// What a program left behind.
struct ProcessResult {
  int status = -1;     ///< exit status, or 128 + the signal that ended it
  std::string output;  ///< standard output
  std::string errors;  ///< standard error
};

/// Runs a program (looked up on the PATH) to its end, without a shell and without standard input.
ProcessResult run(const std::vector<std::string>& arguments);

}  // namespace orv::test
