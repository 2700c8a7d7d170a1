#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <optional>

#include "Commands.h"
#include "ConversionFormat.h"
#include "ConversionOptions.h"
#include "Destination.h"
#include "Exporting.h"
#include "Failure.h"
#include "FileTypeOption.h"
#include "OrvPlatform/Log.h"
#include "StoredTracks.h"
#include "Text.h"

namespace orv::cli {
namespace {

struct ConvertOptions {
  std::string source;
  std::string destination;
  ConversionOptions conversion;
  AudioFileTypeID type = 0;  // 0: by the destination's extension, else the source's
  bool force = false;
  bool quiet = false;
};

void printNote(const ConvertOptions& options, const std::string& note) {
  if (!options.quiet) {
    std::fprintf(stderr, "orv: note: %s\n", printable(note).c_str());
  }
}

// What is stored with the source. That it can't be read is no reason not to convert the audio.
std::optional<StoredTracks> tracksOf(const SourceFile& source, const ConvertOptions& options) {
  try {
    StoredTracks stored = StoredTracks::load(source, std::nullopt);
    return stored.foundIn() ? std::optional(std::move(stored)) : std::nullopt;
  } catch (const Failure& failure) {
    printNote(options, std::string("without what is stored with it: ") + failure.what());
    return std::nullopt;
  }
}

// Puts what is stored with the source into the new file; `*isLeftOut` where its type has no room for that. The answer
// is the problem, if there is one.
std::string carryOver(const StoredTracks& tracks, const std::string& path, const SourceFile& source, bool* isLeftOut) {
  const auto file = OrvAudioFile::initWithPath_accessMode(path, OrvAudioFile::kModeRead);
  if (!file->open()) {
    return problemOf(*file);
  }
  *isLeftOut = !holdsTracks(file->fileType());
  if (*isLeftOut) {
    return "";
  }
  const std::uint64_t frames = file->lengthInBytes() / file->bytesPerFrame();
  const double ratio = file->sampleRate() / source.file->sampleRate();
  file->close();
  return tracks.storeCopyIn(path, ratio, frames);
}

void convert(const ConvertOptions& options) {
  const SourceFile source = openSource(options.source);
  checkDestination(options.destination, options.source, options.force ? Overwrite::allow : Overwrite::refuse);

  OrvAudioFileProcessor::ExportRequest request;
  request.sourcePath = options.source;
  request.destinationPath = options.destination;
  request.toFrame = source.lengthInFrames;
  request.mayBeEmpty = true;
  request.fileType = options.type;
  request.format = conversionFormat(source, options.conversion);
  request.replaceExisting = options.force;
  const std::optional<StoredTracks> tracks = tracksOf(source, options);
  bool isLeftOut = false;
  if (tracks) {
    request.finish = [&](const std::string& path) { return carryOver(*tracks, path, source, &isLeftOut); };
  }
  ProgressBar progress(options.quiet ? std::nullopt : ProgressBar::standardError());
  progress.begin("Converting");
  runExport(request, options.destination, progress);
  progress.clear();
  if (isLeftOut) {
    printNote(options, "without the stored tracks and processing records: only AIFF and AIFC files hold them");
  }
  if (!options.quiet) {
    print(summaryOf(options.destination));
  }
}

constexpr const char* kHelpFooter =
    "What is not asked for stays as it is in IN. AIFF holds integers; floats make it an AIFC. Integers to a wider "
    "type\n"
    "and back, and 16 or 24 bits to float and back, come out as they were.\n"
    "Tracks that are stored with IN are stored in OUT too, where that is an AIFF or AIFC file, and moved with the "
    "rate.\n"
    "OUT appears when it is complete.\n"
    "Example:\n"
    "  orv convert side-a.aiff side-a.wav\n"
    "  orv convert side-a.aiff cd.aiff --rate 44100 --bits 16\n"
    "  orv convert mono.wav stereo.aifc --float --channels 2";

}  // namespace

void addConvertCommand(CLI::App& program, Action* action) {
  CLI::App* command = program.add_subcommand("convert", "Make a file of another type, rate, bit depth or channels");
  command->fallthrough();
  command->footer(kHelpFooter);
  const auto options = std::make_shared<ConvertOptions>();
  command->add_option("IN", options->source, "The recording")->required()->type_name("");
  command->add_option("OUT", options->destination, "The new file")->required()->type_name("");
  addConversion(*command, &options->conversion, "2 doubles a mono recording, 1 takes the mean of a stereo one");
  addFileType(*command, &options->type, "aiff, aifc, wave or sd2f; else by the extension of OUT, else as IN");
  command->add_flag("--force", options->force, "Replace a file that exists");
  command->add_flag("--quiet", options->quiet, "No progress bar, no notes, no closing line");
  command->callback([options, action] {
    checkConversion(options->conversion);
    *action = [options] { convert(*options); };
  });
}

}  // namespace orv::cli
