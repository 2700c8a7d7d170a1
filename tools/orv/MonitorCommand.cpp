#include <CLI/CLI.hpp>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <memory>
#include <optional>

#include "Commands.h"
#include "Failure.h"
#include "HardwareOptions.h"
#include "Interruption.h"
#include "LevelFollower.h"
#include "LiveLine.h"
#include "OrvCoreAudio/OrvAudioDevice.h"
#include "OrvCoreAudio/OrvPlayThroughHandler.h"
#include "OrvCoreAudio/OrvSoftwareVolumeControl.h"
#include "OrvPlatform/Log.h"
#include "OrvPlatform/RunLoop.h"
#include "RangeOptions.h"
#include "Text.h"
#include "TimeText.h"

namespace orv::cli {
namespace {

using namespace std::chrono_literals;

constexpr auto kUpdateInterval = 100ms;
constexpr int kBarPlaces = 40;

struct MonitorOptions {
  std::string input;
  std::string output;
  std::optional<double> gain;
  std::optional<double> seconds;
  bool quiet = false;
};

using Device = std::shared_ptr<OrvAudioDevice>;

/// Sets a property of a device for as long as this lives.
template <typename Value>
class Borrowed {
 public:
  /// Nothing happens where the device has that value already, or refuses it.
  Borrowed(const Device& device, bool isInput, AudioDevicePropertyID property, Value wanted)
      : device_(device), isInput_(isInput), property_(property) {
    std::uint32_t size = sizeof before_;
    if (AudioDeviceGetProperty(device->deviceID(), 0, isInput, property, &size, &before_) == noErr &&
        before_ != wanted) {
      isSet_ = set(wanted);
    }
  }
  Borrowed(const Borrowed&) = delete;
  Borrowed& operator=(const Borrowed&) = delete;
  ~Borrowed() {
    if (isSet_) {
      set(before_);
    }
  }

 private:
  bool set(Value value) const {
    return AudioDeviceSetProperty(device_->deviceID(), nullptr, 0, isInput_, property_, sizeof value, &value) == noErr;
  }

  const Device device_;
  const bool isInput_;
  const AudioDevicePropertyID property_;
  Value before_{};
  bool isSet_ = false;
};

/// One run of the monitor.
class Monitor {
 public:
  Monitor(const MonitorOptions& options, Device input, Device output)
      : input_(std::move(input)),
        output_(std::move(output)),
        rate_(output_, false, kAudioDevicePropertyNominalSampleRate, input_->nominalSampleRate(true)),
        block_(output_, false, kAudioDevicePropertyBufferFrameSize, input_->bufferFrameSize(true)),
        levels_(input_),
        line_(!options.quiet),
        handler_(OrvPlayThroughHandler::init()) {
    if (handler_ == nullptr) {
      throw Failure("out of memory");
    }
    if (options.seconds) {
      lastFrame_ = static_cast<std::uint64_t>(std::llround(*options.seconds * input_->nominalSampleRate(true)));
    }
    handler_->setMapsChannels(true);
    handler_->setVolumeControl(volumeFor(options.gain));
    handler_->setAudioDevice_isInput(input_, true);
    handler_->setAudioDevice_isInput(output_, false);
    if (!options.quiet) {
      printNotes();
    }
  }

  void run() {
    if (!handler_->startBothOrNeither()) {
      throw Failure("the devices do not start: " + printable(handler_->description()));
    }
    const auto update = RunLoop::main().every(kUpdateInterval, [&] { advance(); });
    RunLoop::main().runUntil([&] { return isOver_ || interruption(); }, std::chrono::nanoseconds::max());
    handler_->stop();
    line_.clear();
    if (!problem_.empty()) {
      throw Failure(problem_);
    }
  }

 private:
  /// What can't be made right, the person should know.
  void printNotes() const {
    const double inputRate = input_->nominalSampleRate(true);
    const double outputRate = output_->nominalSampleRate(false);
    if (inputRate != outputRate) {
      std::fprintf(
          stderr,
          "orv: note: the input works at %g Hz and the output at %g Hz, and neither follows the other: it will "
          "crackle\n",
          inputRate, outputRate);
    } else if (input_->bufferFrameSize(true) != output_->bufferFrameSize(false)) {
      std::fprintf(stderr,
                   "orv: note: the input delivers %u frames at a time and the output takes %u: there will be gaps\n",
                   input_->bufferFrameSize(true), output_->bufferFrameSize(false));
    }
  }

  void advance() {
    levels_.update(lastFrame_);
    if (levels_.total().to >= lastFrame_) {
      isOver_ = true;
    } else if (const std::string silence = levels_.problem(); !silence.empty()) {
      fail(*input_, silence);
    } else if (!output_->isAlive()) {
      fail(*output_, "the device is gone");
    }
    if (line_.isShown()) {
      line_.show(status());
    }
    levels_.restart();
  }

  void fail(const OrvAudioDevice& device, const std::string& problem) {
    problem_ = printable(device.description()) + ": " + problem;
    isOver_ = true;
  }

  std::string status() {
    const float held = hold_.loudestAfter(levels_.latest(), std::chrono::steady_clock::now());
    const double seconds = static_cast<double>(levels_.total().to) / input_->nominalSampleRate(true);
    return "monitoring " + timeText(seconds, {.decimals = 1}) + "  " +
           levelBar(levels_.latest().loudest(), held, kBarPlaces) + formatText(" %6s dBFS", decibelText(held).c_str());
  }

  const Device input_;
  const Device output_;
  const Borrowed<double> rate_;
  const Borrowed<std::uint32_t> block_;
  LevelFollower levels_;
  LiveLine line_;
  const std::shared_ptr<OrvPlayThroughHandler> handler_;
  std::uint64_t lastFrame_ = LevelFollower::kNoEnd;
  PeakHold hold_;
  std::string problem_;
  bool isOver_ = false;
};

constexpr const char* kHelpFooter =
    "The delay is one cycle at most, none where input and output are one device. Two devices work best at one rate\n"
    "and with one buffer size: the output gets the input's for as long as the monitor runs. Each keeps its own clock,\n"
    "so that two devices lose or lack a block now and then. Ctrl-C ends the monitor.\n\n"
    "Example:\n  orv monitor --input usb-interface --gain-db -6";

}  // namespace

void addMonitorCommand(CLI::App& program, const std::shared_ptr<HardwareOptions>& hardware, Action* action) {
  CLI::App* command = program.add_subcommand("monitor", "Play an input on an output, live");
  command->fallthrough();
  command->footer(kHelpFooter);
  const auto options = std::make_shared<MonitorOptions>();
  command->add_option("--input", options->input, "UID, ID or name of the input (the default one)")->type_name("DEVICE");
  command->add_option("--output", options->output, "UID, ID or name of the output (the default one)")
      ->type_name("DEVICE");
  addGain(*command, &options->gain);
  command->add_option("--seconds", options->seconds, "Stop after so much audio")
      ->check(CLI::Range(0.01, 1e6))
      ->type_name("S");
  command->add_flag("--quiet", options->quiet, "No live line, no notes");
  command->callback([options, hardware, action] {
    *action = [options, hardware] {
      useHardware(*hardware);
      const Device input = deviceFor(options->input, true);
      Monitor(*options, input, deviceFor(options->output, false)).run();
    };
  });
}

}  // namespace orv::cli
