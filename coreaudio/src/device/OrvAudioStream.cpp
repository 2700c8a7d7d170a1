#include "OrvCoreAudio/OrvAudioStream.h"

#include <algorithm>
#include <cstddef>

#include "OrvCoreAudio/OrvAudioDevice.h"
#include "OrvPlatform/Log.h"
#include "WithoutThrowing.h"
#include "device/FormatProperties.h"

namespace {

using Format = std::shared_ptr<OrvAudioStreamBasicDescription>;
using Range = std::shared_ptr<OrvAudioValueRange>;

constexpr std::uint32_t kStreamChannel = 0;
constexpr std::uint32_t kInputDirection = 1;
constexpr double kRateStep = 25.0;  // Hz
constexpr std::size_t kMostFormats = 1'000'000;

std::uint32_t readNumber(AudioStreamID stream, AudioStreamPropertyID property, std::uint32_t channel) {
  return readStreamProperty(stream, property, channel).first<std::uint32_t>();
}

bool isOfAnyRate(const Format& format) {
  return format->sampleRate() == 0;
}

/// Appends `format` at every step of every range. False when there is no room for all.
bool appendAtRatesOf(const std::vector<Range>& ranges, const Format& format, std::vector<Format>* list) {
  AudioStreamBasicDescription record = recordOf(*format);
  for (const Range& range : ranges) {
    double rate = range->mMinimum();
    while (rate <= range->mMaximum()) {
      if (list->size() >= kMostFormats) {
        return false;
      }
      record.mSampleRate = rate;
      if (rate != 0) {  // which would stand for any rate again
        list->push_back(OrvAudioStreamBasicDescription::initWithAudioStreamBasicDescription(&record));
      }
      rate += kRateStep;
    }
  }
  return true;
}

/// Formats of a fixed rate in their order, then those that the others stand for.
std::vector<Format> expanded(const std::vector<Format>& formats, const std::vector<Range>& ranges) {
  std::vector<Format> list;
  for (const Format& format : formats) {
    if (!isOfAnyRate(format)) {
      list.push_back(format);
    }
  }
  for (const Format& format : formats) {
    if (isOfAnyRate(format) && !appendAtRatesOf(ranges, format, &list)) {
      orv::logf("OrvAudioStream: more than %zu physical formats, the rest is left out", kMostFormats);
      break;
    }
  }
  return list;
}

}  // namespace

std::shared_ptr<OrvAudioStream> OrvAudioStream::initWithAudioDevice_streamID(
    const std::shared_ptr<OrvAudioDevice>& device, AudioStreamID streamID) {
  return withoutThrowing(__func__, std::shared_ptr<OrvAudioStream>(), [&] {
    std::shared_ptr<OrvAudioStream> stream(new OrvAudioStream);
    if (device != nullptr) {
      stream->_owningDevice = device;
      stream->_streamID = streamID;
    }
    return stream;
  });
}

AudioDeviceID OrvAudioStream::owningDeviceID() const {
  return _owningDevice ? _owningDevice->deviceID() : kAudioDeviceUnknown;
}

std::uint32_t OrvAudioStream::startingChannel() const {
  return readNumber(streamID(), kAudioStreamPropertyStartingChannel, kStreamChannel);
}

std::uint32_t OrvAudioStream::streamDirection() const {
  return readNumber(streamID(), kAudioStreamPropertyDirection, startingChannel());
}

std::uint32_t OrvAudioStream::terminalType() const {
  return readNumber(streamID(), kAudioStreamPropertyTerminalType, startingChannel());
}

std::uint32_t OrvAudioStream::numberOfChannels() const {
  return _owningDevice ? _owningDevice->numberOfChannels(streamDirection() == kInputDirection) : 0;
}

Format OrvAudioStream::physicalFormat() const {
  return firstFormat(readStreamProperty(streamID(), kAudioStreamPropertyPhysicalFormat, startingChannel()));
}

std::vector<Format> OrvAudioStream::physicalFormats() const {
  return withoutThrowing(__func__, std::vector<Format>(), [&] {
    return allFormats(readStreamProperty(streamID(), kAudioStreamPropertyPhysicalFormats, startingChannel()));
  });
}

std::vector<Format> OrvAudioStream::expandedPhysicalFormats() const {
  return withoutThrowing(__func__, std::vector<Format>(), [&] {
    std::vector<Format> formats = physicalFormats();
    if (std::none_of(formats.begin(), formats.end(), isOfAnyRate)) {
      return formats;
    }
    return expanded(formats, _owningDevice
                                 ? _owningDevice->availableNominalSampleRates(streamDirection() == kInputDirection)
                                 : std::vector<Range>());
  });
}
