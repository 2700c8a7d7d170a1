#include "OrvCoreAudio/OrvAudioFileTrackInfoReaderWriter.h"

#include <filesystem>
#include <utility>

#include "OrvCoreAudio/ByteUtility.h"
#include "OrvPlatform/Log.h"
#include "tracks/ApplicationChunkLayout.h"

namespace {

constexpr const char* kSideFileExtension = ".tracks";

using ReaderWriter = OrvAudioFileTrackInfoReaderWriter::ReaderWriter;

std::uint32_t reversed(std::uint32_t signature) {
  ByteUtility::swapBytes32bit(&signature);
  return signature;
}

std::optional<std::string> pathOf(const std::shared_ptr<OrvAudioFile>& file) {
  return file == nullptr ? std::nullopt : file->path();
}

std::optional<std::uint32_t> blockSizeIf(bool useFixedSizeBlock) {
  return useFixedSizeBlock ? std::optional(OrvAudioFileTrackInfoReaderWriter::kDefaultBlockSize) : std::nullopt;
}

}  // namespace

OrvTrackInfoVersionDelegate::~OrvTrackInfoVersionDelegate() = default;

ReaderWriter OrvAudioFileTrackInfoReaderWriter::make(std::optional<std::string> path,
                                                     std::shared_ptr<OrvAudioFile> file, std::uint32_t signature,
                                                     std::optional<std::uint32_t> blockSize) {
  if (!path) {
    return nullptr;
  }
  ReaderWriter made(new OrvAudioFileTrackInfoReaderWriter);
  made->_audioFile = std::move(file);
  made->_audioFilePath = *path;
  made->_audioTracksFilePath = std::filesystem::path(*path).replace_extension(kSideFileExtension).string();
  made->_useFixedSizeBlock = blockSize.has_value();
  made->_blockSize = blockSize.value_or(0);
  made->_applSignature = signature;
  return made;
}

ReaderWriter OrvAudioFileTrackInfoReaderWriter::initWithAudioFile_applSignature(std::shared_ptr<OrvAudioFile> file,
                                                                                std::uint32_t signature) {
  auto path = pathOf(file);
  return make(std::move(path), std::move(file), signature, std::nullopt);
}

ReaderWriter OrvAudioFileTrackInfoReaderWriter::initWithAudioFile_applSignature_useFixedSizeBlock(
    std::shared_ptr<OrvAudioFile> file, std::uint32_t signature, bool useFixedSizeBlock) {
  auto path = pathOf(file);
  return make(std::move(path), std::move(file), signature, blockSizeIf(useFixedSizeBlock));
}

ReaderWriter OrvAudioFileTrackInfoReaderWriter::initWithAudioFile_applSignature_blockSize(
    std::shared_ptr<OrvAudioFile> file, std::uint32_t signature, std::uint32_t blockSize) {
  auto path = pathOf(file);
  return make(std::move(path), std::move(file), signature, blockSize);
}

ReaderWriter OrvAudioFileTrackInfoReaderWriter::initWithAudioFilePath_applSignature(std::optional<std::string> path,
                                                                                    std::uint32_t signature) {
  return make(std::move(path), nullptr, reversed(signature), std::nullopt);
}

ReaderWriter OrvAudioFileTrackInfoReaderWriter::initWithAudioFilePath_applSignature_useFixedSizeBlock(
    std::optional<std::string> path, std::uint32_t signature, bool useFixedSizeBlock) {
  return make(std::move(path), nullptr, reversed(signature), blockSizeIf(useFixedSizeBlock));
}

ReaderWriter OrvAudioFileTrackInfoReaderWriter::initWithAudioFilePath_applSignature_blockSize(
    std::optional<std::string> path, std::uint32_t signature, std::uint32_t blockSize) {
  return make(std::move(path), nullptr, reversed(signature), blockSize);
}

ReaderWriter OrvAudioFileTrackInfoReaderWriter::initWithAudioFilePathExternalStorage(std::optional<std::string> path) {
  auto made = make(std::move(path), nullptr, 0, std::nullopt);
  if (made != nullptr) {
    made->_storeInternally = false;
  }
  return made;
}

ReaderWriter OrvAudioFileTrackInfoReaderWriter::trackInfoReaderWriterWithAudioFilePath_applSignature(
    std::optional<std::string> path, std::uint32_t signature) {
  return initWithAudioFilePath_applSignature(std::move(path), signature);
}

ReaderWriter OrvAudioFileTrackInfoReaderWriter::trackInfoReaderWriterWithAudioFile_applSignature(
    const std::shared_ptr<OrvAudioFile>& /*file*/, std::uint32_t /*signature*/) {
  orv::log("trackInfoReaderWriterWithAudioFile:applSignature: makes no object; use initWithAudioFile:applSignature:");
  return nullptr;
}

ReaderWriter OrvAudioFileTrackInfoReaderWriter::trackInfoReaderWriterWithAudioFilePathExternalStorage(
    std::optional<std::string> path) {
  return initWithAudioFilePathExternalStorage(std::move(path));
}

OrvTrackAndProcessingInfo& OrvAudioFileTrackInfoReaderWriter::info() {
  if (infoData == nullptr) {
    infoData = OrvTrackAndProcessingInfo::init();
  }
  return *infoData;
}

void OrvAudioFileTrackInfoReaderWriter::addTrackInfo(const std::shared_ptr<OrvAudioTrackInfo>& track) {
  info().addTrackInfo(track);
}

void OrvAudioFileTrackInfoReaderWriter::addTrackInfoForAllTracks(const TrackList& tracks) {
  info().addTrackInfoForAllTracks(tracks);
}

void OrvAudioFileTrackInfoReaderWriter::clearTrackInfos() {
  if (infoData != nullptr) {
    infoData->clearTrackInfos();
  }
}

std::shared_ptr<OrvAudioFileTrackInfoReaderWriter::TrackList> OrvAudioFileTrackInfoReaderWriter::trackInfos() const {
  return infoData == nullptr ? nullptr : infoData->trackInfos();
}

void OrvAudioFileTrackInfoReaderWriter::setFileHasBeenProcessed(bool processed) {
  info().setFileHasBeenProcessed(processed);
}

bool OrvAudioFileTrackInfoReaderWriter::fileHasBeenProcessed() const {
  return infoData != nullptr && infoData->fileHasBeenProcessed();
}

void OrvAudioFileTrackInfoReaderWriter::addAudioProcessingInfo(
    const std::shared_ptr<OrvAudioProcessingRangeInfo>& processing) {
  info().addAudioProcessingInfo(processing);
}

void OrvAudioFileTrackInfoReaderWriter::addAudioProcessingForAllTracks(const ProcessingList& processings) {
  info().addAudioProcessingForAllTracks(processings);
}

void OrvAudioFileTrackInfoReaderWriter::clearProcessingInfos() {
  if (infoData != nullptr) {
    infoData->clearProcessingInfos();
  }
}

std::shared_ptr<OrvAudioFileTrackInfoReaderWriter::ProcessingList> OrvAudioFileTrackInfoReaderWriter::processingInfos()
    const {
  return infoData == nullptr ? nullptr : infoData->processingInfos();
}

bool OrvAudioFileTrackInfoReaderWriter::versionIsSupported(std::uint32_t version) const {
  const auto object = delegate();
  auto* const asked = dynamic_cast<OrvTrackInfoVersionDelegate*>(object.get());
  return asked != nullptr ? asked->versionIsSupported(version) : version <= applicationchunk::kVersion;
}

bool OrvAudioFileTrackInfoReaderWriter::isEqual(const std::shared_ptr<const OrvObject>& other) const {
  const auto* readerWriter = dynamic_cast<const OrvAudioFileTrackInfoReaderWriter*>(other.get());
  return readerWriter == nullptr || _audioTracksFilePath == readerWriter->_audioTracksFilePath;
}
