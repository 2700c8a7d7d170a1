// The export that appears complete or not at all.
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <vector>

#include "OrvCoreAudio/OrvAudioConverter.h"
#include "OrvCoreAudio/OrvAudioFile.h"
#include "OrvCoreAudio/OrvAudioFileProcessor.h"
#include "OrvPlatform/FileManager.h"
#include "OrvPlatform/Log.h"
#include "WithoutThrowing.h"
#include "detection/ExportFormat.h"
#include "detection/ProcessingChain.h"

using orv::formatText;
using orv::ProcessingChain;

namespace {

using Request = OrvAudioFileProcessor::ExportRequest;
using Result = OrvAudioFileProcessor::ExportResult;

constexpr std::uint32_t kChunkBytes = 0x80000;

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
      orv::fileManager()->remove(path_);
    }
  }

  const std::string& path() const { return path_; }

  OSStatus keepAs(const std::string& destination, bool replaceExisting) {
    const OSStatus status = replaceExisting ? orv::fileManager()->replace(path_, destination)
                                            : orv::fileManager()->move(path_, destination);
    isKept_ = status == noErr;
    return status;
  }

 private:
  const std::string path_;
  bool isKept_ = false;
};

/// What is done to the samples on their way. Without either the bytes stay as they are.
struct Treatment {
  std::shared_ptr<OrvAudioConverter> converter;
  std::unique_ptr<ProcessingChain> chain;
};

/// Moves frames from one open file to another, a chunk at a time.
class ChunkMover {
 public:
  ChunkMover(OrvAudioFile& source, OrvAudioFile& destination, const Treatment& treatment)
      : source_(source),
        destination_(destination),
        converter_(treatment.converter.get()),
        chain_(treatment.chain.get()),
        bytesPerFrame_(source.bytesPerFrame()),
        framesPerChunk_(chain_ != nullptr ? chain_->chunkBytes() / bytesPerFrame_
                                          : std::max<std::uint32_t>(kChunkBytes / bytesPerFrame_, 1)),
        read_(std::size_t{framesPerChunk_} * bytesPerFrame_) {
    if (chain_ != nullptr) {
      converted_.resize(chain_->processedBytes());
    } else if (converter_ != nullptr) {
      converted_.resize(converter_->calculateOutputBufferSize(static_cast<std::uint32_t>(read_.size())));
    }
  }

  bool read(std::uint64_t frame, std::uint64_t endFrame) {
    size_ = static_cast<std::uint32_t>(std::min<std::uint64_t>(framesPerChunk_, endFrame - frame)) * bytesPerFrame_;
    const bool wasRead =
        source_.read_length_fromOffset(read_.data(), &size_, static_cast<std::int64_t>(frame * bytesPerFrame_));
    frames_ = size_ / bytesPerFrame_;
    size_ = frames_ * bytesPerFrame_;
    samples_ = read_.data();
    return wasRead;
  }

  /// Frames of the chunk that was read.
  std::uint32_t frames() const { return frames_; }

  OSStatus treat() {
    if (converter_ == nullptr && chain_ == nullptr) {
      return noErr;
    }
    auto produced = static_cast<std::uint32_t>(converted_.size());
    const OSStatus status = chain_ != nullptr ? chain_->process(read_.data(), size_, converted_.data(), &produced)
                                              : converter_->convertBuffer_inputBufferSize_outputBuffer_outputBufferSize(
                                                    read_.data(), size_, converted_.data(), &produced);
    samples_ = converted_.data();
    size_ = produced;
    return status;
  }

  /// At the end of the source: takes what a resampler still holds, until nothing is left to write.
  OSStatus drain() {
    auto produced = static_cast<std::uint32_t>(converted_.size());
    OSStatus status = noErr;
    if (chain_ != nullptr) {
      status = chain_->drain(converted_.data(), &produced);
    } else if (converter_ != nullptr) {
      status = converter_->drainIntoBuffer_outputBufferSize(converted_.data(), &produced);
    } else {
      produced = 0;
    }
    samples_ = converted_.data();
    size_ = produced;
    return status;
  }

  bool hasBytesToWrite() const { return size_ > 0; }
  bool write() { return destination_.write_length(samples_, &size_); }

 private:
  OrvAudioFile& source_;
  OrvAudioFile& destination_;
  OrvAudioConverter* const converter_;
  ProcessingChain* const chain_;
  const std::uint32_t bytesPerFrame_;
  const std::uint32_t framesPerChunk_;
  std::vector<char> read_;
  std::vector<char> converted_;
  const char* samples_ = nullptr;
  std::uint32_t size_ = 0;
  std::uint32_t frames_ = 0;
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
    if (request_.fromFrame >= request_.toFrame) {
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
    Treatment treatment;
    if (!prepare(&treatment, format)) {
      return failure(kAudioFileUnsupportedDataFormatError);
    }
    const auto destination = OrvAudioFile::initWithPath_accessMode(path, OrvAudioFile::kModeWrite);
    destination->setFileStreamFormat(format);
    destination->setFileType(type);
    if (!destination->open()) {
      return failure(request_.destinationPath, *destination);
    }
    Result result = copyFrames(*destination, treatment);
    if (!destination->close() && result.done) {
      return failure(request_.destinationPath, *destination);
    }
    return result;
  }

  /// False when the formats can't be converted.
  bool prepare(Treatment* treatment, const std::shared_ptr<OrvAudioStreamBasicDescription>& format) const {
    if (request_.processor) {
      request_.processor->reset();
      treatment->chain = ProcessingChain::make(source_->fileStreamFormat(), format, request_.processor);
      return treatment->chain != nullptr;
    }
    if (!format->isEqual(source_->fileStreamFormat())) {
      treatment->converter =
          OrvAudioConverter::initWithSourceFormat_destinationFormat(source_->fileStreamFormat(), format);
      if (treatment->converter && format->sampleRate() != source_->sampleRate()) {
        treatment->converter->setSampleRateConverterQuality(kAudioConverterQuality_Max);
      }
      return treatment->converter != nullptr;
    }
    return true;
  }

  Result copyFrames(OrvAudioFile& destination, const Treatment& treatment) {
    ChunkMover mover(*source_, destination, treatment);
    for (std::uint64_t frame = request_.fromFrame; frame < request_.toFrame;) {
      if (request_.cancel != nullptr && request_.cancel->load(std::memory_order_relaxed)) {
        Result cancelled = failure(noErr, "cancelled");
        cancelled.cancelled = true;
        return cancelled;
      }
      if (!mover.read(frame, request_.toFrame)) {
        return failure(request_.sourcePath, *source_);
      }
      if (mover.frames() == 0) {
        return failure(kEndOfFileStatus, request_.sourcePath + ": ends earlier than it says");
      }
      if (const OSStatus status = mover.treat(); status != noErr) {
        return failure(status, orv::describeProcessing(status));
      }
      if (!mover.write()) {
        return failure(request_.destinationPath, destination);
      }
      frame += mover.frames();
      report(static_cast<double>(frame - request_.fromFrame) /
             static_cast<double>(request_.toFrame - request_.fromFrame));
    }
    return writeRest(mover, destination);
  }

  Result writeRest(ChunkMover& mover, const OrvAudioFile& destination) const {
    for (;;) {
      if (const OSStatus status = mover.drain(); status != noErr) {
        return failure(status);
      }
      if (!mover.hasBytesToWrite()) {
        return done();
      }
      if (!mover.write()) {
        return failure(request_.destinationPath, destination);
      }
    }
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
