#include "OrvCoreAudio/OrvAudioDeviceInfoOutput.h"

#include <cstdlib>
#include <optional>

#include "OrvCoreAudio/OrvAudioDevice.h"
#include "OrvCoreAudio/OrvAudioStream.h"
#include "OrvPlatform/Log.h"
#include "device/TerminatedList.h"

using orv::formatText;

namespace {

std::string textLine(const char* label, const std::optional<std::string>& text) {
  return label + text.value_or("(null)") + "\n";
}

std::string flagLine(const char* label, bool flag) {
  return formatText("%s%s\n", label, flag ? "Yes" : "No");
}

/// The report on one section, part by part.
class SectionReport {
 public:
  SectionReport(OrvAudioDevice& device, bool isInput)
      : device_(device),
        isInput_(isInput),
        word_(isInput ? "input" : "output"),
        stereoChannels_(device.preferredChannelsForStereo(isInput), std::free) {}

  std::string text() const {
    return overview() + formats() + buffering() + stereo() + streams() + sources() + rates() + currentSource() +
           volume();
  }

 private:
  std::string overview() const {
    return std::string("\n---- ") + (isInput_ ? "INPUTS" : "OUTPUTS") + " ----\n\n" +
           formatText("Number of streams:   %u\n", device_.numberOfStreams(isInput_)) +
           formatText("Number of channels:  %u\n", device_.numberOfChannels(isInput_)) +
           formatText("Nominal sample rate: %.0fHz\n", device_.nominalSampleRate(isInput_)) +
           formatText("Actual sample rate:  %.0fHz\n\n", device_.actualSampleRate(isInput_)) +
           flagLine("Jack is connected:   ", device_.jackIsConnected(isInput_));
  }

  std::string formats() const {
    return formatUnder("Current actual stream format for device:\n", device_.actualStreamFormat_isInput(0, isInput_)) +
           formatUnder("Current physical stream format for device:\n",
                       device_.physicalStreamFormat_isInput(0, isInput_));
  }

  static std::string formatUnder(const char* heading, const std::shared_ptr<OrvAudioStreamBasicDescription>& format) {
    return format ? heading + OrvAudioDeviceInfoOutput::printStreamBasicInfo(format) : "";
  }

  std::string buffering() const {
    return std::string("\n---- ") + (isInput_ ? "INPUT" : "OUTPUT") + " BUFFER INFO ----\n\n" +
           formatText("Latency:           %u\n", device_.latency(isInput_)) +
           formatText("Buffer size:       %u\n", device_.bufferSize(isInput_)) +
           formatText("Buffer frame size: %u\n\n", device_.bufferFrameSize(isInput_));
  }

  std::string stereo() const {
    return stereoChannels_ ? formatText("Preferred channels for stereo: %u, %u\n", stereoChannels_.get()[0],
                                        stereoChannels_.get()[1])
                           : "";
  }

  std::string streams() const {
    std::string text = formatText("\n---- Available %s streams: ----\n\n", word_);
    for (const auto& stream : device_.streams(isInput_)) {
      text += OrvAudioDeviceInfoOutput::printStreamInfo(stream);
    }
    return text;
  }

  std::string sources() const {
    std::string text = formatText("%s source names:\n", word_);
    const TerminatedList ids(device_.dataSourceIDs(isInput_));
    for (std::size_t i = 0; ids.at(i) != 0; ++i) {
      const auto name = device_.dataSourceNameForID_isInput(ids.at(i), isInput_);
      text += name ? "\t" + *name + "\n" : "Unavailable";
    }
    return text;
  }

  std::string rates() const {
    std::string text = formatText("\n\n---- Available nominal %s sample rates: ----\n\n", word_);
    for (const auto& range : device_.availableNominalSampleRates(isInput_)) {
      text += formatText("Minimum: %.0fHz\nMaximum: %.0fHz\n", range->mMinimum(), range->mMaximum());
    }
    return text;
  }

  std::string currentSource() const {
    const auto name = device_.currentDataSourceName(isInput_);
    return name ? formatText("\nCurrent %s source name: ", word_) + *name + "\n"
                : formatText("\nNo current %s source name available", word_);
  }

  std::string volume() const {
    if (!stereoChannels_) {
      return "";
    }
    const std::uint32_t channel = stereoChannels_.get()[0];
    return formatText("\n%s volume decibels: %.2f\n", word_,
                      static_cast<double>(device_.volumeDecibels_isInput(channel, isInput_))) +
           formatText("%s volume scalar:   %.2f\n", word_,
                      static_cast<double>(device_.volumeScalar_isInput(channel, isInput_)));
  }

  OrvAudioDevice& device_;
  const bool isInput_;
  const char* const word_;
  const std::unique_ptr<std::uint32_t, decltype(&std::free)> stereoChannels_;  // null where they can't be read
};

}  // namespace

std::string OrvAudioDeviceInfoOutput::printGlobalDeviceInfo(const std::shared_ptr<OrvAudioDevice>& device) {
  if (device == nullptr) {
    return {};
  }
  return "\n---- GLOBAL DEVICE DATA ---\n\n" + formatText("Device ID:                    0x%X\n", device->deviceID()) +
         textLine("Device UID:                   ", device->deviceUID()) +
         textLine("Device Name:                  ", device->name()) +
         textLine("Device Manufacturers name:    ", device->manufacturer()) +
         flagLine("Supports mixing:              ", device->supportsMixing()) +
         flagLine("Is running:                   ", device->isRunning()) +
         flagLine("Is alive:                     ", device->isAlive()) +
         flagLine("Can be default device:        ", device->canBeDefaultDevice()) +
         flagLine("Can be default system device: ", device->canBeDefaultSystemDevice()) +
         flagLine("Can be input device:          ", device->canBeInputDevice()) +
         flagLine("Can be output device:         ", device->canBeOutputDevice());
}

std::string OrvAudioDeviceInfoOutput::printDirectionalDeviceInfo_isInput(const std::shared_ptr<OrvAudioDevice>& device,
                                                                         bool isInput) {
  return device ? SectionReport(*device, isInput).text() : "";
}

std::string OrvAudioDeviceInfoOutput::printStreamInfo(const std::shared_ptr<OrvAudioStream>& stream) {
  if (stream == nullptr) {
    return {};
  }
  std::string text = formatText("Stream ID: 0x%X\n", stream->streamID()) + "Stream's current physical format:\n" +
                     printStreamBasicInfo(stream->physicalFormat());
  int number = 0;
  for (const auto& format : stream->physicalFormats()) {
    text += formatText("Physical format #%d:\n", number++) + printStreamBasicInfo(format);
  }
  return text;
}

std::string OrvAudioDeviceInfoOutput::printStreamBasicInfo(
    const std::shared_ptr<OrvAudioStreamBasicDescription>& format) {
  return format ? format->debugDescription() : "";
}

std::string OrvAudioDeviceInfoOutput::printStreamFormatFlagNames(std::uint32_t formatFlags) {
  const auto format = OrvAudioStreamBasicDescription::init();
  format->setFormatFlags(formatFlags);
  return format->printStreamFormatFlagNames();
}

std::string OrvAudioDeviceInfoOutput::printChannelLayoutInfo(const OrvAudioChannelLayout& layout) {
  std::string text = "Channel Layout Tag: " + layout.channelLayoutTagName() + "\n" +
                     formatText("Channel Layout Bitmap: 0x%X\n", layout.channelBitmap());
  for (std::uint32_t i = 0; i < layout.numberChannelDescriptions(); ++i) {
    const auto channel = layout.channelDescription(i);
    text += "\tChannel Label: " + channel->channelLabelName() + "\n" +
            formatText("\tChannel Flags: 0x%X\n", channel->channelFlags());
    for (std::uint32_t axis = 0; axis < 3; ++axis) {
      text += formatText("\tChannel Coord[%u]: %f\n", axis, static_cast<double>(channel->coordinate(axis)));
    }
  }
  return text;
}
