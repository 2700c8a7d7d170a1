#include "OrvCoreAudio/OrvAudioProcessingRangeInfo.h"

#include <utility>

#include "OrvCoreAudio/OrvArchiveKeys.h"
#include "tracks/ArchiveFields.h"

namespace {

/// What a text format shows for a name that is missing.
constexpr const char* kNoName = "(null)";

}  // namespace

std::shared_ptr<OrvAudioProcessingRangeInfo> OrvAudioProcessingRangeInfo::initWithProcessName(
    std::optional<std::string> name) {
  std::shared_ptr<OrvAudioProcessingRangeInfo> processing(new OrvAudioProcessingRangeInfo);
  processing->_processName = std::move(name);
  processing->_settings = std::make_shared<orv::ArchiveDictionary>();
  return processing;
}

std::shared_ptr<OrvAudioProcessingRangeInfo>
OrvAudioProcessingRangeInfo::initWithProcessNameAndRange_processingStartFrame_processingEndFrame(
    std::optional<std::string> name, std::uint64_t start, std::uint64_t end) {
  auto processing = initWithProcessName(std::move(name));
  processing->_processIn = start;
  processing->_processOut = end;
  return processing;
}

std::shared_ptr<OrvAudioProcessingRangeInfo> OrvAudioProcessingRangeInfo::initWithCoder(orv::ArchiveDecoder& coder) {
  std::shared_ptr<OrvAudioProcessingRangeInfo> processing(new OrvAudioProcessingRangeInfo);
  std::uint64_t start = 0;
  std::uint64_t end = 0;
  if (!archivefields::decodeText(coder, OrvProcessName, &processing->_processName) ||
      !archivefields::decodeNumber(coder, OrvProcessingStart, &start) ||
      !archivefields::decodeNumber(coder, OrvProcessingEnd, &end)) {
    return nullptr;
  }
  // As in every file written so far, only the low 32 bits are read back.
  processing->_processIn = static_cast<std::uint32_t>(start);
  processing->_processOut = static_cast<std::uint32_t>(end);
  const auto settings = archivefields::decode(coder, OrvProcessingSettings);
  processing->_settings = settings ? settings->dictionary() : nullptr;
  return processing->_settings == nullptr ? nullptr : processing;
}

void OrvAudioProcessingRangeInfo::setProcessingSettings(const orv::ArchiveDictionary& settings) {
  *_settings = settings;
}

void OrvAudioProcessingRangeInfo::addProcessingSettings(const orv::ArchiveDictionary& settings) {
  for (const auto& [key, value] : settings) {
    _settings->insert_or_assign(key, value);
  }
}

void OrvAudioProcessingRangeInfo::addProcessingSettingFloat_value(const std::string& key, float value) {
  _settings->insert_or_assign(key, value);
}

void OrvAudioProcessingRangeInfo::addProcessingSettingInt_value(const std::string& key, std::int32_t value) {
  _settings->insert_or_assign(key, value);
}

bool OrvAudioProcessingRangeInfo::isEqual(const std::shared_ptr<const OrvObject>& other) const {
  const auto* processing = dynamic_cast<const OrvAudioProcessingRangeInfo*>(other.get());
  if (other.get() == this || processing == nullptr) {
    return true;
  }
  return _processName == processing->_processName && _processIn == processing->_processIn &&
         _processOut == processing->_processOut;
}

std::string OrvAudioProcessingRangeInfo::description() const {
  return "OrvAudioProcessingRangeInfo [" + _processName.value_or(kNoName) + ": IN:" + std::to_string(_processIn) +
         " OUT:" + std::to_string(_processOut) + "]";
}

std::string OrvAudioProcessingRangeInfo::archiveName() const {
  return "OrvAudioProcessingRangeInfo";
}

void OrvAudioProcessingRangeInfo::encodeWithCoder(orv::ArchiveEncoder& coder) const {
  archivefields::encode(coder, OrvProcessName, archivefields::textOrNothing(_processName));
  archivefields::encode(coder, OrvProcessingStart, _processIn);
  archivefields::encode(coder, OrvProcessingEnd, _processOut);
  archivefields::encode(coder, OrvProcessingSettings, _settings);
}
