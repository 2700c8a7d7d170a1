#pragma once

#include <exception>
#include <utility>

#include "OrvPlatform/Log.h"

/// Runs the body of a public operation. What the standard library throws inside becomes the operation's failure result
/// and one line in the log.
template <typename Result, typename Body>
Result withoutThrowing(const char* operation, Result failure, Body&& body) {
  try {
    return std::forward<Body>(body)();
  } catch (const std::exception& problem) {
    orv::logf("%s: %s", operation, problem.what());
  } catch (...) {
    orv::logf("%s: unknown exception", operation);
  }
  return failure;
}
