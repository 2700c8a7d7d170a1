#include "ConversionOptions.h"

#include <CLI/CLI.hpp>
#include <array>

#include "Options.h"

namespace orv::cli {
namespace {

constexpr double kMostHertz = 10e6;
constexpr std::uint32_t kMostChannels = 1024;
constexpr std::uint32_t kFloatBits = 32;

}  // namespace

void addConversion(CLI::App& command, ConversionOptions* options, const std::string& channelsHelp) {
  const auto takeRate = [options](const std::string& text) {
    options->rate = numberOf<double>("--rate", text, 1, kMostHertz);
  };
  command.add_option_function<std::string>("--rate", takeRate, "Frames per second")->type_name("R");
  const auto takeBits = [options](const std::string& text) {
    constexpr std::array<std::uint32_t, 4> widths{8, 16, 24, 32};
    for (const std::uint32_t width : widths) {
      if (text == std::to_string(width)) {
        options->bits = width;
        return;
      }
    }
    throw CLI::ValidationError("--bits", "'" + text + "' is not known; there are: 8, 16, 24, 32");
  };
  command
      .add_option_function<std::string>("--bits", takeBits,
                                        "Integers of 8, 16, 24 or 32 bits. Fewer bits than the source has are\n"
                                        "rounded to the nearest value, without dither")
      ->type_name("N");
  command.add_flag("--float", options->isFloat, "Floats of 32 bits");
  const auto takeChannels = [options](const std::string& text) {
    options->channels = numberOf<std::uint32_t>("--channels", text, 1, kMostChannels);
  };
  command.add_option_function<std::string>("--channels", takeChannels, channelsHelp)->type_name("C");
}

void checkConversion(const ConversionOptions& options) {
  if (options.isFloat && options.bits.value_or(kFloatBits) != kFloatBits) {
    throw CLI::ValidationError("--float",
                               "makes samples of 32 bits; --bits " + std::to_string(*options.bits) + " contradicts it");
  }
}

}  // namespace orv::cli
