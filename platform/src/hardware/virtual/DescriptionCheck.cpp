#include "hardware/virtual/DescriptionCheck.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "OrvPlatform/Log.h"
#include "hardware/virtual/Model.h"

namespace orv::virtualhardware {
namespace {

using Problem = std::string;

Problem outside(const char* what, double value, double least, double most) {
  return value >= least && value <= most ? Problem()
                                         : formatText("%s: %g is not between %g and %g", what, value, least, most);
}

Problem tooMany(const char* what, std::size_t count, std::size_t most) {
  return count <= most ? Problem() : formatText("%s: %zu are too many, %zu are possible", what, count, most);
}

Problem badText(const char* what, const std::string& text) {
  if (text.find('\0') != std::string::npos) {
    return formatText("%s: holds a zero byte", what);
  }
  return text.size() <= kLongestText ? Problem() : formatText("%s: longer than %zu bytes", what, kLongestText);
}

Problem badRange(const char* what, const AudioValueRange& range, double least, double most) {
  Problem problem = outside(what, range.mMinimum, least, most);
  if (problem.empty()) {
    problem = outside(what, range.mMaximum, least, most);
  }
  if (problem.empty() && range.mMinimum > range.mMaximum) {
    problem = formatText("%s: the minimum %g is above the maximum %g", what, range.mMinimum, range.mMaximum);
  }
  return problem;
}

/// The first problem there is among several looks, each taken only when there was none before.
class Check {
 public:
  template <typename Look>
  Check& look(const Look& look) {
    if (problem_.empty()) {
      problem_ = look();
    }
    return *this;
  }
  Check& require(bool holds, const char* problem) {
    return look([&] { return holds ? Problem() : Problem(problem); });
  }
  Problem problem() const { return problem_; }

 private:
  Problem problem_;
};

bool isPCM(const AudioStreamBasicDescription& format) {
  const std::uint32_t channels = format.mChannelsPerFrame;
  const std::uint32_t bytes = channels == 0 ? 0 : format.mBytesPerFrame / channels;
  const bool isFloat = (format.mFormatFlags & kAudioFormatFlagIsFloat) != 0;
  const bool hasBits = isFloat ? format.mBitsPerChannel == 32 || format.mBitsPerChannel == 64
                               : format.mBitsPerChannel >= 8 && format.mBitsPerChannel <= 32;
  return format.mFormatID == kAudioFormatLinearPCM && hasBits && bytes * channels == format.mBytesPerFrame &&
         bytes * 8 >= format.mBitsPerChannel && bytes <= 8 && format.mFramesPerPacket == 1 &&
         format.mBytesPerPacket == format.mBytesPerFrame;
}

Problem problemOf(const VirtualStream& stream, const VirtualDevice& device) {
  if (stream.physicalFormats.empty()) {
    return "physicalFormats: there is none";
  }
  Problem problem = tooMany("physicalFormats", stream.physicalFormats.size(), kMostEntries);
  const std::uint32_t channels = stream.physicalFormats.front().mChannelsPerFrame;
  for (const AudioStreamBasicDescription& format : stream.physicalFormats) {
    const bool hasRate =
        format.mSampleRate == 0.0 || hardwaremodel::offersRate(device.nominalSampleRates, format.mSampleRate);
    problem =
        Check()
            .look([&] { return problem; })
            .look([&] { return outside("channels", format.mChannelsPerFrame, 1, kMostChannels); })
            .require(format.mChannelsPerFrame == channels, "physicalFormats: they have different numbers of channels")
            .require(isPCM(format), "physicalFormats: one is not linear PCM of 8 to 32 bits, or floats of 32 or 64")
            .require(hasRate, "physicalFormats: one has a sample rate that the device lacks")
            .problem();
  }
  if (problem.empty() &&
      !hardwaremodel::formatAtRate(stream.physicalFormats, stream.physicalFormats.front(), device.nominalSampleRate)) {
    problem = "physicalFormats: none has the device's nominal sample rate";
  }
  return problem;
}

Problem badStreams(const VirtualSection& section, const VirtualDevice& device, std::uint32_t* channels) {
  Problem problem = tooMany("streams", section.streams.size(), kMostStreams);
  for (std::size_t i = 0; i < section.streams.size() && problem.empty(); ++i) {
    problem = problemOf(section.streams[i], device);
    if (!problem.empty()) {
      return formatText("streams[%zu].%s", i, problem.c_str());
    }
    *channels += section.streams[i].physicalFormats.front().mChannelsPerFrame;
    problem = *channels <= kMostChannels ? Problem() : formatText("streams: more than %u channels", kMostChannels);
  }
  return problem;
}

Problem badControls(const VirtualSection& section, std::uint32_t channels) {
  std::set<std::uint32_t> seen;
  for (const VirtualControl& control : section.controls) {
    Problem problem = Check()
                          .look([&] { return outside("controls: channel", control.channel, 0, channels); })
                          .look([&] { return outside("controls: volume", control.volume, 0, 1); })
                          .require(seen.insert(control.channel).second, "controls: a channel has two")
                          .problem();
    if (!problem.empty()) {
      return problem;
    }
  }
  return {};
}

Problem badSources(const VirtualSection& section) {
  std::set<std::uint32_t> seen;
  for (const VirtualDataSource& source : section.dataSources) {
    Problem problem = Check()
                          .require(source.id != 0, "dataSources: an ID is 0")
                          .require(seen.insert(source.id).second, "dataSources: two have the same ID")
                          .look([&] { return badText("dataSources: name", source.name.value_or("")); })
                          .problem();
    if (!problem.empty()) {
      return problem;
    }
  }
  const bool isThere = section.currentDataSource == 0 || seen.contains(section.currentDataSource);
  return isThere ? Problem() : "currentDataSource: it is not among the dataSources";
}

Problem badStereo(const VirtualSection& section, std::uint32_t channels) {
  const auto& left = section.preferredStereo[0];
  const auto& right = section.preferredStereo[1];
  if (left.has_value() != right.has_value()) {
    return "preferredStereo: one of the two channels is missing";
  }
  return Check()
      .look([&] { return left ? outside("preferredStereo", *left, 1, channels) : Problem(); })
      .look([&] { return right ? outside("preferredStereo", *right, 1, channels) : Problem(); })
      .problem();
}

Problem problemOf(const VirtualSection& section, const VirtualDevice& device) {
  std::uint32_t channels = 0;
  const bool isQuieter = section.quietestDecibels < section.loudestDecibels;
  return Check()
      .look([&] { return badStreams(section, device, &channels); })
      .look([&] { return badControls(section, channels); })
      .look([&] { return outside("quietestDecibels", section.quietestDecibels, -1000, 1000); })
      .look([&] { return outside("loudestDecibels", section.loudestDecibels, -1000, 1000); })
      .require(isQuieter, "quietestDecibels: they are not below loudestDecibels")
      .look([&] { return tooMany("dataSources", section.dataSources.size(), kMostEntries); })
      .look([&] { return badSources(section); })
      .look([&] { return badStereo(section, channels); })
      .require(section.channelLabels.empty() || section.channelLabels.size() == channels,
               "channelLabels: there is not one for each channel")
      .look([&] { return outside("latency", section.latency, 0, kMostFrames); })
      .look([&] { return outside("safetyOffset", section.safetyOffset, 0, kMostFrames); })
      .problem();
}

Problem badRates(const VirtualDevice& device) {
  if (device.nominalSampleRates.empty()) {
    return "nominalSampleRates: there is none";
  }
  Problem problem = tooMany("nominalSampleRates", device.nominalSampleRates.size(), kMostEntries);
  for (const AudioValueRange& range : device.nominalSampleRates) {
    problem = problem.empty() ? badRange("nominalSampleRates", range, 1, kHighestRate) : problem;
  }
  if (problem.empty() && !hardwaremodel::offersRate(device.nominalSampleRates, device.nominalSampleRate)) {
    problem = formatText("nominalSampleRate: %g is not among the nominalSampleRates", device.nominalSampleRate);
  }
  return problem;
}

Problem in(const char* where, const Problem& problem) {
  return problem.empty() ? problem : where + problem;
}

}  // namespace

std::string problemOf(const VirtualInput& source) {
  return Check()
      .look([&] { return outside("toneHertz", source.toneHertz, 0, kHighestRate); })
      .look([&] { return outside("toneLevel", source.toneLevel, 0, 1000); })
      .look([&] { return outside("gapSeconds", source.gapSeconds, 0, 1e6); })
      .look([&] { return tooMany("files", source.files.size(), kMostFiles); })
      .require(source.kind != VirtualInput::Kind::files || !source.files.empty(), "files: there is none")
      .require(source.kind != VirtualInput::Kind::loopback || !source.loopbackUID.empty(), "loopbackUID: it is missing")
      .look([&] { return badText("loopbackUID", source.loopbackUID); })
      .problem();
}

std::string problemOf(const VirtualDevice& device) {
  return Check()
      .require(!device.uid.empty(), "uid: it is missing")
      .look([&] { return badText("uid", device.uid); })
      .look([&] { return badText("name", device.name.value_or("")); })
      .look([&] { return badText("manufacturer", device.manufacturer.value_or("")); })
      .look([&] { return badRates(device); })
      .look([&] { return badRange("bufferFrameSizes", device.bufferFrameSizes, 1, kLargestCycle); })
      .look([&] {
        return outside("bufferFrameSize", device.bufferFrameSize, device.bufferFrameSizes.mMinimum,
                       device.bufferFrameSizes.mMaximum);
      })
      .look([&] { return in("input.", problemOf(device.input, device)); })
      .look([&] { return in("output.", problemOf(device.output, device)); })
      .look([&] { return in("source.", problemOf(device.source)); })
      .require(device.source.kind == VirtualInput::Kind::silence || !device.input.streams.empty(),
               "source: the device has no input")
      .require(!device.sink.file || !device.output.streams.empty(), "sink: the device has no output")
      .problem();
}

}  // namespace orv::virtualhardware
