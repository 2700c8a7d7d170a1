#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <optional>

#include "Commands.h"
#include "Exporting.h"
#include "Failure.h"
#include "Interruption.h"
#include "OrvPlatform/AudioFileMoves.h"
#include "OrvPlatform/Log.h"
#include "OrvPlatform/Status.h"
#include "RangeOptions.h"
#include "StoredTracks.h"
#include "Text.h"

namespace orv::cli {
namespace {

namespace fs = std::filesystem;
using Processor = OrvAudioFileProcessor;

struct ProcessOptions {
  std::string path;
  RangeOptions range;
  std::optional<double> gain;
  bool backup = false;
  bool quiet = false;
};

// The recording as it was, beside it. Removed again where the recording did not change after all.
class Backup {
 public:
  explicit Backup(const std::string& recording) {
    const fs::path path(recording);
    path_ = (path.parent_path() / path.stem()).string() + ".before" + path.extension().string();
    std::error_code error;
    if (fs::exists(fs::symlink_status(path_, error))) {
      throw Failure(path_, "exists already; an earlier backup is never replaced");
    }
    const auto file = OrvAudioFile::initWithPath_accessMode(recording, OrvAudioFile::kModeRead);
    if (!file->copyToPath_handler(path_, nullptr)) {
      throw Failure(path_, "the backup could not be made: " + problemOf(*file));
    }
  }
  Backup(const Backup&) = delete;
  Backup& operator=(const Backup&) = delete;
  ~Backup() {
    if (!isKept_) {
      removeAudioFile(path_);
    }
  }

  void keep() { isKept_ = true; }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
  bool isKept_ = false;
};

std::string framesText(std::uint64_t from, std::uint64_t to) {
  return formatText("frames %llu to %llu", static_cast<unsigned long long>(from), static_cast<unsigned long long>(to));
}

// What a run that ended too early left: nothing, or a range that is changed.
[[noreturn]] void failPartly(const ProcessOptions& options, const Processor::ProcessResult& result,
                             const FrameRange& range, const Backup* backup) {
  const bool isChanged = result.changedUpToFrame > range.from;
  std::string state = isChanged ? framesText(range.from, result.changedUpToFrame) + " of " + printable(options.path) +
                                      " were changed by then"
                                : printable(options.path) + " was not changed";
  if (isChanged && backup != nullptr) {
    state += "; as it was before it is in " + printable(backup->path());
  }
  if (result.cancelled) {
    throw Cancelled(state);
  }
  std::string problem = result.problem.empty() ? describeStatus(result.status) : result.problem;
  if (problem.starts_with(options.path + ": ")) {
    problem.erase(0, options.path.size() + 2);
  }
  throw Failure(options.path, problem + "; " + state);
}

void record(const ProcessOptions& options, const FrameRange& range, StoredTracks* stored) {
  const auto processing =
      OrvAudioProcessingRangeInfo::initWithProcessNameAndRange_processingStartFrame_processingEndFrame(
          "Gain", range.from, range.to);
  processing->addProcessingSettings({{"gain-db", *options.gain}});
  stored->addProcessing(processing);
  try {
    stored->save();
  } catch (const Failure& failure) {
    throw Failure(failure.what() + std::string("; ") + framesText(range.from, range.to) +
                  " were processed, but no record of it could be stored");
  }
}

void process(const ProcessOptions& options) {
  const SourceFile recording = openSource(options.path);
  refuseWhatCannotBeConverted(recording);
  const FrameRange range = rangeIn(recording, options.range, "processed");
  StoredTracks stored = StoredTracks::load(recording, std::nullopt);
  stored.checkStore();

  ProgressBar progress(options.quiet ? std::nullopt : ProgressBar::standardError());
  std::optional<Backup> backup;
  if (options.backup) {
    backup.emplace(options.path);
    stopIfInterrupted();
  }
  Processor::ProcessRequest request;
  request.path = options.path;
  request.fromFrame = range.from;
  request.toFrame = range.to;
  request.processor = volumeFor(options.gain);
  request.cancel = &interruption();
  request.progressDelegate = progressDelegateOf(progress);
  progress.begin("Processing");
  const Processor::ProcessResult result = Processor::processFramesInPlace(request);
  progress.clear();
  if (backup && result.changedUpToFrame > range.from) {
    backup->keep();
  }
  if (!result.done) {
    failPartly(options, result, range, backup ? &*backup : nullptr);
  }
  record(options, range, &stored);
  if (!options.quiet) {
    print(printable(options.path) + ": " + timeText(recording.seconds(range.from)) + " to " +
          timeText(recording.seconds(range.to)) + " processed" +
          (backup ? "; as it was before it is in " + printable(backup->path()) : "") + "\n");
  }
}

constexpr const char* kHelpFooter =
    "FRAME is a frame number or a time: 441000, 10s, 250ms, 1:23.5, 1:02:03.\n"
    "What lies outside of the range stays as it is, and so do the stored tracks; a record of what was done is stored\n"
    "with them: in an AIFF or AIFC file, beside any other. A run that fails or is stopped says up to which frame the\n"
    "recording was changed. There is no way back but the backup, which is made before anything is changed.\n"
    "Example:\n"
    "  orv process side-a.aiff --from 1:23.5 --to 4:07 --gain-db -6 --backup";

}  // namespace

void addProcessCommand(CLI::App& program, Action* action) {
  CLI::App* command = program.add_subcommand("process", "Change a range of a recording in place");
  command->fallthrough();
  command->footer(kHelpFooter);
  const auto options = std::make_shared<ProcessOptions>();
  command->add_option("FILE", options->path, "The recording")->required()->type_name("");
  addRange(*command, &options->range);
  addGain(*command, &options->gain)->required();
  command->add_flag("--backup", options->backup,
                    "First copy the recording to NAME.before.EXTENSION beside it, which must not exist yet");
  command->add_flag("--quiet", options->quiet, "No progress bar, no closing line");
  command->callback([options, action] { *action = [options] { process(*options); }; });
}

}  // namespace orv::cli
