#include <CLI/CLI.hpp>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <memory>
#include <optional>

#include "Commands.h"
#include "ConversionFormat.h"
#include "ConversionOptions.h"
#include "Destination.h"
#include "Failure.h"
#include "FileTypeOption.h"
#include "HardwareOptions.h"
#include "Interruption.h"
#include "LevelFollower.h"
#include "LiveLine.h"
#include "OrvCoreAudio/OrvAudioDevice.h"
#include "OrvCoreAudio/OrvAudioFile.h"
#include "OrvCoreAudio/OrvAudioFileFormats.h"
#include "OrvCoreAudio/OrvAudioRecorder.h"
#include "OrvPlatform/Log.h"
#include "OrvPlatform/NotificationCenter.h"
#include "OrvPlatform/RunLoop.h"
#include "Splitting.h"
#include "Text.h"
#include "TimeText.h"

namespace orv::cli {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

constexpr auto kUpdateInterval = 100ms;
constexpr int kBarPlaces = 24;
/// Where neither the person nor the device says how many bits.
constexpr std::uint32_t kUsualBits = 24;

struct RecordOptions {
  std::string path;
  std::string device;
  std::optional<double> seconds;
  ConversionOptions conversion;
  AudioFileTypeID type = 0;  // 0: by the extension, else AIFF
  bool force = false;
  bool split = false;
  bool quiet = false;

  Overwrite overwrite() const { return force ? Overwrite::allow : Overwrite::refuse; }
};

/// A file that is to be replaced. It goes only when there is something in its place, and comes back where there isn't.
class ReplacedFile {
 public:
  explicit ReplacedFile(const std::string& path) : path_(path) {
    std::error_code error;
    if (fs::exists(fs::symlink_status(path, error))) {
      aside_ = path + ".replaced";
      fs::rename(path_, aside_, error);
      if (error) {
        throw Failure(path_, error.message());
      }
    }
  }
  ReplacedFile(const ReplacedFile&) = delete;
  ReplacedFile& operator=(const ReplacedFile&) = delete;
  ~ReplacedFile() {
    std::error_code ignored;
    if (!aside_.empty()) {
      fs::rename(aside_, path_, ignored);
    }
  }
  /// There is a new one.
  void giveUp() {
    std::error_code ignored;
    if (!aside_.empty()) {
      fs::remove(aside_, ignored);
      aside_.clear();
    }
  }

 private:
  std::string path_;
  std::string aside_;  // empty: nothing to be replaced
};

/// What the device delivers, as integers of its converter's width.
std::shared_ptr<OrvAudioStreamBasicDescription> formatFor(const RecordOptions& options, const OrvAudioDevice& device) {
  const auto delivered = device.actualStreamFormat_isInput(0, true);
  const auto physical = device.physicalStreamFormat_isInput(0, true);
  if (delivered == nullptr || delivered->channelsPerFrame() == 0 || !(delivered->sampleRate() > 0)) {
    throw Failure(printable(device.description()), "tells no format of its input");
  }
  const bool tellsBits = physical != nullptr && !physical->isFloat() && physical->bitsPerChannel() > 0;
  const ConversionOptions& wanted = options.conversion;
  constexpr std::uint32_t floatBits = 32;
  const std::uint32_t bits = wanted.bits.value_or(tellsBits ? physical->bitsPerChannel() : kUsualBits);
  const double rate = wanted.rate.value_or(delivered->sampleRate());
  checkRates(printable(device.description()), delivered->sampleRate(), rate);
  return linearFormat(rate, wanted.channels.value_or(delivered->channelsPerFrame()), wanted.isFloat ? floatBits : bits,
                      wanted.isFloat);
}

std::shared_ptr<OrvAudioFile> fileFor(const RecordOptions& options, const OrvAudioDevice& device) {
  const AudioFileTypeID byExtension = fileTypeForPath(options.path);
  AudioFileTypeID type = options.type != 0 ? options.type : byExtension != 0 ? byExtension : kAudioFileAIFFType;
  const auto format = losslessFormat(*formatFor(options, device), type);
  auto file = OrvAudioFile::initWithPath_accessMode(options.path, OrvAudioFile::kModeWrite);
  if (file == nullptr) {
    throw Failure(options.path, "out of memory");
  }
  file->setFileStreamFormat(format);
  file->setFileType(type);
  return file;
}

std::string sizeText(const std::string& path) {
  std::error_code error;
  const auto bytes = fs::file_size(path, error);
  constexpr double perMegabyte = 1e6;
  return error ? "no file" : formatText("%.1f MB", static_cast<double>(bytes) / perMegabyte);
}

/// One recording.
class Recording {
 public:
  Recording(const RecordOptions& options, const std::shared_ptr<OrvAudioDevice>& device)
      : options_(options),
        device_(device),
        levels_(device),
        line_(!options.quiet),
        file_(fileFor(options, *device)),
        sampleRate_(device->nominalSampleRate(true)),
        recorder_(OrvAudioRecorder::initWithAudioDevice_audioFile(device, file_)) {
    if (recorder_ == nullptr) {
      throw Failure("out of memory");
    }
    if (options.seconds) {
      recorder_->setFrameLimit(static_cast<std::uint64_t>(std::llround(*options.seconds * sampleRate_)));
    }
    for (const char* name :
         {OrvAudioRecorderStoppedRecordingNotification, OrvAudioRecorderInterruptedRecordingNotification}) {
      ends_.push_back(NotificationCenter::defaultCenter().addObserver(std::string(name), recorder_,
                                                                      [this](const Notification&) { isOver_ = true; }));
    }
  }

  /// Returns when the file is complete. Throws `Failure` where it is not what it should be.
  void run() {
    start();
    const auto update = RunLoop::main().every(kUpdateInterval, [&] { advance(); });
    RunLoop::main().runUntil([&] { return isOver_ || interruption(); }, std::chrono::nanoseconds::max());
    recorder_->finishRecording();  // nothing to do where the recorder has ended it
    line_.clear();
    report();
  }

  /// Nothing is lost behind the device, but before it there may be.
  void checkForGaps() const {
    if (levels_.missing() > 0) {
      throw Failure(
          printable(device_->description()),
          formatText("left out %llu frames, the first at ", static_cast<unsigned long long>(levels_.missing())) +
              timeText(static_cast<double>(levels_.firstMissingBefore()) / sampleRate_) +
              ": the machine was too busy for it" + whatIsThere());
    }
  }

 private:
  void start() {
    ReplacedFile replaced(options_.path);
    if (!recorder_->startRecording()) {
      throw Failure(printable(recorder_->lastProblem()));
    }
    replaced.giveUp();
  }

  void advance() {
    if (isOver_) {
      return;
    }
    levels_.update();
    silence_ = levels_.problem();
    isOver_ = !silence_.empty();
    if (line_.isShown()) {
      line_.show(status());
    }
    levels_.restart();
  }

  double seconds() const { return static_cast<double>(recorder_->recordedFrames()) / sampleRate_; }

  std::string status() {
    const float now = levels_.latest().loudest();
    const float held = hold_.loudestAfter(levels_.latest(), std::chrono::steady_clock::now());
    return "recording " + timeText(seconds(), {.decimals = 1}) + "  " + levelBar(now, held, kBarPlaces) +
           formatText(" %6s dBFS%s", decibelText(held).c_str(), levels_.total().loudest() >= 1.0F ? " CLIP" : "") +
           "  " + sizeText(options_.path) +
           formatText("  %llu dropped", static_cast<unsigned long long>(recorder_->droppedBlocks()));
  }

  void report() {
    levels_.update();
    if (!options_.quiet) {
      std::error_code error;
      if (fs::exists(options_.path, error)) {
        print(summaryOf(options_.path));
      }
      print("peak " + decibelText(levels_.total().loudest()) + " dBFS\n");
    }
    const std::string problem = recorder_->lastProblem();
    if (!problem.empty() || !silence_.empty()) {
      throw Failure(printable(problem.empty() ? device_->description() + ": " + silence_ : problem) + whatIsThere());
    }
  }

  /// What the file holds of a recording that went wrong.
  std::string whatIsThere() const {
    if (!fs::exists(options_.path)) {
      return "";
    }
    const SourceFile made = openSource(options_.path);
    return "; the file holds " + timeText(made.seconds(made.lengthInFrames)) + ", up to frame " +
           std::to_string(made.lengthInFrames);
  }

  const RecordOptions& options_;
  const std::shared_ptr<OrvAudioDevice> device_;
  LevelFollower levels_;
  LiveLine line_;
  const std::shared_ptr<OrvAudioFile> file_;
  const double sampleRate_;
  const std::shared_ptr<OrvAudioRecorder> recorder_;
  std::vector<Observation> ends_;
  PeakHold hold_;
  std::string silence_;
  bool isOver_ = false;
};

void record(const RecordOptions& options, const HardwareOptions& hardware) {
  checkDestination(options.path, "", options.overwrite());
  useHardware(hardware);
  Recording recording(options, deviceFor(options.device, true));
  recording.run();
  forgetInterruption();  // it ended the recording, and the tracks are still wanted
  if (options.split) {
    const AudioFileTypeID type = openSource(options.path).file->fileType();
    splitAndStore(options.path, holdsTracks(type) ? TrackStore::internal : TrackStore::external, options.quiet);
  }
  recording.checkForGaps();
}

constexpr const char* kHelpFooter =
    "Ctrl-C ends the recording; every frame until then is in the file. What is not asked for is as the device has "
    "it.\n"
    "The file can be opened at any time: should the machine or the program die, all but the last second is there.\n"
    "AIFF holds integers; floats make it an AIFC.\n\n"
    "Examples:\n"
    "  orv record side-a.aiff\n"
    "  orv record concert.wav --device usb-interface --channels 2 --bits 24\n"
    "  orv record side-a.aiff --seconds 1500 --split";

}  // namespace

void addRecordCommand(CLI::App& program, const std::shared_ptr<HardwareOptions>& hardware, Action* action) {
  CLI::App* command = program.add_subcommand("record", "Record an input into a file");
  command->fallthrough();
  command->footer(kHelpFooter);
  const auto options = std::make_shared<RecordOptions>();
  command->add_option("OUT", options->path, "The new file")->required()->type_name("");
  command->add_option("--device", options->device, "UID, ID or name of the input (the default one)")
      ->type_name("DEVICE");
  command->add_option("--seconds", options->seconds, "Stop after so much audio")
      ->check(CLI::Range(0.01, 1e6))
      ->type_name("S");
  addConversion(*command, &options->conversion,
                "The device's first C channels; of a stereo device 1 takes the mean, and 2\n"
                "doubles a mono one");
  addFileType(*command, &options->type, "aiff, aifc, wave or sd2f; else by the extension of OUT, else aiff");
  command->add_flag("--split", options->split, "Then find the tracks, and store them with the recording");
  command->add_flag("--force", options->force, "Replace a file that exists");
  command->add_flag("--quiet", options->quiet, "No live line, no closing lines");
  command->callback([options, hardware, action] {
    checkConversion(options->conversion);
    *action = [options, hardware] { record(*options, *hardware); };
  });
}

}  // namespace orv::cli
