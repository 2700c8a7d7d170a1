#include "detection/boundaries/MeasureEnvelope.h"

#include <cmath>

namespace orv::boundaries {
namespace {

using Measurement = OrvLevelEnvelope::Measurement;

Measurement failure(std::string problem) {
  Measurement measurement;
  measurement.problem = std::move(problem);
  return measurement;
}

/// How often progress is told, in frames' groups: about 250 times in an hour.
constexpr std::uint64_t kGroupsPerReport = 128;

}  // namespace

Measurement measureEnvelope(FloatReader& reader, double sampleRate, const RunControl& control) {
  if (!reader.problem().empty()) {
    return failure(reader.problem());
  }
  if (!std::isfinite(sampleRate) || sampleRate <= 0) {
    return failure("the file has no sample rate");
  }
  if (reader.lengthInFrames() == 0) {
    return failure("the file holds no audio");
  }
  EnvelopeMeter meter(sampleRate, reader.channels());
  Measurement measurement;
  OrvLevelEnvelope& envelope = measurement.envelope;
  envelope.sampleRate = sampleRate;
  envelope.lengthInFrames = reader.lengthInFrames();
  envelope.framesPerBlock = meter.framesPerBlock();
  envelope.blocks.reserve(static_cast<std::size_t>(envelope.lengthInFrames / envelope.framesPerBlock + 1));

  const auto most = static_cast<std::uint32_t>(EnvelopeMeter::kMostBlocks * envelope.framesPerBlock);
  std::vector<float> frames(std::size_t{most} * reader.channels());
  std::uint64_t frame = 0;
  for (std::uint64_t group = 0; frame < envelope.lengthInFrames; ++group) {
    if (control.isCancelled()) {
      measurement.cancelled = true;
      return measurement;
    }
    const std::uint32_t count = reader.read(frame, most, frames.data());
    if (count == 0) {
      return failure(reader.problem().empty() ? "the file ends before its audio does" : reader.problem());
    }
    meter.take(frames.data(), count, &envelope.blocks);
    frame += count;
    if (group % kGroupsPerReport == 0) {
      control.report(static_cast<double>(frame) / static_cast<double>(envelope.lengthInFrames));
    }
  }
  control.report(1.0);
  measurement.done = true;
  return measurement;
}

}  // namespace orv::boundaries
