#include "device/FormatProperties.h"

std::shared_ptr<OrvAudioStreamBasicDescription> firstFormat(const PropertyBlock& block) {
  const auto record = block.holds<AudioStreamBasicDescription>() ? block.first<AudioStreamBasicDescription>()
                                                                 : AudioStreamBasicDescription{};
  return OrvAudioStreamBasicDescription::initWithAudioStreamBasicDescription(&record);
}

std::vector<std::shared_ptr<OrvAudioStreamBasicDescription>> allFormats(const PropertyBlock& block) {
  std::vector<std::shared_ptr<OrvAudioStreamBasicDescription>> formats;
  for (const auto& record : block.values<AudioStreamBasicDescription>()) {
    formats.push_back(OrvAudioStreamBasicDescription::initWithAudioStreamBasicDescription(&record));
  }
  return formats;
}

AudioStreamBasicDescription recordOf(const OrvAudioStreamBasicDescription& format) {
  return {format.sampleRate(),       format.formatID(),        format.formatFlags(),
          format.bytesPerPacket(),   format.framesPerPacket(), format.bytesPerFrame(),
          format.channelsPerFrame(), format.bitsPerChannel(),  format.reserved()};
}
