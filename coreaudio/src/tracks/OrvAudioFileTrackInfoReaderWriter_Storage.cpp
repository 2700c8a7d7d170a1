#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <utility>

#include "OrvCoreAudio/OrvAIFFUtility.h"
#include "OrvCoreAudio/OrvAudioFileTrackInfoReaderWriter.h"
#include "OrvPlatform/Log.h"
#include "WithoutThrowing.h"
#include "tracks/ApplicationChunkLayout.h"
#include "tracks/ApplicationChunkScan.h"
#include "tracks/BigEndian.h"
#include "tracks/ChunkChain.h"
#include "tracks/ChunkPlan.h"
#include "tracks/ChunkWrite.h"

namespace {

using applicationchunk::kCountedHeaderBytes;

constexpr const char* kWrongFormSize = "the size that the file's FORM states is not its length: repair the file first";

template <typename Record>
orv::RecordMaker makerOf() {
  return [](orv::ArchiveDecoder& coder) -> std::shared_ptr<orv::ArchiveRecord> { return Record::initWithCoder(coder); };
}

const orv::RecordMakers& makers() {
  static const orv::RecordMakers* const classes =
      new orv::RecordMakers{{"OrvAudioTrackInfo", makerOf<OrvAudioTrackInfo>()},
                            {"OrvAudioProcessingRangeInfo", makerOf<OrvAudioProcessingRangeInfo>()},
                            {"OrvTrackAndProcessingInfo", makerOf<OrvTrackAndProcessingInfo>()}};
  return *classes;
}

/// Whether a scan meets the chunk at `offset` before any other that it would read.
bool isFoundFirst(orv::FileHandle& file, std::uint32_t signature, std::uint64_t offset) {
  std::array<OrvApplicationChunk, 10> table{};
  scanApplicationChunks(file, signature, table);
  const auto first = std::find_if(table.begin(), table.end(), isUsable);
  return first != table.end() && first->fileOffset == offset;
}

/// Later versions' chunks before ours, whose sizes may lead a scan astray, go behind it.
OSStatus letBeFoundFirst(orv::FileHandle& file, std::uint32_t signature, std::uint64_t offset) {
  OSStatus status = noErr;
  while (status == noErr && !isFoundFirst(file, signature, offset)) {
    const ChunkChain chain(file, signature);
    if (chain.own().empty() || chain.own().front().offset >= offset) {
      return noErr;  // nothing is in the way: a chunk of fixed size that this file is too short for
    }
    status = moveToEnd(file, chain, chain.own().front());
  }
  return status;
}

}  // namespace

bool OrvAudioFileTrackInfoReaderWriter::refuse(std::string problem) {
  _lastProblem = std::move(problem);
  return false;
}

bool OrvAudioFileTrackInfoReaderWriter::storeTracks() {
  return withoutThrowing("storeTracks", false,
                         [&] { return isExternal() ? writeExternally() : writeInternally(true); });
}

bool OrvAudioFileTrackInfoReaderWriter::writeTrackInfosToFile() {
  return withoutThrowing("writeTrackInfosToFile", false,
                         [&] { return isExternal() ? writeExternally() : writeInternally(false); });
}

bool OrvAudioFileTrackInfoReaderWriter::loadTracks() {
  return withoutThrowing("loadTracks", false, [&] { return isExternal() ? readExternally() : readInternally(); });
}

bool OrvAudioFileTrackInfoReaderWriter::readTrackInfosFromFile() {
  const bool isRead = loadTracks();
  return isRead || (!isExternal() && infoData != nullptr);
}

bool OrvAudioFileTrackInfoReaderWriter::writeExternally() {
  _lastProblem.clear();
  if (infoData == nullptr) {
    return refuse("there is nothing to store");
  }
  std::string problem;
  return orv::archiveToFile(infoData, orv::ArchiveForm::sequential, _audioTracksFilePath, &problem) ||
         refuse(_audioTracksFilePath + ": " + problem);
}

bool OrvAudioFileTrackInfoReaderWriter::writeInternally(bool onlyAIFF) {
  _lastProblem.clear();
  const auto write = [&] {
    const orv::ArchiveBytes data =
        infoData == nullptr ? orv::ArchiveBytes() : orv::archive(infoData, orv::ArchiveForm::sequential);
    if (data.empty()) {
      return refuse("there is nothing to store");
    }
    std::unique_ptr<orv::FileHandle> file;
    const OSStatus status = orv::fileManager()->open(_audioFilePath, orv::FileAccess::readWrite, &file);
    if (status != noErr) {
      return refuse(_audioFilePath + ": " + orv::describeStatus(status));
    }
    if (onlyAIFF && !canBeFoundAgain(*file)) {
      return false;
    }
    return writeDataToFile_fileHandle(data, *file);
  };
  const bool isWritten = write();
  if (!isWritten) {
    orv::log("UNABLE TO WRITE APPLICATION INFORMATION TO AUDIO FILE");
  }
  return isWritten;
}

bool OrvAudioFileTrackInfoReaderWriter::canBeFoundAgain(orv::FileHandle& file) {
  if (!ChunkChain(file, _applSignature).isAIFF()) {
    return refuse("tracks can only be stored in AIFF and AIFC files");
  }
  if (!_useFixedSizeBlock) {
    return true;
  }
  std::array<std::uint8_t, 4> sizeField{};
  storeBigEndian32(sizeField.data(), _blockSize);
  OrvApplicationChunk chunk{};
  std::memcpy(&chunk.chunkSize, sizeField.data(), sizeField.size());
  validateVornApplicationChunk_fileLength(chunk, static_cast<std::uint64_t>(file.size()));
  return chunk.seemsValid || refuse("the file is too short for tracks in a block of fixed size");
}

bool OrvAudioFileTrackInfoReaderWriter::verifyBasicFileFormat(orv::FileHandle& file) {
  return (OrvAIFFUtility::checkFileAtPath_shouldRepair(file, false) & 0xFF) != 0;
}

void OrvAudioFileTrackInfoReaderWriter::loadAllApplicationChunks(orv::FileHandle& file) {
  const std::uint32_t found = scanApplicationChunks(file, _applSignature, m_applicationChunks);
  const std::uint32_t room = std::numeric_limits<std::uint32_t>::max() - m_numApplicationChunksFound;
  m_numApplicationChunksFound += std::min(found, room);
}

std::uint32_t OrvAudioFileTrackInfoReaderWriter::writeApplicationChunkToFile_applicationData_atOffset(
    orv::FileHandle& file, const orv::ArchiveBytes& data, std::uint32_t offset) {
  return withoutThrowing("writeApplicationChunkToFile:applicationData:atOffset:", std::uint32_t{0}, [&] {
    const std::size_t counted = data.size() + kCountedHeaderBytes;
    const std::uint64_t size = _useFixedSizeBlock ? _blockSize : counted;
    if (counted > size || size + offset > std::numeric_limits<std::uint32_t>::max()) {
      refuse("the tracks don't fit into the chunk");
      return std::uint32_t{0};
    }
    const bool isPadded = !_useFixedSizeBlock && size % 2 != 0;
    const auto bytes = applicationchunk::bytesOf({static_cast<std::uint32_t>(size), _applSignature, data, isPadded});
    const OSStatus status = writeBytes(file, offset, bytes);
    if (status != noErr) {
      refuse(orv::describeStatus(status));
      return std::uint32_t{0};
    }
    return static_cast<std::uint32_t>(bytes.size());
  });
}

bool OrvAudioFileTrackInfoReaderWriter::updateFormChunkSizeInFile_bytesAdded(orv::FileHandle& file,
                                                                             std::uint32_t /*bytesAdded*/) {
  const OSStatus status = writeFormSize(file);
  return status == noErr || refuse(orv::describeStatus(status));
}

bool OrvAudioFileTrackInfoReaderWriter::repairFile_atOffset(orv::FileHandle& /*file*/, std::uint32_t /*offset*/) {
  return true;
}

void OrvAudioFileTrackInfoReaderWriter::validateVornApplicationChunk_fileLength(OrvApplicationChunk& chunk,
                                                                                std::uint64_t fileLength) {
  // Both against the whole file, not against the chunk's room in it.
  constexpr std::uint64_t kBytesBeforeDataSize = 16;
  chunk.seemsValid =
      chunk.chunkSize + AIFFChunkHeader::kBytes <= fileLength && fileLength >= chunk.dataSize + kBytesBeforeDataSize;
  chunk.isCompatible = chunk.version <= applicationchunk::kVersion;
}

bool OrvAudioFileTrackInfoReaderWriter::writeDataToFile_fileHandle(const orv::ArchiveBytes& data,
                                                                   orv::FileHandle& file) {
  return withoutThrowing("writeDataToFile:fileHandle:", false, [&] {
    if (data.empty()) {
      return true;
    }
    if (!verifyBasicFileFormat(file)) {
      return refuse(kWrongFormSize);
    }
    loadAllApplicationChunks(file);
    const ChunkChain chain(file, _applSignature);
    ChunkRequest request{data, {}, {}};
    if (_useFixedSizeBlock) {
      request.blockSize = _blockSize;
    }
    const auto last = std::find_if(m_applicationChunks.rbegin(), m_applicationChunks.rend(), isUsable);
    if (last != m_applicationChunks.rend()) {
      request.foundAtOffset = last->fileOffset;
    }
    std::string problem;
    const auto plan = planChunk(chain, request, &problem);
    return plan ? writePlannedChunk(*plan, chain, file) : refuse(problem);
  });
}

bool OrvAudioFileTrackInfoReaderWriter::writePlannedChunk(const ChunkPlan& plan, const ChunkChain& chain,
                                                          orv::FileHandle& file) {
  WriteUndo undo(file, plan.offset, plan.length + AIFFChunkHeader::kBytes);
  if (undo.status() != noErr) {
    return refuse(orv::describeStatus(undo.status()));
  }
  const bool grows = plan.offset + plan.length > chain.fileLength();
  OSStatus status = grows && chain.isForm() ? makeLengthEven(file) : noErr;
  if (status == noErr) {
    status = prepareFillers(file, chain, plan);
  }
  if (status != noErr) {
    undo.undo();
    return refuse(orv::describeStatus(status));
  }
  const std::uint32_t written =
      writeApplicationChunkToFile_applicationData_atOffset(file, plan.archive, static_cast<std::uint32_t>(plan.offset));
  if (written == 0 || !updateFormChunkSizeInFile_bytesAdded(file, written)) {
    undo.undo();
    return false;
  }
  // Elsewhere than in a FORM the chain of chunks means nothing.
  if (chain.isForm()) {
    status = retireOthers(file, chain, plan.offset);
  }
  if (status == noErr && chain.isForm()) {
    status = letBeFoundFirst(file, _applSignature, plan.offset);
  }
  return status == noErr || refuse(orv::describeStatus(status));
}

std::string OrvAudioFileTrackInfoReaderWriter::problemOfScan() {
  const auto later = std::find_if(m_applicationChunks.begin(), m_applicationChunks.end(),
                                  [](const auto& chunk) { return chunk.version > applicationchunk::kVersion; });
  if (later != m_applicationChunks.end()) {
    return "the tracks were stored by a later version (" + std::to_string(later->version) + ") and can't be read";
  }
  _isNothingStored = m_applicationChunks.front().fileOffset == 0;
  return !_isNothingStored ? "the stored tracks are damaged" : "the file holds no tracks";
}

std::optional<orv::ArchiveBytes> OrvAudioFileTrackInfoReaderWriter::readDataFromFile(orv::FileHandle& file) {
  return withoutThrowing("readDataFromFile:", std::optional<orv::ArchiveBytes>(), [&] {
    std::optional<orv::ArchiveBytes> data;
    if (!verifyBasicFileFormat(file)) {
      refuse(kWrongFormSize);
      return data;
    }
    loadAllApplicationChunks(file);
    const auto first = std::find_if(m_applicationChunks.begin(), m_applicationChunks.end(), isUsable);
    if (first == m_applicationChunks.end() || first->dataSize > orv::kLongestArchive) {
      refuse(problemOfScan());
      return data;
    }
    data.emplace(first->dataSize);
    std::size_t moved = 0;
    const OSStatus status = file.readAt(std::int64_t{first->fileOffset} + applicationchunk::kHeaderBytes, data->data(),
                                        data->size(), &moved);
    if (status != noErr || moved != data->size()) {
      refuse(status != noErr ? orv::describeStatus(status) : problemOfScan());
      data.reset();
    }
    return data;
  });
}

bool OrvAudioFileTrackInfoReaderWriter::readInternally() {
  _lastProblem.clear();
  _isNothingStored = false;
  std::unique_ptr<orv::FileHandle> file;
  const OSStatus status = orv::fileManager()->open(_audioFilePath, orv::FileAccess::read, &file);
  if (status != noErr) {
    return refuse(_audioFilePath + ": " + orv::describeStatus(status));
  }
  const auto data = readDataFromFile(*file);
  if (!data) {
    return false;
  }
  std::string problem;
  const auto object = orv::unarchive(*data, makers(), &problem);
  return object ? adopt(*object) : refuse("the stored tracks can't be read: " + problem);
}

bool OrvAudioFileTrackInfoReaderWriter::readExternally() {
  _lastProblem.clear();
  _isNothingStored = !orv::fileManager()->exists(_audioTracksFilePath);
  std::string problem;
  const auto object = orv::unarchiveFromFile(_audioTracksFilePath, makers(), &problem);
  return object ? adopt(*object) : refuse(_audioTracksFilePath + ": " + problem);
}

bool OrvAudioFileTrackInfoReaderWriter::adopt(const orv::ArchiveValue& object) {
  auto container = std::dynamic_pointer_cast<OrvTrackAndProcessingInfo>(object.record());
  if (container == nullptr) {
    return refuse("what is stored are no tracks");
  }
  infoData = std::move(container);
  return true;
}
