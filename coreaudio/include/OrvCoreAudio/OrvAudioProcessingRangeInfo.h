#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "OrvCoreAudio/OrvObject.h"
#include "OrvPlatform/Archiver.h"

/// A processing pass that ran over a range of frames of a recording, with its settings by name. One thread at a time.
class ORV_API OrvAudioProcessingRangeInfo : public OrvObject, public orv::ArchiveRecord {
 public:
  /// Frames 0 to 0, no settings.
  static std::shared_ptr<OrvAudioProcessingRangeInfo> initWithProcessName(std::optional<std::string> name);
  static std::shared_ptr<OrvAudioProcessingRangeInfo>
  initWithProcessNameAndRange_processingStartFrame_processingEndFrame(std::optional<std::string> name,
                                                                      std::uint64_t start, std::uint64_t end);
  /// Null when the archive's fields are not those of such a record. Start and end come back without what they have
  /// above 32 bits.
  static std::shared_ptr<OrvAudioProcessingRangeInfo> initWithCoder(orv::ArchiveDecoder& coder);

  std::optional<std::string> processName() const { return _processName; }
  std::uint64_t processingStartFrame() const { return _processIn; }
  void setProcessingStartFrame(std::uint64_t frame) { _processIn = frame; }
  std::uint64_t processingEndFrame() const { return _processOut; }
  void setProcessingEndFrame(std::uint64_t frame) { _processOut = frame; }

  /// The dictionary itself: what is changed in it is changed in the record. Never null.
  std::shared_ptr<orv::ArchiveDictionary> processingSettings() const { return _settings; }
  /// Replaces all settings with copies of the given ones.
  void setProcessingSettings(const orv::ArchiveDictionary& settings);
  /// Adds copies of the given settings; those of equal names are replaced.
  void addProcessingSettings(const orv::ArchiveDictionary& settings);
  void addProcessingSettingFloat_value(const std::string& key, float value);
  void addProcessingSettingInt_value(const std::string& key, std::int32_t value);

  /// Same name, start and end; the settings play no part. An object of another class counts as equal: ask only between
  /// processing records.
  bool isEqual(const std::shared_ptr<const OrvObject>& other) const override;
  /// "OrvAudioProcessingRangeInfo [Gain: IN:0 OUT:882000]".
  std::string description() const override;

  std::string archiveName() const override;
  void encodeWithCoder(orv::ArchiveEncoder& coder) const override;

 protected:
  OrvAudioProcessingRangeInfo() = default;

 private:
  std::optional<std::string> _processName;
  std::uint64_t _processIn = 0;
  std::uint64_t _processOut = 0;
  std::shared_ptr<orv::ArchiveDictionary> _settings;
};
