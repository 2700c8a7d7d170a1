#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "OrvCoreAudio/OrvObject.h"
#include "OrvPlatform/Archiver.h"

/// One track of a recording: a name and a range of frames. The end frame is the one behind the last.
/// One thread at a time.
class ORV_API OrvAudioTrackInfo : public OrvObject, public orv::ArchiveRecord {
 public:
  /// No name, frames 0 to 0, not active, record version 2. The other initialisers leave the version 0.
  static std::shared_ptr<OrvAudioTrackInfo> init();
  static std::shared_ptr<OrvAudioTrackInfo> initWithTrackName(std::optional<std::string> name);
  static std::shared_ptr<OrvAudioTrackInfo> initWithTrackName_trackBeginFrame_trackEndFrame(
      std::optional<std::string> name, std::uint64_t begin, std::uint64_t end);
  static std::shared_ptr<OrvAudioTrackInfo> initWithTrackName_trackBeginFrame_trackEndFrame_isActive(
      std::optional<std::string> name, std::uint64_t begin, std::uint64_t end, bool isActive);

  static std::shared_ptr<OrvAudioTrackInfo> audioTrackInfoWithTrackName(std::optional<std::string> name);
  static std::shared_ptr<OrvAudioTrackInfo> audioTrackInfoWithTrackName_trackBeginFrame_trackEndFrame(
      std::optional<std::string> name, std::uint64_t begin, std::uint64_t end);
  static std::shared_ptr<OrvAudioTrackInfo> audioTrackInfoWithTrackName_trackBeginFrame_trackEndFrame_isActive(
      std::optional<std::string> name, std::uint64_t begin, std::uint64_t end, bool isActive);

  /// Null when the archive's fields are not those of a track.
  static std::shared_ptr<OrvAudioTrackInfo> initWithCoder(orv::ArchiveDecoder& coder);

  std::optional<std::string> trackName() const { return _trackName; }
  void setTrackName(std::optional<std::string> name) { _trackName = std::move(name); }
  std::uint64_t trackBeginFrame() const { return _trackIn; }
  void setTrackBeginFrame(std::uint64_t frame) { _trackIn = frame; }
  std::uint64_t trackEndFrame() const { return _trackOut; }
  void setTrackEndFrame(std::uint64_t frame) { _trackOut = frame; }
  bool isActive() const { return _isActive; }
  void setIsActive(bool isActive) { _isActive = isActive; }

  /// Frames from begin to end; wraps when the end lies before the begin.
  std::uint64_t durationInFrames() const { return _trackOut - _trackIn; }
  /// Moves the end.
  void setDurationInFrames(std::uint64_t frames) { _trackOut = _trackIn + frames; }

  /// Same name, begin and end; whether the tracks are active plays no part. An object of another class counts as equal:
  /// ask only between tracks.
  bool isEqual(const std::shared_ptr<const OrvObject>& other) const override;
  /// "OrvAudioTrackInfo [Intro: IN:0 OUT:882000]".
  std::string description() const override;

  std::string archiveName() const override;
  /// Begin and end are archived with their eight bytes reversed.
  void encodeWithCoder(orv::ArchiveEncoder& coder) const override;

 protected:
  OrvAudioTrackInfo() = default;

 private:
  std::optional<std::string> _trackName;
  std::uint64_t _trackIn = 0;
  std::uint64_t _trackOut = 0;
  std::uint32_t audioTrackInfoVersion = 0;
  bool _isActive = false;
};
