#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "OrvCoreAudio/OrvTrackBoundaryDetector.h"
#include "SourceFile.h"
#include "Track.h"

namespace orv::cli {

/// What a method found in a recording. A method that does not judge places has no boundaries to tell of.
struct Detection {
  using Boundary = OrvTrackBoundaryDetector::Boundary;

  std::vector<Track> tracks;         ///< none of them empty
  std::vector<Boundary> boundaries;  ///< why each cut is there, in order of time
  std::vector<Boundary> doubtful;    ///< where there is none, but nearly was; in order of time
  std::vector<std::string> notes;    ///< lines for the person
  std::vector<OrvTrackBoundaryDetector::FloorPoint> floor;
  std::optional<OrvLevelEnvelope> envelope;  ///< where the method works on one

  /// Why a track begins at `frame`; null where nothing is said about it.
  const Boundary* boundaryAt(std::uint64_t frame) const;
};

/// How a run is watched and stopped.
struct DetectionRun {
  const std::atomic<bool>* cancel = nullptr;
  std::function<void(double fraction)> progress;
};

/// A setting of a method: an option of the command line.
struct MethodSetting {
  std::string name;       ///< "--tracks"
  std::string valueName;  ///< of what follows it, for the help; empty: nothing does
  std::string help;
  /// Takes what the person wrote. Throws `CLI::ParseError` where it makes no sense.
  std::function<void(const std::string& text)> take;
};

/// A way to find the tracks of a recording, with its settings. Methods may have settings of the same name; what these
/// mean is each method's own affair.
class DetectionMethod {
 public:
  DetectionMethod() = default;
  DetectionMethod(const DetectionMethod&) = delete;
  DetectionMethod& operator=(const DetectionMethod&) = delete;
  virtual ~DetectionMethod() = default;

  virtual std::string name() const = 0;     ///< what --method calls it
  virtual std::string summary() const = 0;  ///< a few words for the help
  /// Their `take` changes this object and is called before `detect`.
  virtual std::vector<MethodSetting> settings() = 0;
  /// Throws `Failure` or `Cancelled`.
  virtual Detection detect(const SourceFile& source, const DetectionRun& run) const = 0;
};

std::unique_ptr<DetectionMethod> makeLevelsMethod();
std::unique_ptr<DetectionMethod> makeCrossingsMethod();

}  // namespace orv::cli
