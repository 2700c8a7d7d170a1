#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace orv::cli {

/// What is to become of samples, as the person asks for it. Nothing: as they are.
struct ConversionOptions {
  std::optional<double> rate;  ///< Hz
  std::optional<std::uint32_t> bits;
  bool isFloat = false;  ///< floats of 32 bits
  std::optional<std::uint32_t> channels;
};

/// Adds --rate, --bits, --float and --channels. Requires: `options` outlives the parsing.
void addConversion(CLI::App& command, ConversionOptions* options, const std::string& channelsHelp);

/// Throws `CLI::ParseError` where they contradict each other. After the parsing.
void checkConversion(const ConversionOptions& options);

}  // namespace orv::cli
