#include "playback/PlayerSource.h"

#include <algorithm>
#include <utility>

namespace {

/// What a converter asks for at once, at most.
constexpr std::uint64_t kMostFrames = 8192;

}  // namespace

void PlayerSource::use(std::shared_ptr<OrvAudioFile> file, std::uint32_t lengthInFrames, std::uint32_t nominalBytes) {
  file_ = std::move(file);
  fileBytesPerPacket = file_ != nullptr ? file_->bytesPerPacket() : 0;
  fileFramesPerPacket = file_ != nullptr ? std::max<std::uint32_t>(file_->framesPerPacket(), 1) : 1;
  packets_ = (std::uint64_t{lengthInFrames} + fileFramesPerPacket - 1) / fileFramesPerPacket;
  rawByteBufferCapacity_ = std::max(std::uint64_t{2} * nominalBytes, kMostFrames * fileBytesPerPacket);
  rawByteBuffer = std::make_unique_for_overwrite<std::byte[]>(rawByteBufferCapacity_);
  rawByteBufferFillOffset = 0;
}

void PlayerSource::moveTo(std::uint32_t frame) {
  rawByteBufferFillOffset = frame / fileFramesPerPacket;
}

OSStatus PlayerSource::audioConverterCallback_data_packetDescription(
    std::uint32_t* numPackets, AudioBufferList* data, AudioStreamPacketDescription** /*packetDescriptions*/) {
  const std::uint64_t left = packets_ - std::min(packets_, rawByteBufferFillOffset);
  std::uint64_t packets = std::min<std::uint64_t>(*numPackets, left);
  *numPackets = 0;
  data->mBuffers[0].mDataByteSize = 0;
  if (packets == 0 || fileBytesPerPacket == 0) {
    return kEndOfFileStatus;
  }
  packets = std::min(packets, rawByteBufferCapacity_ / fileBytesPerPacket);
  auto bytes = static_cast<std::uint32_t>(packets * fileBytesPerPacket);
  const auto offset = static_cast<std::int64_t>(rawByteBufferFillOffset * fileBytesPerPacket);
  const bool wasRead = file_->read_length_fromOffset(rawByteBuffer.get(), &bytes, offset);
  packets = std::min<std::uint64_t>(bytes / fileBytesPerPacket, packets);
  if (packets == 0) {
    return kEndOfFileStatus;
  }
  *numPackets = static_cast<std::uint32_t>(packets);
  data->mBuffers[0].mData = rawByteBuffer.get();
  data->mBuffers[0].mDataByteSize = static_cast<std::uint32_t>(packets * fileBytesPerPacket);
  rawByteBufferFillOffset += packets;
  return wasRead ? noErr : kEndOfFileStatus;
}
