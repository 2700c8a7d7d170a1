#include "FileTypeOption.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace orv::cli {
namespace {

constexpr std::array<std::pair<std::string_view, AudioFileTypeID>, 4> kTypes{{{"aiff", kAudioFileAIFFType},
                                                                              {"aifc", kAudioFileAIFCType},
                                                                              {"wave", kAudioFileWAVEType},
                                                                              {"sd2f", kAudioFileSoundDesigner2Type}}};

}  // namespace

void addFileType(CLI::App& command, AudioFileTypeID* target, const std::string& help) {
  const auto take = [target](const std::string& text) {
    const auto found =
        std::ranges::find(kTypes, CLI::detail::to_lower(text), [](const auto& type) { return type.first; });
    if (found == kTypes.end()) {
      throw CLI::ValidationError("--type", "'" + text + "' is not known; there are: aiff, aifc, wave, sd2f");
    }
    *target = found->second;
  };
  command.add_option_function<std::string>("--type", take, help)->type_name("TYPE");
}

}  // namespace orv::cli
