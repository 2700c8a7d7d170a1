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
#include "LevelFollower.h"
#include "LiveLine.h"
#include "OrvCoreAudio/OrvAudioDevice.h"
#include "OrvPlatform/Log.h"
#include "OrvPlatform/RunLoop.h"
#include "Text.h"

namespace orv::cli {
namespace {

using namespace std::chrono_literals;

constexpr auto kUpdateInterval = 50ms;

struct MeterOptions {
  std::string device;
  std::optional<double> seconds;
  bool json = false;
};

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
        levels_(device_),
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
    device_->start();
    const auto update = RunLoop::main().every(kUpdateInterval, [&] { advance(); });
    RunLoop::main().runUntil([&] { return isDone_ || interruption(); }, std::chrono::nanoseconds::max());
    device_->stop();
    finish();
  }

 private:
  void advance() {
    if (isDone_) {
      return;
    }
    const bool isAnyNew = levels_.update(lastFrame_);
    problem_ = levels_.problem();
    isDone_ = levels_.total().to >= lastFrame_ || !problem_.empty();
    if (isAnyNew) {
      show(std::chrono::steady_clock::now());
      levels_.restart();
    }
  }

  void show(std::chrono::steady_clock::time_point now) {
    const Levels& latest = levels_.latest();
    if (isJson_) {
      print(asJson(latest, false));
    } else if (isDrawn_) {
      const std::string bars = levelBars(latest, hold_.add(latest, now), LiveLine::columns());
      print((linesDrawn_ > 0 ? formatText("\x1B[%dA", linesDrawn_) : "") + bars);
      linesDrawn_ = static_cast<int>(latest.channels) + 1;
    }
  }

  void finish() const {
    print(isJson_ ? asJson(levels_.total(), true) : summary(levels_.total(), sampleRate_));
    if (!problem_.empty()) {
      throw Failure(printable(device_->description()), problem_);
    }
    if (levels_.lost() > 0) {
      throw Failure(formatText("%llu cycles were lost: the machine is too busy",
                               static_cast<unsigned long long>(levels_.lost())));
    }
  }

  const std::shared_ptr<OrvAudioDevice> device_;
  LevelFollower levels_;
  const double sampleRate_;
  const bool isJson_;
  const bool isDrawn_;
  std::uint64_t lastFrame_ = LevelFollower::kNoEnd;
  PeakHold hold_;
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
