#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "OrvCoreAudio/OrvLevelEnvelope.h"

/// Finds where one track of a recording ends and the next begins, from the recording's own noise floor: worn records,
/// hissy tapes, concerts. Nothing has to be set. Class operations only, each synchronous on the caller's thread and
/// re-entrant: any number of runs at once.
class ORV_API OrvTrackBoundaryDetector {
 public:
  OrvTrackBoundaryDetector() = delete;

  /// Where in a quiet stretch the cut is.
  enum class CutPosition {
    beforeNextTrack,  ///< in the last quiet block before the next track begins
    middle,
  };

  /// Guidance, all of it optional. Aggregate.
  struct Options {
    /// Exactly so many tracks, the best boundaries there are; 0: as many as the recording shows. Durations say it too,
    /// and win.
    int numberOfTracks = 0;
    /// Seconds of each track in order, as a track listing tells them. A recording that runs up to 2 % fast or slow is
    /// followed.
    std::vector<double> durations;
    /// Seconds that a track lasts at least; 0: short tracks are merely unlikely.
    double minimumTrackLength = 0;
    /// 0 to 100. More finds more boundaries, doubtful ones among them.
    double sensitivity = kDefaultSensitivity;
    CutPosition cutPosition = CutPosition::beforeNextTrack;
    /// Leaves what is quiet before the first track and behind the last one out of them.
    bool trimEnds = false;
    const std::atomic<bool>* cancel = nullptr;      ///< looked at often; must outlive the call
    std::function<void(double fraction)> progress;  ///< 0.0 to 1.0, on the calling thread; may be empty
  };
  static constexpr double kDefaultSensitivity = 50;

  /// A place between two tracks, or one that was nearly taken for such a place.
  struct Boundary {
    std::uint64_t frame = 0;       ///< where the next track begins
    std::uint64_t quietBegin = 0;  ///< the quiet stretch around it, in frames; the end is the frame behind it
    std::uint64_t quietEnd = 0;
    double depth = 0;       ///< dB that the stretch lies below the music around it
    double aboveFloor = 0;  ///< dB that it lies above the noise floor
    double confidence = 0;  ///< 0 to 1; below 0.5 the detector would not have cut without guidance
    std::string reason;     ///< one line for a person: why it is one, or why not
  };

  /// A track, in frames; the end is the frame behind it.
  struct Span {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
  };

  /// The noise floor at a frame: the level that the recording does not fall below around there.
  struct FloorPoint {
    std::uint64_t frame = 0;
    float level = 0;  ///< dB, as the envelope's levels
  };

  /// `problem` is one line for the person who uses the program; empty unless the run failed. `notes` are lines for
  /// that person about a run that succeeded but not as asked for: fewer tracks than wanted, say.
  struct Result {
    bool done = false;
    bool cancelled = false;
    std::string problem;
    std::vector<std::string> notes;
    double sampleRate = 0;             ///< Hz
    std::uint64_t lengthInFrames = 0;  ///< of the recording
    std::vector<Boundary> boundaries;  ///< in order of time
    std::vector<Boundary> doubtful;    ///< candidates that were not cut, in order of time; the best ones only
    std::vector<Span> tracks;          ///< one more than boundaries
    std::vector<FloorPoint> floor;     ///< in order of time, about one a second
    OrvLevelEnvelope envelope;         ///< what was decided on; can be used for another run
  };

  /// Measures the file's envelope, decides on it, and moves each cut to a zero crossing of the louder channel where
  /// there is one within 10 ms.
  static Result detectInFile(const std::string& path, const Options& options);

  /// Decides on an envelope alone. Cuts are in the middle of their blocks. Fails on an envelope that contradicts
  /// itself.
  static Result detectInEnvelope(OrvLevelEnvelope envelope, const Options& options);
};
