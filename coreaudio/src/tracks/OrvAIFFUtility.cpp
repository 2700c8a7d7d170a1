#include "OrvCoreAudio/OrvAIFFUtility.h"

#include <array>
#include <cstring>
#include <limits>
#include <memory>

#include "WithoutThrowing.h"
#include "tracks/AIFFChunkReader.h"
#include "tracks/AIFFChunkSearch.h"
#include "tracks/BigEndian.h"

namespace {

constexpr std::array<const char*, 14> kKnownChunks{"SSND", "COMM", "MARK", "INST", "MIDI", "AESD", "APPL",
                                                   "COMT", "NAME", "AUTH", "(c) ", "ANNO", "FLLR", "FVER"};

constexpr std::int64_t kFormSizeField = 4;
constexpr std::int64_t kFormHeaderBytes = 8;  // what the size does not count

std::unique_ptr<orv::FileHandle> open(const std::string& path, orv::FileAccess access) {
  std::unique_ptr<orv::FileHandle> file;
  return orv::fileManager()->open(path, access, &file) == noErr ? std::move(file) : nullptr;
}

bool writeFormSize(orv::FileHandle& file, std::int64_t size) {
  if (size > std::numeric_limits<std::uint32_t>::max()) {
    return false;
  }
  std::array<std::uint8_t, 4> bytes{};
  storeBigEndian32(bytes.data(), static_cast<std::uint32_t>(size));
  std::size_t moved = 0;
  return file.writeAt(kFormSizeField, bytes.data(), bytes.size(), &moved) == noErr && moved == bytes.size();
}

/// What the size becomes: an odd one is taken to count a pad byte that is still to come.
std::int64_t repairedSize(std::int64_t length, std::uint32_t oldSize) {
  return length < kFormHeaderBytes ? 0 : length + (oldSize & 1) - kFormHeaderBytes;
}

/// Reads the form type and one chunk header after the other, with the low bit of the form's size for every pad byte.
/// What it meets has no part in the result of the check.
void walkChunks(AIFFChunkReader& reader, std::uint32_t formSize, std::int64_t length) {
  constexpr int kMostChunks = 10000;
  reader.number(kFormHeaderBytes);
  std::uint64_t offset = kFirstAIFFChunk;
  for (int count = 0; offset < static_cast<std::uint64_t>(length) && count < kMostChunks; ++count) {
    const AIFFChunkHeader header = reader.header(offset);
    OrvAIFFUtility::getNextChunkId(header.id.data());
    offset += AIFFChunkHeader::kBytes + header.size + (formSize & 1);
  }
}

}  // namespace

bool OrvAIFFUtility::validateFileAtPath(const std::string& path) {
  return withoutThrowing("validateFileAtPath", false, [&] {
    const auto file = open(path, orv::FileAccess::read);
    return file != nullptr && checkFileAtPath_shouldRepair(*file, false) == kIsValid;
  });
}

std::uint32_t OrvAIFFUtility::repairFileAtPath(const std::string& path) {
  return withoutThrowing("repairFileAtPath", kIsNoForm, [&] {
    const auto file = open(path, orv::FileAccess::readWrite);
    if (file == nullptr) {
      return kIsNoForm;
    }
    const std::uint32_t code = checkFileAtPath_shouldRepair(*file, true);
    file->synchronise();
    return code;
  });
}

std::uint32_t OrvAIFFUtility::checkFileAtPath_shouldRepair(orv::FileHandle& file, bool shouldRepair) {
  AIFFChunkReader reader(file);
  const AIFFChunkHeader form = reader.header(0);
  if (!form.isNamed("FORM")) {
    return kIsNoForm;
  }
  const std::int64_t length = file.size();
  const bool isTrue = length == kFormHeaderBytes + std::int64_t{form.size};
  if (!isTrue && (!shouldRepair || length < 0 || !writeFormSize(file, repairedSize(length, form.size)))) {
    return kSizeIsWrong;
  }
  walkChunks(reader, form.size, length);
  return isTrue ? kIsValid : kIsRepaired;
}

std::uint32_t OrvAIFFUtility::getNextChunkId(const char* chunkId) {
  for (std::uint32_t i = 0; chunkId != nullptr && i < kKnownChunks.size(); ++i) {
    if (std::memcmp(chunkId, kKnownChunks[i], 4) == 0) {
      return i + 1;
    }
  }
  return 0;
}

std::uint32_t OrvAIFFUtility::findOffsetForChunkId_inFile_startingAtOffset_endingOffset(const char* chunkId,
                                                                                        orv::FileHandle& file,
                                                                                        std::uint32_t startingAtOffset,
                                                                                        std::uint32_t endingOffset) {
  if (chunkId == nullptr) {
    return endingOffset;
  }
  AIFFChunkReader reader(file);
  return static_cast<std::uint32_t>(findChunk(reader, chunkId, startingAtOffset, endingOffset));
}

std::uint32_t OrvAIFFUtility::findOffsetForApplicationChunkWithCreator_inFile_startingAtOffset_endingOffset(
    std::uint32_t creator, orv::FileHandle& file, std::uint32_t startingAtOffset, std::uint32_t endingOffset) {
  AIFFChunkReader reader(file);
  return static_cast<std::uint32_t>(findApplicationChunk(reader, creator, startingAtOffset, endingOffset));
}
