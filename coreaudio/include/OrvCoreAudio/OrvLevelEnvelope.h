#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "OrvPlatform/Export.h"

/// How loud a recording is, block after block: enough to draw it and to find its tracks without its audio. About 3 MB
/// for an hour. A value: copied, kept, or made by a host from a source of its own.
struct OrvLevelEnvelope {
  /// Octaves from the bottom: under 345 Hz without DC and rumble, from 345, from 690, from 1,380, from 2,760, from
  /// 5,500, and from 11,000 to 22,000 Hz. At rates other than 44,100 Hz the edges lie up to a third of an octave
  /// elsewhere; octaves above half of the rate are silent.
  static constexpr std::size_t kBands = 7;
  /// Hundredths of a dB below which nothing is told apart; the level of digital silence.
  static constexpr std::int16_t kSilence = -15'000;

  /// Levels are RMS values of all channels together, in hundredths of a dB, 0 where one channel's mean square is that
  /// of a full-scale square wave. They are the levels of the quieter parts of the block, so that clicks leave them as
  /// they are.
  struct Block {
    std::array<std::int16_t, kBands> bands;
    std::int16_t level;    ///< of all bands together
    std::int16_t minimum;  ///< the smallest and the largest sample of any channel, full scale at 32,767
    std::int16_t maximum;
  };

  double sampleRate = 0;  ///< Hz
  std::uint64_t lengthInFrames = 0;
  std::uint32_t framesPerBlock = 0;  ///< 21 to 42 ms at rates from 400 Hz to 780 kHz
  std::vector<Block> blocks;         ///< the last one may be shorter

  /// What `measure` is to do. Aggregate.
  struct Request {
    std::string path;
    const std::atomic<bool>* cancel = nullptr;      ///< looked at often; must outlive the call
    std::function<void(double fraction)> progress;  ///< 0.0 to 1.0, on the calling thread; may be empty
  };
  struct Measurement;

  /// Frames per block for a rate.
  ORV_API static std::uint32_t framesPerBlockAtRate(double sampleRate);

  /// Reads a recording once, in whatever format `OrvAudioFile` opens. Re-entrant. NaN and infinite samples count as
  /// silence.
  ORV_API static Measurement measure(const Request& request);
};

/// The outcome of `OrvLevelEnvelope::measure`. `problem` is one line for the person who uses the program.
struct OrvLevelEnvelope::Measurement {
  bool done = false;
  bool cancelled = false;
  std::string problem;  ///< empty unless the run failed
  OrvLevelEnvelope envelope;
};
