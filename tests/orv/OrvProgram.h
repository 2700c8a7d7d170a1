#pragma once

#include <sys/types.h>

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/Process.h"
#include "support/TemporaryDirectory.h"

namespace orv::test {

/// Runs the program that was built beside the tests.
ProcessResult runOrv(const std::vector<std::string>& arguments);

/// The same, for a run that must succeed and answer in JSON.
nlohmann::json orvJson(std::vector<std::string> arguments);

/// Expects status 1, nothing on standard output, and one line on standard error that holds each of `fragments`.
void expectFailure(const ProcessResult& result, const std::vector<std::string>& fragments);
/// The same with status 2.
void expectWrongUsage(const ProcessResult& result, const std::vector<std::string>& fragments);

/// Names of what is in a directory, hidden entries included, in order.
std::vector<std::string> entriesOf(const std::string& directory);

/// A run under way, its output going to files of its own.
class RunningOrv {
 public:
  explicit RunningOrv(const std::vector<std::string>& arguments);
  RunningOrv(const RunningOrv&) = delete;
  RunningOrv& operator=(const RunningOrv&) = delete;
  ~RunningOrv();

  /// Returns when the program has begun to catch `signal` itself.
  void awaitHandlerOf(int signal) const;
  bool isRunning() const;
  void send(int signal) const;

  /// Watches the program to its end; the largest resident size it had, in KiB. What `wait4` tells would count the
  /// memory of the test that started it too.
  long watchPeakKilobytes() const;

  ProcessResult wait();

 private:
  std::string statusLine(const std::string& key) const;

  TemporaryDirectory scratch_;
  pid_t child_ = -1;
  bool waited_ = false;
};

}  // namespace orv::test
