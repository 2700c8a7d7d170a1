#pragma once

#include <stdexcept>
#include <string>

namespace orv::cli {

/// Ends the run with status 1. `what()` is the one line that standard error gets, without "orv: " in front.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
  /// "SUBJECT: problem", with whatever does not print in the subject, a path, replaced.
  Failure(const std::string& subject, const std::string& problem);
};

/// The same for what the system refused: the problem is the words for `error`, an `errno` value.
Failure systemFailure(const std::string& subject, int error);

/// Ends the run with status 130: the person asked for it. `what()` says so, and what was done by then, if anything was.
class Cancelled : public std::runtime_error {
 public:
  Cancelled() : std::runtime_error("cancelled") {}
  explicit Cancelled(const std::string& whatWasDone) : std::runtime_error("cancelled; " + whatWasDone) {}
};

}  // namespace orv::cli
