#pragma once

#include <cstdint>

#include "OrvPlatform/Export.h"

/// Transforms audio block by block. Recorder, players and exports accept one and call it on each block.
///
/// On a real-time thread `processAudio…` must not allocate, free, wait for a lock, log or touch files. It may read
/// atomics that the control thread sets. An implementation keeps its state from block to block until `reset`.
class ORV_API OrvAudioProcessor {
 public:
  virtual ~OrvAudioProcessor();

  /// A new stream begins: forget what was processed. Not called while `processAudio…` runs.
  virtual void reset() = 0;

  /// Processes `*numberOfFrames` frames of interleaved samples. `output` holds as many bytes as `input` at least and
  /// does not overlap it. True when `output` holds the processed block; where false means that processing failed, the
  /// caller says so.
  virtual bool processAudio_outputBuffer_channelsPerFrame_numberOfFrames(const float* input, float* output,
                                                                         std::uint32_t channelsPerFrame,
                                                                         std::uint32_t* numberOfFrames) = 0;
};
