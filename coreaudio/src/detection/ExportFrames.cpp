// The export that appears complete or not at all.
#include <unistd.h>

#include <atomic>
#include <filesystem>

#include "OrvCoreAudio/OrvAudioFile.h"
#include "OrvCoreAudio/OrvAudioFileFormats.h"
#include "OrvCoreAudio/OrvAudioFileProcessor.h"
#include "OrvPlatform/AudioFileMoves.h"
#include "OrvPlatform/FileManager.h"
#include "OrvPlatform/Log.h"
#include "WithoutThrowing.h"
#include "detection/ChunkTransfer.h"
#include "detection/ChunkTreatment.h"
#include "detection/ProcessingChain.h"

using orv::ChunkTransfer;
using orv::formatText;

namespace {

using Request = OrvAudioFileProcessor::ExportRequest;
using Result = OrvAudioFileProcessor::ExportResult;

Result failure(OSStatus status, std::string problem) {
  Result result;
  result.status = status;
  result.problem = std::move(problem);
  return result;
}

Result failure(OSStatus status) {
  return failure(status, orv::describeStatus(status));
}

Result failure(const std::string& path, const OrvAudioFile& file) {
  return failure(file.lastStatus(), path + ": " + file.lastProblem());
}

Result done() {
  Result result;
  result.done = true;
  return result;
}

/// The name under which the file is written until it is complete: in the same folder, so that the last step is a
/// rename, and short, whatever the destination is called.
std::string partialPath(const std::string& destination) {
  static std::atomic<unsigned> counter{0};
  const std::string name = formatText(".orv-%ld-%u.partial", static_cast<long>(::getpid()), counter++);
  return (std::filesystem::path(destination).parent_path() / name).string();
}

/// Removes a file unless it was kept.
class PartialFile {
 public:
  explicit PartialFile(std::string path) : path_(std::move(path)) {}
  PartialFile(const PartialFile&) = delete;
  PartialFile& operator=(const PartialFile&) = delete;
  ~PartialFile() {
    if (!isKept_) {
      orv::removeAudioFile(path_);
    }
  }

  const std::string& path() const { return path_; }

  OSStatus keepAs(const std::string& destination, bool replaceExisting) {
    const OSStatus status =
        replaceExisting ? orv::replaceAudioFile(path_, destination) : orv::moveAudioFile(path_, destination);
    isKept_ = status == noErr;
    return status;
  }

 private:
  const std::string path_;
  bool isKept_ = false;
};

class Export {
 public:
  explicit Export(const Request& request)
      : request_(request),
        source_(OrvAudioFile::initWithPath_accessMode(request.sourcePath, OrvAudioFile::kModeRead)) {}

  Result run() {
    if (!source_->open()) {
      return failure(request_.sourcePath, *source_);
    }
    if (Result refusal = whatForbidsIt(); !refusal.problem.empty()) {
      return refusal;
    }
    PartialFile partial(partialPath(request_.destinationPath));
    if (Result result = write(partial.path()); !result.done) {
      return result;
    }
    if (request_.finish) {
      if (const std::string problem = request_.finish(partial.path()); !problem.empty()) {
        return failure(kAudioFileUnspecifiedError, problem);
      }
    }
    const OSStatus status = partial.keepAs(request_.destinationPath, request_.replaceExisting);
    if (status != noErr) {
      return failure(status, request_.destinationPath + ": " + orv::describeStatus(status));
    }
    report(1.0);
    return done();
  }

 private:
  Result whatForbidsIt() const {
    const std::uint64_t length = source_->lengthInBytes() / source_->bytesPerFrame();
    if (request_.fromFrame > request_.toFrame || (request_.fromFrame == request_.toFrame && !request_.mayBeEmpty)) {
      return failure(kEndOfFileStatus, formatText("the range is empty or reversed: frame %llu to %llu",
                                                  static_cast<unsigned long long>(request_.fromFrame),
                                                  static_cast<unsigned long long>(request_.toFrame)));
    }
    if (request_.toFrame > length) {
      return failure(kEndOfFileStatus, formatText("frame %llu is past the end: the file holds %llu frames",
                                                  static_cast<unsigned long long>(request_.toFrame),
                                                  static_cast<unsigned long long>(length)));
    }
    std::error_code ignored;
    if (std::filesystem::equivalent(request_.sourcePath, request_.destinationPath, ignored)) {
      return failure(kFileExistsStatus, request_.destinationPath + ": is the source itself");
    }
    const auto existing = orv::fileManager()->attributes(request_.destinationPath);
    if (existing && existing->isDirectory) {
      return failure(kWrongFileKindStatus, request_.destinationPath + ": is a directory");
    }
    if (existing && !request_.replaceExisting) {
      return failure(kFileExistsStatus, request_.destinationPath + ": exists already");
    }
    return {};
  }

  AudioFileTypeID wantedType() const {
    const AudioFileTypeID byExtension = orv::fileTypeForPath(request_.destinationPath);
    return request_.fileType != 0 ? request_.fileType : byExtension != 0 ? byExtension : source_->fileType();
  }

  Result write(const std::string& path) {
    AudioFileTypeID type = wantedType();
    const auto format = orv::losslessFormat(request_.format ? *request_.format : *source_->fileStreamFormat(), type);
    const auto treatment = orv::makeTreatment(source_->fileStreamFormat(), format, request_.processor);
    if (!treatment) {
      return failure(kAudioFileUnsupportedDataFormatError);
    }
    const auto destination = OrvAudioFile::initWithPath_accessMode(path, OrvAudioFile::kModeWrite);
    destination->setFileStreamFormat(format);
    destination->setFileType(type);
    if (!destination->open()) {
      return failure(request_.destinationPath, *destination);
    }
    Result result = transfer(*destination, *treatment);
    if (!destination->close() && result.done) {
      return failure(request_.destinationPath, *destination);
    }
    return result;
  }

  Result transfer(OrvAudioFile& destination, orv::ChunkTreatment& treatment) const {
    if (request_.processor) {
      request_.processor->reset();
    }
    ChunkTransfer transfer(*source_, destination, treatment);
    switch (transfer.run({request_.fromFrame, request_.toFrame}, request_.cancel,
                         [this](double progress) { report(progress); })) {
      case ChunkTransfer::Outcome::cancelled: {
        Result cancelled = failure(noErr, "cancelled");
        cancelled.cancelled = true;
        return cancelled;
      }
      case ChunkTransfer::Outcome::notRead:
        return failure(request_.sourcePath, *source_);
      case ChunkTransfer::Outcome::endedEarly:
        return failure(kEndOfFileStatus, request_.sourcePath + ": ends earlier than it says");
      case ChunkTransfer::Outcome::notTreated:
        return failure(transfer.treatmentStatus(), orv::describeProcessing(transfer.treatmentStatus()));
      case ChunkTransfer::Outcome::notWritten:
        return failure(request_.destinationPath, destination);
      case ChunkTransfer::Outcome::done:
        break;
    }
    return done();
  }

  void report(double progress) const {
    if (auto* const delegate = dynamic_cast<OrvProgressDelegate*>(request_.progressDelegate.get())) {
      delegate->progressUpdate(static_cast<float>(progress));
    }
  }

  const Request& request_;
  const std::shared_ptr<OrvAudioFile> source_;
};

}  // namespace

OrvAudioFileProcessor::ExportResult OrvAudioFileProcessor::exportFrames(const ExportRequest& request) {
  return withoutThrowing("OrvAudioFileProcessor", failure(kOutOfMemoryStatus), [&] { return Export(request).run(); });
}
