#pragma once

#include <CLI/CLI.hpp>
#include <charconv>
#include <string>

#include "Text.h"

namespace orv::cli {

/// The number from `least` to `most` that the option `name` is given in decimal digits; anything else is wrong usage.
template <typename Number>
Number numberOf(const std::string& name, const std::string& text, Number least, Number most) {
  Number number{};
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool whole = result.ec == std::errc() && result.ptr == text.data() + text.size();
  if (!whole || !(number >= least && number <= most)) {
    throw CLI::ValidationError(name, "'" + text + "' is no number from " + exactNumber(static_cast<double>(least)) +
                                         " to " + exactNumber(static_cast<double>(most)));
  }
  return number;
}

}  // namespace orv::cli
