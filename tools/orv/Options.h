#pragma once

#include <CLI/CLI.hpp>
#include <charconv>
#include <cmath>
#include <string>

#include "Text.h"

namespace orv::cli {

/// Adds an option that takes a number from `least` to `most` in decimal digits; anything else is wrong usage.
template <typename Number>
CLI::Option* addNumber(CLI::App& command, const std::string& name, Number* target, Number least, Number most,
                       const std::string& help) {
  const auto take = [=](const std::string& text) {
    Number number{};
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool whole = result.ec == std::errc() && result.ptr == text.data() + text.size();
    if (!whole || !(number >= least && number <= most)) {
      throw CLI::ValidationError(name,
                                 "'" + text + "' is no number from " + exactNumber(least) + " to " + exactNumber(most));
    }
    *target = number;
  };
  return command.add_option_function<std::string>(name, take, help)->type_name("N");
}

}  // namespace orv::cli
