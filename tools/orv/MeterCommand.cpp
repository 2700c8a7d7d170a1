#include <sys/ioctl.h>
#include <unistd.h>

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
#include "Json.h"
#include "LevelDisplay.h"
#include "LevelTap.h"
#include "OrvCoreAudio/OrvAudioDevice.h"
#include "OrvPlatform/Log.h"
#include "OrvPlatform/RunLoop.h"
#include "Text.h"

namespace orv::cli {
namespace {

using namespace std::chrono_literals;

constexpr auto kUpdateInterval = 50ms;
/// A device that is silent for so long is not coming back.
constexpr auto kPatience = 5s;

struct MeterOptions {
  std::string device;
  std::optional<double> seconds;
  bool json = false;
};

int terminalColumns() {
  winsize size{};
  return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

void appendAmplitudes(JsonWriter* json, const char* key, const std::array<float, LevelTap::kChannels>& amplitudes,
                      std::uint32_t channels, bool inDecibels) {
  json->key(key).beginArray();
  for (std::uint32_t i = 0; i < channels; ++i) {
    if (!inDecibels) {
      json->value(amplitudes[i]);
    } else if (amplitudes[i] > 0) {
      json->value(std::round(2000.0 * std::log10(static_cast<double>(amplitudes[i]))) / 100.0);
    } else {
      json->null();
    }
  }
  json->endArray();
}

/// One line.
std::string asJson(const Levels& levels, bool isTotal) {
  JsonWriter json(JsonWriter::Layout::oneLine);
  json.beginObject();
  json.key("from").value(levels.from);
  json.key("to").value(levels.to);
  json.key("total").value(isTotal);
  appendAmplitudes(&json, "peaks", levels.peaks, levels.channels, false);
  appendAmplitudes(&json, "dBFS", levels.magnitudes, levels.channels, true);
  json.endObject();
  return json.text() + "\n";
}

std::string summary(const Levels& total, double sampleRate) {
  std::string text = formatText("%.3f s metered; largest sample and peak level of each channel:\n",
                                static_cast<double>(total.to) / sampleRate);
  for (std::uint32_t i = 0; i < total.channels; ++i) {
    text += formatText("%2u  %9.6f  %7s dBFS\n", i + 1, static_cast<double>(total.peaks[i]),
                       decibelText(total.magnitudes[i]).c_str());
  }
  return text;
}

/// One run of the meter.
class Meter {
 public:
  Meter(const MeterOptions& options, std::shared_ptr<OrvAudioDevice> device)
      : device_(std::move(device)),
        sampleRate_(device_->nominalSampleRate(true)),
        isJson_(options.json),
        isDrawn_(!options.json && isatty(STDOUT_FILENO) != 0) {
    if (!(sampleRate_ > 0)) {
      throw Failure(printable(device_->description()), "tells no sample rate");
    }
    if (options.seconds) {
      lastFrame_ = static_cast<std::uint64_t>(std::llround(*options.seconds * sampleRate_));
    }
  }

  void run() {
    device_->addAudioIOSubscriber_forInput(tap_, true);
    device_->start();
    const auto update = RunLoop::main().every(kUpdateInterval, [&] { advance(); });
    RunLoop::main().runUntil([&] { return isDone_ || interruption(); }, std::chrono::nanoseconds::max());
    device_->stop();
    device_->removeAudioIOSubscriber_forInput(tap_, true);
    finish();
  }

 private:
  void advance() {
    const auto now = std::chrono::steady_clock::now();
    LevelTap::Cycle cycle;
    bool isAnyNew = false;
    while (!isDone_ && tap_->take(&cycle)) {
      isAnyNew = true;
      latest_.add(cycle);
      total_.add(cycle);
      isDone_ = lastFrame_ && total_.to >= *lastFrame_;
    }
    lastCycle_ = isAnyNew ? now : lastCycle_;
    if (now - lastCycle_ > kPatience) {
      problem_ = device_->isAlive() ? "the device delivers nothing" : "the device is gone";
      isDone_ = true;
    }
    if (isAnyNew) {
      show(now);
      latest_.restart();
    }
  }

  void show(std::chrono::steady_clock::time_point now) {
    if (isJson_) {
      print(asJson(latest_, false));
    } else if (isDrawn_) {
      const std::string bars = levelBars(latest_, hold_.add(latest_, now), terminalColumns());
      print((linesDrawn_ > 0 ? formatText("\x1B[%dA", linesDrawn_) : "") + bars);
      linesDrawn_ = static_cast<int>(latest_.channels) + 1;
    }
  }

  void finish() const {
    print(isJson_ ? asJson(total_, true) : summary(total_, sampleRate_));
    if (!problem_.empty()) {
      throw Failure(printable(device_->description()), problem_);
    }
    if (tap_->lost() > 0) {
      throw Failure(
          formatText("%llu cycles were lost: the machine is too busy", static_cast<unsigned long long>(tap_->lost())));
    }
  }

  const std::shared_ptr<OrvAudioDevice> device_;
  const std::shared_ptr<LevelTap> tap_ = std::make_shared<LevelTap>();
  const double sampleRate_;
  const bool isJson_;
  const bool isDrawn_;
  std::optional<std::uint64_t> lastFrame_;
  Levels latest_;
  Levels total_;
  PeakHold hold_;
  std::chrono::steady_clock::time_point lastCycle_ = std::chrono::steady_clock::now();
  int linesDrawn_ = 0;
  bool isDone_ = false;
  std::string problem_;
};

}  // namespace

void addMeterCommand(CLI::App& program, const std::shared_ptr<HardwareOptions>& hardware, Action* action) {
  CLI::App* command = program.add_subcommand("meter", "Show the level of an input");
  command->fallthrough();
  command->footer(
      "Peaks are those of every frame since the update before; the level that is held is the loudest of the last one\n"
      "and a half seconds. Ctrl-C ends the meter. In JSON each update is a line of its own: frames from and up to,\n"
      "the largest sample of each channel, and its peak level in dBFS; the last line is about all of it.\n\n"
      "Example:\n  orv meter --hardware virtual --virtual-input side-a.aiff --seconds 10");
  const auto options = std::make_shared<MeterOptions>();
  command->add_option("--device", options->device, "UID, ID or name of the input (the default one)")
      ->type_name("DEVICE");
  command->add_option("--seconds", options->seconds, "Stop after so much audio")
      ->check(CLI::Range(0.01, 1e6))
      ->type_name("S");
  command->add_flag("--json", options->json, "A line of JSON for each update");
  command->callback([options, hardware, action] {
    *action = [options, hardware] {
      useHardware(*hardware);
      Meter(*options, deviceFor(options->device, true)).run();
    };
  });
}

}  // namespace orv::cli
