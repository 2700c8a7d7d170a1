#pragma once

#include <cstdint>
#include <memory>

#include "OrvCoreAudio/OrvAudioConverter.h"
#include "OrvCoreAudio/OrvAudioFile.h"
#include "OrvCoreAudio/OrvObject.h"

/// Hands a player's converter the packets of the file, in order from a place that can be chosen. One thread at a time.
class PlayerSource final : public OrvObject, public OrvAudioConverterDelegate {
 public:
  /// What `file` (may be null) has to give: so many frames. The buffer takes two times `nominalBytes`, or what the
  /// converter asks for at once where that is more.
  void use(std::shared_ptr<OrvAudioFile> file, std::uint32_t lengthInFrames, std::uint32_t nominalBytes);
  /// The next packet is the one that holds this frame.
  void moveTo(std::uint32_t frame);

  /// 0 packets and `kEndOfFileStatus` behind the last, and where the file can't be read.
  OSStatus audioConverterCallback_data_packetDescription(std::uint32_t* numPackets, AudioBufferList* data,
                                                         AudioStreamPacketDescription** packetDescriptions) override;

 private:
  std::shared_ptr<OrvAudioFile> file_;
  std::uint32_t fileBytesPerPacket = 0;
  std::uint32_t fileFramesPerPacket = 1;
  std::uint64_t packets_ = 0;
  std::unique_ptr<std::byte[]> rawByteBuffer;
  std::uint64_t rawByteBufferCapacity_ = 0;
  std::uint64_t rawByteBufferFillOffset = 0;  // packets
};
