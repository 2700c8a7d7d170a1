// Ranges through a processor: into a new file, and in place.
#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <vector>

#include "OrvCoreAudio/OrvAudioFile.h"
#include "OrvCoreAudio/OrvAudioFileProcessor.h"
#include "OrvPlatform/Log.h"
#include "WithoutThrowing.h"
#include "detection/ProcessingChain.h"

using orv::formatText;
using orv::ProcessingChain;

namespace {

using Processor = std::shared_ptr<OrvAudioProcessor>;
using Request = OrvAudioFileProcessor::ProcessRequest;
using Result = OrvAudioFileProcessor::ProcessResult;

/// Stores a chunk of processed bytes whose source began at `offset`.
using Store = std::function<bool(const char* bytes, std::uint32_t size, std::int64_t offset)>;

/// Bytes of audio from the begin to the end of a range.
struct ByteRange {
  std::int64_t offset = 0;
  std::int64_t length = 0;  ///< negative when the range begins past the end of the file

  ByteRange(OrvAudioFile& file, std::uint64_t fromFrame, std::uint64_t toFrame) {
    const std::uint64_t bytesPerFrame = std::max<std::uint32_t>(file.bytesPerFrame(), 1);
    const std::uint64_t end = std::min(toFrame, file.lengthInBytes() / bytesPerFrame);
    offset = static_cast<std::int64_t>(fromFrame * bytesPerFrame);
    length = fromFrame > end ? -1 : static_cast<std::int64_t>((end - fromFrame) * bytesPerFrame);
  }
};

/// Closed again with the object. Null when it can't be opened.
std::shared_ptr<OrvAudioFile> openForReading(const std::string& path) {
  auto file = OrvAudioFile::initWithPath_accessMode(path, OrvAudioFile::kModeRead);
  file->setUseCache(false);
  file->setUseInternalCache(false);
  return file->open() ? file : nullptr;
}

bool processChunks(OrvAudioFile& source, ProcessingChain& chain, ByteRange range, OrvProgressDelegate* progress,
                   const Store& store) {
  std::vector<char> bytes(std::max(chain.chunkBytes(), chain.processedBytes()));
  const auto total = static_cast<float>(range.length);
  while (range.length > 0) {
    auto chunk = static_cast<std::uint32_t>(std::min<std::int64_t>(range.length, chain.chunkBytes()));
    if (!source.read_length_fromOffset(bytes.data(), &chunk, range.offset)) {
      return false;
    }
    chunk -= chunk % source.bytesPerFrame();
    std::uint32_t processed = 0;
    if (chunk == 0 || chain.process(bytes.data(), chunk, bytes.data(), &processed) != noErr ||
        !store(bytes.data(), processed, range.offset)) {
      return false;
    }
    if (progress != nullptr) {
      progress->progressUpdate(1.0F - static_cast<float>(range.length) / total);
    }
    range.length -= chunk;
    range.offset += chunk;
  }
  return true;
}

std::shared_ptr<OrvAudioStreamBasicDescription> bigEndian(const OrvAudioStreamBasicDescription& source) {
  const std::unique_ptr<AudioStreamBasicDescription, decltype(&std::free)> record(source.audioStreamBasicDescription(),
                                                                                  &std::free);
  auto format = OrvAudioStreamBasicDescription::initWithAudioStreamBasicDescription(record.get());
  format->setFormatFlags(format->formatFlags() | kAudioFormatFlagIsBigEndian);
  return format;
}

bool copyThrough(const Processor& processor, OrvProgressDelegate* progress, const std::string& sourcePath,
                 const std::string& destinationPath, std::uint64_t fromFrame, std::uint64_t toFrame) {
  const auto source = openForReading(sourcePath);
  if (!source) {
    return false;
  }
  processor->reset();
  const ByteRange range(*source, fromFrame, toFrame);
  const auto format = bigEndian(*source->fileStreamFormat());
  const auto chain = ProcessingChain::make(source->fileStreamFormat(), format, processor);
  std::error_code ignored;
  // The destination is only touched when there is something to put into it, and is never the source.
  if (range.length < 0 || !chain || std::filesystem::equivalent(sourcePath, destinationPath, ignored)) {
    return false;
  }
  const auto destination = OrvAudioFile::initWithPath_accessMode(destinationPath, OrvAudioFile::kModeWrite);
  destination->setFileStreamFormat(format);
  destination->setUseCache(false);
  if (!destination->open()) {
    return false;
  }
  const bool wasProcessed = processChunks(
      *source, *chain, range, progress,
      [&](const char* bytes, std::uint32_t size, std::int64_t) { return destination->write_length(bytes, &size); });
  return destination->close() && wasProcessed;
}

bool processInPlace(const Processor& processor, OrvProgressDelegate* progress, const std::string& path,
                    std::uint64_t fromFrame, std::uint64_t toFrame) {
  const auto reader = openForReading(path);
  if (!reader) {
    return false;
  }
  const auto writer = OrvAudioFile::initWithPath_accessMode(reader->path(), OrvAudioFile::kModeReadWrite);
  // Mode 1 would empty a file that can only be read.
  if (!writer->openForUpdateOnly()) {
    return false;
  }
  processor->reset();
  const ByteRange range(*reader, fromFrame, toFrame);
  const auto chain = ProcessingChain::make(reader->fileStreamFormat(), reader->fileStreamFormat(), processor);
  if (range.length < 0 || !chain) {
    return false;
  }
  const bool wasProcessed =
      processChunks(*reader, *chain, range, progress, [&](const char* bytes, std::uint32_t size, std::int64_t offset) {
        return writer->write_length_atOffset(bytes, &size, offset);
      });
  return writer->close() && wasProcessed;
}

/// The in-place run that tells how far it came.
class InPlaceRun {
 public:
  /// `frame` starts at the range's begin and follows what was replaced, however the run ends.
  InPlaceRun(const Request& request, std::uint64_t& frame)
      : request_(request),
        file_(OrvAudioFile::initWithPath_accessMode(request.path, OrvAudioFile::kModeReadWrite)),
        frame_(frame) {}

  Result run() {
    if (!request_.processor) {
      return failed(kAudioConverterErr_OperationNotSupported, "no processor was given");
    }
    if (request_.fromFrame >= request_.toFrame) {
      return failed(kEndOfFileStatus, formatText("the range is empty or reversed: frame %llu to %llu",
                                                 static_cast<unsigned long long>(request_.fromFrame),
                                                 static_cast<unsigned long long>(request_.toFrame)));
    }
    if (!file_->openForUpdateOnly()) {
      return failed();
    }
    const std::uint64_t length = file_->lengthInBytes() / std::max<std::uint32_t>(file_->bytesPerFrame(), 1);
    if (request_.toFrame > length) {
      return failed(kEndOfFileStatus, formatText("frame %llu is past the end: the file holds %llu frames",
                                                 static_cast<unsigned long long>(request_.toFrame),
                                                 static_cast<unsigned long long>(length)));
    }
    request_.processor->reset();
    const auto chain = ProcessingChain::make(file_->fileStreamFormat(), file_->fileStreamFormat(), request_.processor);
    if (!chain) {
      return failed(kAudioConverterErr_FormatNotSupported,
                    request_.path + ": " + orv::describeStatus(kAudioConverterErr_FormatNotSupported));
    }
    Result result = processAll(*chain);
    if (!file_->close() && result.done) {
      return failed();
    }
    return result;
  }

 private:
  Result processAll(ProcessingChain& chain) {
    std::vector<char> bytes(std::max(chain.chunkBytes(), chain.processedBytes()));
    while (frame_ < request_.toFrame) {
      if (request_.cancel != nullptr && request_.cancel->load(std::memory_order_relaxed)) {
        Result cancelled = failed(noErr, "cancelled");
        cancelled.cancelled = true;
        return cancelled;
      }
      if (Result result = processChunk(chain, bytes); !result.done) {
        return result;
      }
      report();
    }
    return succeeded();
  }

  Result processChunk(ProcessingChain& chain, std::vector<char>& bytes) {
    const std::uint32_t bytesPerFrame = file_->bytesPerFrame();
    const auto offset = static_cast<std::int64_t>(frame_ * bytesPerFrame);
    const std::uint64_t frames = std::min<std::uint64_t>(chain.chunkBytes() / bytesPerFrame, request_.toFrame - frame_);
    auto size = static_cast<std::uint32_t>(frames) * bytesPerFrame;
    if (!file_->read_length_fromOffset(bytes.data(), &size, offset)) {
      return failed();
    }
    size -= size % bytesPerFrame;
    if (size == 0) {
      return failed(kEndOfFileStatus, request_.path + ": ends earlier than it says");
    }
    std::uint32_t processed = 0;
    if (const OSStatus status = chain.process(bytes.data(), size, bytes.data(), &processed); status != noErr) {
      return failed(status, request_.path + ": " + orv::describeProcessing(status));
    }
    const bool wasWritten = file_->write_length_atOffset(bytes.data(), &processed, offset);
    frame_ += (std::uint64_t{processed} + bytesPerFrame - 1) / bytesPerFrame;
    return wasWritten ? succeeded() : failed();
  }

  static Result succeeded() {
    Result result;
    result.done = true;
    return result;
  }

  static Result failed(OSStatus status, std::string problem) {
    Result result;
    result.status = status;
    result.problem = std::move(problem);
    return result;
  }

  Result failed() const { return failed(file_->lastStatus(), request_.path + ": " + file_->lastProblem()); }

  void report() const {
    if (auto* const delegate = dynamic_cast<OrvProgressDelegate*>(request_.progressDelegate.get())) {
      delegate->progressUpdate(static_cast<float>(static_cast<double>(frame_ - request_.fromFrame) /
                                                  static_cast<double>(request_.toFrame - request_.fromFrame)));
    }
  }

  const Request& request_;
  const std::shared_ptr<OrvAudioFile> file_;
  std::uint64_t& frame_;
};

}  // namespace

bool OrvAudioFileProcessor::copyFramesToPath_sourcePath_destinationPath_fromFrame_toFrame_via(
    const std::shared_ptr<OrvObject>& delegate, const std::optional<std::string>& sourcePath,
    const std::optional<std::string>& destinationPath, std::uint64_t fromFrame, std::uint64_t toFrame,
    const std::shared_ptr<OrvAudioProcessor>& processor) {
  if (!sourcePath || !destinationPath) {
    return false;
  }
  if (fromFrame >= toFrame || !processor) {
    return true;
  }
  return withoutThrowing("OrvAudioFileProcessor", false, [&] {
    return copyThrough(processor, dynamic_cast<OrvProgressDelegate*>(delegate.get()), *sourcePath, *destinationPath,
                       fromFrame, toFrame);
  });
}

bool OrvAudioFileProcessor::processFrames_sourcePath_startingAt_endingAt_via(
    const std::shared_ptr<OrvObject>& delegate, const std::optional<std::string>& sourcePath, std::uint64_t fromFrame,
    std::uint64_t toFrame, const std::shared_ptr<OrvAudioProcessor>& processor) {
  if (!sourcePath || !processor || fromFrame >= toFrame) {
    return false;
  }
  return withoutThrowing("OrvAudioFileProcessor", false, [&] {
    return processInPlace(processor, dynamic_cast<OrvProgressDelegate*>(delegate.get()), *sourcePath, fromFrame,
                          toFrame);
  });
}

OrvAudioFileProcessor::ProcessResult OrvAudioFileProcessor::processFramesInPlace(const ProcessRequest& request) {
  Result failure;
  failure.status = kOutOfMemoryStatus;
  failure.problem = orv::describeStatus(kOutOfMemoryStatus);
  std::uint64_t frame = request.fromFrame;
  Result result = withoutThrowing("OrvAudioFileProcessor", failure, [&] { return InPlaceRun(request, frame).run(); });
  result.changedUpToFrame = frame;
  return result;
}
