#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "OrvCoreAudio/OrvAudioTrackInfo.h"
#include "OrvCoreAudio/OrvProgress.h"

/// Cuts a recording into tracks, named "Untitled Track 0", "Untitled Track 2", … in file order. Class operations only,
/// synchronous on the caller's thread.
class ORV_API OrvAudioTrackAutoDefiner {
 public:
  OrvAudioTrackAutoDefiner() = delete;

  using TrackList = std::vector<std::shared_ptr<OrvAudioTrackInfo>>;

  static constexpr std::int16_t kDefaultSensitivity = 71;
  static constexpr float kDefaultLengthOfSilence = 1400.0F;
  static constexpr std::int16_t kDefaultZeroOffset = 500;

  /// What `defineTracks` is to do. Aggregate.
  struct Request {
    std::string path;
    std::uint16_t sensitivity = kDefaultSensitivity;   ///< crossings per fifth of a second that make a block busy
    double lengthOfSilence = kDefaultLengthOfSilence;  ///< milliseconds
    std::int16_t zeroOffset = kDefaultZeroOffset;      ///< the level whose crossings are counted, of 32,768
    int numberOfTracks = 0;                            ///< 0: at the silences; else so many, 97 at most
    const std::atomic<bool>* cancel = nullptr;         ///< looked at between blocks; must outlive the call
    std::function<void(float progress)> progress;      ///< 0.0 to 1.0, on the calling thread; may be empty
  };

  /// `problem` is one line for the person who uses the program; empty unless the run failed.
  struct Result {
    bool done = false;
    bool cancelled = false;
    std::string problem;
    TrackList tracks;
  };

  /// Re-entrant: any number of runs at once, each with its own progress and cancel switch. Works on recordings of any
  /// channel count and length: every channel is looked at, and blocks last a fifth of a second whatever the format. A
  /// counted run on more than 32,767 blocks (109 minutes) is refused, a file that holds no audio too.
  static Result defineTracks(const Request& request);

  /// What the track at `index` of a recording is called as long as nobody has named it. The number in it is twice the
  /// index.
  static std::string untitledName(std::size_t index);

  /// The tracks of a file; nothing when the run was cancelled or failed. One run at a time in the whole process:
  /// progress, cancel switch and delegate are shared. `lengthOfSilence` is in milliseconds; `numberOfTracks` 0 cuts at
  /// silences, a positive number asks for exactly that many tracks. For stereo recordings.
  static std::optional<TrackList> autoDefineTracksInFile(const std::string& path);
  static std::optional<TrackList> autoDefineTracksInFile_lengthOfSilence(const std::string& path,
                                                                         float lengthOfSilence);
  static std::optional<TrackList> autoDefineTracksInFile_sensitivity(const std::string& path, std::int16_t sensitivity);
  static std::optional<TrackList> autoDefineTracksInFile_sensitivity_lengthOfSilence(const std::string& path,
                                                                                     std::int16_t sensitivity,
                                                                                     float lengthOfSilence);
  static std::optional<TrackList> autoDefineTracksInFile_sensitivity_zeroOffset(const std::string& path,
                                                                                std::int16_t sensitivity,
                                                                                std::int16_t zeroOffset);
  static std::optional<TrackList> autoDefineTracksInFile_sensitivity_lengthOfSilence_zeroOffset(
      const std::string& path, std::int16_t sensitivity, float lengthOfSilence, std::int16_t zeroOffset);
  static std::optional<TrackList> autoDefineTracksInFile_sensitivity_lengthOfSilence_zeroOffset_numberOfTracks(
      const std::string& path, std::int16_t sensitivity, float lengthOfSilence, std::int16_t zeroOffset,
      std::int16_t numberOfTracks);

  /// Makes a run under way stop at its next block; its call returns nothing. Thread-safe, real-time safe.
  static void cancel();
  /// Sets the delegate that is told of the progress if it is an `OrvAutoDefineProgressDelegate`; null for none. Kept
  /// until replaced. Not while a run is under way.
  static void setDelegate(std::shared_ptr<OrvObject> delegate);
  /// Hands `progress` to the delegate.
  static void autoDefineProgress(float progress);
};
