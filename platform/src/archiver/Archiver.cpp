#include "OrvPlatform/Archiver.h"

#include <algorithm>
#include <exception>

#include "OrvPlatform/Log.h"
#include "archiver/ArchiveFrame.h"
#include "archiver/Cost.h"
#include "archiver/ObjectBuilder.h"
#include "archiver/ObjectEncoder.h"

namespace orv {
namespace {

std::optional<ArchiveValue> refuse(std::string* problem, std::string why) {
  if (problem != nullptr) {
    *problem = std::move(why);
  }
  return std::nullopt;
}

}  // namespace

ArchiveRecord::~ArchiveRecord() = default;
ArchiveEncoder::~ArchiveEncoder() = default;
ArchiveDecoder::~ArchiveDecoder() = default;

ArchiveBytes archive(const ArchiveValue& object, ArchiveForm form) {
  try {
    const archiver::EncodedObject encoded = archiver::encodeObject(object, form);
    const std::size_t length = encoded.cbor.size() + archiver::kFrameBytes;
    const std::size_t filled = std::max(length, archiver::lengthFor(encoded.cost));
    if (filled <= kLongestArchive) {
      return archiver::makeFrame({form, encoded.cbor, filled - length}, {});
    }
    log("archive: the objects are too long for an archive");
  } catch (const std::exception& problem) {
    logf("archive: %s", problem.what());
  }
  return {};
}

std::optional<ArchiveValue> unarchive(std::span<const std::uint8_t> bytes, const RecordMakers& makers,
                                      std::string* problem) {
  try {
    if (bytes.size() > kLongestArchive) {
      return refuse(problem, "the archive is too long");
    }
    const char* frameProblem = nullptr;
    const auto frame = archiver::readFrame(bytes, &frameProblem);
    if (!frame) {
      return refuse(problem, frameProblem);
    }
    std::string objectProblem;
    auto object =
        archiver::buildObject(frame->object, frame->form, makers, archiver::budgetOf(bytes.size()), &objectProblem);
    return object ? object : refuse(problem, objectProblem);
  } catch (const std::exception& exception) {
    logf("unarchive: %s", exception.what());
    return refuse(problem, exception.what());
  }
}

std::optional<std::size_t> archiveLength(std::span<const std::uint8_t> archive, std::size_t frontLength) {
  const char* problem = nullptr;
  const auto frame = archiver::readFrame(archive, &problem);
  return frame ? std::optional(frame->object.size() + frame->zerosBehind + archiver::kFrameBytes + frontLength)
               : std::nullopt;
}

std::optional<ArchiveBytes> archiveWithFiller(std::span<const std::uint8_t> archive,
                                              std::span<const std::uint8_t> front, std::size_t length) {
  try {
    const auto needed = archiveLength(archive, front.size());
    if (!needed || *needed > length || length > kLongestArchive) {
      return std::nullopt;
    }
    const char* problem = nullptr;
    auto frame = archiver::readFrame(archive, &problem);
    frame->zerosBehind += length - *needed;
    return archiver::makeFrame(*frame, front);
  } catch (const std::exception& exception) {
    logf("archiveWithFiller: %s", exception.what());
    return std::nullopt;
  }
}

}  // namespace orv
