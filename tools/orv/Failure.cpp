#include "Failure.h"

#include <system_error>

#include "Text.h"

namespace orv::cli {

Failure::Failure(const std::string& subject, const std::string& problem)
    : std::runtime_error((subject.empty() ? "(empty path)" : printable(subject)) + ": " + problem) {}

Failure systemFailure(const std::string& subject, int error) {
  return {subject, std::generic_category().message(error)};
}

}  // namespace orv::cli
