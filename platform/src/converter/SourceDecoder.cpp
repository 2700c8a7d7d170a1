#include "converter/SourceDecoder.h"

#include <algorithm>

#include "converter/Companding.h"

namespace orv::converter {
namespace {

/// Compressed samples are decoded in blocks of about this many, to be still in the first-level cache when they are
/// turned into the layout that is asked for.
constexpr std::size_t kBlockSamples = 4096;

}  // namespace

SourceDecoder::SourceDecoder(const StreamFormat& format)
    : format_(format), samplesPerPacket_(std::size_t{format.framesPerPacket} * format.channels) {
  if (format.coding != Coding::linear) {
    decoded_.resize(std::max(kBlockSamples / samplesPerPacket_, std::size_t{1}) * samplesPerPacket_);
  }
  if (format.coding == Coding::ima4) {
    ima4_.emplace(format.channels);
  }
}

void SourceDecoder::decode(const std::uint8_t* from, std::size_t packets, const simd::SampleLayout& layout,
                           std::uint8_t* to) {
  if (format_.coding == Coding::linear) {
    simd::convertSamples(format_.layout, from, layout, to, packets * samplesPerPacket_);
    return;
  }
  const std::size_t packetsPerBlock = decoded_.size() / samplesPerPacket_;
  while (packets > 0) {
    const std::size_t now = std::min(packets, packetsPerBlock);
    decodeCompressed(from, now);
    simd::convertSamples(simd::kNativeInt16, decoded_.data(), layout, to, now * samplesPerPacket_);
    from += now * format_.bytesPerPacket;
    to += now * samplesPerPacket_ * simd::bytesOf(layout.container);
    packets -= now;
  }
}

void SourceDecoder::decodeCompressed(const std::uint8_t* from, std::size_t packets) {
  if (ima4_) {
    ima4_->decode(from, packets, decoded_.data());
  } else if (format_.coding == Coding::muLaw) {
    decodeMuLaw(from, decoded_.data(), packets * samplesPerPacket_);
  } else {
    decodeALaw(from, decoded_.data(), packets * samplesPerPacket_);
  }
}

void SourceDecoder::reset() {
  if (ima4_) {
    ima4_->reset();
  }
}

}  // namespace orv::converter
