#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>
#include <vector>

#include "OrvCoreAudio/OrvAudioConverter.h"
#include "OrvCoreAudio/OrvAudioFile.h"
#include "OrvCoreAudio/OrvAudioTrackAutoDefiner.h"
#include "OrvCoreAudio/OrvSplitDetection.h"
#include "OrvPlatform/Vector.h"
#include "WithoutThrowing.h"
#include "detection/CrossingAnalysis.h"
#include "detection/SplitRun.h"

namespace crossings = orv::crossings;

namespace {

/// 16-bit signed samples in host byte order.
constexpr std::uint32_t kAnalysisFlags = kAudioFormatFlagIsSignedInteger | kAudioFormatFlagIsPacked;
constexpr std::uint32_t kBytesPerSample = 2;

using Bytes = std::unique_ptr<char[]>;

Bytes zeroedBytes(std::uint32_t count) {
  return Bytes(new (std::nothrow) char[count]());
}

/// The length in frames times 5. The product wraps at 32 bits, for files of more than 858,993,459 frames.
std::uint32_t fifthsOf(OrvAudioFile& file) {
  return file.lengthInFrames() * 5;
}

/// One analysis of one file: reads it block by block and counts.
class FileAnalysis {
 public:
  explicit FileAnalysis(OrvAudioFile& file)
      : file_(file),
        fileFormat_(file.fileStreamFormat() ? file.fileStreamFormat() : OrvAudioStreamBasicDescription::init()),
        analysisFormat_(OrvAudioStreamBasicDescription::defaultStandardFileFormat()),
        framesPerBlock_(crossings::framesPerBlock(file.sampleRate())),
        counts_(crossings::numberOfBlocks(fifthsOf(file), file.sampleRate())) {
    analysisFormat_->setSampleRate(file.sampleRate());
    analysisFormat_->setFormatFlags(kAnalysisFlags);
    record_.reset(analysisFormat_->audioStreamBasicDescription());
  }

  /// False without memory for the block.
  bool prepare() {
    bytesPerBlock_ = framesPerBlock_ * analysisFormat_->bytesPerFrame();
    block_ = zeroedBytes(bytesPerBlock_);
    if (!readsDirectly()) {
      converter_ = OrvAudioConverter::initWithSourceFormat_destinationFormat(fileFormat_, analysisFormat_);
      inputSize_ = converter_ ? converter_->calculateInputBufferSize(bytesPerBlock_) : 0;
      input_ = zeroedBytes(inputSize_);
    }
    return block_ && record_ && (readsDirectly() || input_);
  }

  /// Counts block after block until the data ends; false when cancelled.
  bool countAll(std::int16_t level) {
    auto remaining = static_cast<std::int64_t>(file_.lengthInBytes());
    std::uint32_t byteCount = 0;
    for (std::size_t b = 0; remaining > 0; ++b) {
      const std::uint32_t delivered = readsDirectly() ? readDirectly(byteCount) : readConverted(byteCount);
      remaining -= delivered;
      const std::uint32_t crossingsOfBlock =
          countZeroCrossings(record_.get(), reinterpret_cast<const std::int16_t*>(block_.get()), byteCount, level);
      if (b < counts_.size()) {
        counts_[b] = crossingsOfBlock;
      }
      OrvSplitRun::advance();
      if (OrvSplitRun::isCancelled) {
        return false;
      }
      if (delivered == 0) {
        break;
      }
    }
    return true;
  }

  const std::vector<std::uint32_t>& counts() const { return counts_; }
  std::uint32_t framesPerBlock() const { return framesPerBlock_; }

 private:
  /// Files of 16-bit integers are scanned as they are, in blocks for two channels whatever their number.
  bool readsDirectly() const {
    const std::uint32_t channels = fileFormat_->channelsPerFrame();
    return !fileFormat_->isFloat() && channels != 0 && fileFormat_->bytesPerFrame() / channels == kBytesPerSample;
  }

  /// Each reads one block and answers the bytes that the file delivered, 0 at the end of the data. The block then holds
  /// `byteCount` bytes; at the end it stays as it was.
  std::uint32_t readDirectly(std::uint32_t& byteCount) {
    std::uint32_t length = bytesPerBlock_;
    if (!file_.read_length(block_.get(), &length) || length == 0) {
      return 0;
    }
    byteCount = length;
    if (fileFormat_->isBigEndian()) {
      orv::simd::swapBytes16(block_.get(), length / kBytesPerSample);
    }
    return length;
  }

  std::uint32_t readConverted(std::uint32_t& byteCount) {
    std::uint32_t length = inputSize_;
    if (!converter_ || !file_.read_length(input_.get(), &length) || length == 0) {
      return 0;
    }
    std::uint32_t produced = bytesPerBlock_;
    const OSStatus status = converter_->convertBuffer_inputBufferSize_outputBuffer_outputBufferSize(
        input_.get(), length, block_.get(), &produced);
    byteCount = status == noErr ? produced : 0;
    return length;
  }

  struct Free {
    void operator()(void* block) const { std::free(block); }
  };

  OrvAudioFile& file_;
  const std::shared_ptr<OrvAudioStreamBasicDescription> fileFormat_;
  const std::shared_ptr<OrvAudioStreamBasicDescription> analysisFormat_;
  std::unique_ptr<AudioStreamBasicDescription, Free> record_;
  const std::uint32_t framesPerBlock_;
  std::uint32_t bytesPerBlock_ = 0;
  std::vector<std::uint32_t> counts_;
  Bytes block_;
  std::shared_ptr<OrvAudioConverter> converter_;
  std::uint32_t inputSize_ = 0;
  Bytes input_;
};

/// Puts the boundaries into the caller's array, in frames.
void placeSplits(const FileAnalysis& analysis, std::uint16_t sensitivity, std::uint32_t lengthOfSilence,
                 std::uint32_t lengthInFrames, std::uint32_t* splits, std::int32_t* trackCount) {
  const std::vector<std::uint32_t>& counts = analysis.counts();
  if (*trackCount != 0) {
    *trackCount = static_cast<std::int32_t>(findCountedSplits(counts.data(), static_cast<std::int16_t>(counts.size()),
                                                              static_cast<std::int16_t>(*trackCount), splits));
  } else {
    const auto found =
        crossings::thresholdSplits(counts.data(), static_cast<std::uint32_t>(counts.size()), sensitivity,
                                   lengthOfSilence, crossings::kMostThresholdTracks, &OrvSplitRun::advance);
    std::copy(found.begin(), found.end(), splits);
    *trackCount = static_cast<std::int32_t>(found.size());
  }
  for (std::int32_t i = 0; i < *trackCount; ++i) {
    splits[i] *= analysis.framesPerBlock();
  }
  if (*trackCount >= 0) {
    splits[*trackCount] = lengthInFrames;
  }
}

std::int32_t split(OrvAudioFile& file, std::uint16_t sensitivity, std::uint32_t lengthOfSilence,
                   std::int16_t zeroOffset, std::uint32_t* splits, std::int32_t* trackCount) {
  FileAnalysis analysis(file);
  const std::size_t blocks = analysis.counts().size();
  OrvSplitRun::progressValue = 0;
  OrvSplitRun::progressValueIncrementor = blocks != 0 ? 1.0F / (2.0F * static_cast<float>(blocks)) : 0.0F;
  if (!analysis.prepare()) {
    return -1;
  }
  if (!OrvSplitRun::isCancelled && analysis.countAll(zeroOffset)) {
    placeSplits(analysis, sensitivity, lengthOfSilence, file.lengthInFrames(), splits, trackCount);
  }
  OrvSplitRun::progressValue = 0;
  OrvAudioTrackAutoDefiner::autoDefineProgress(1.0F);
  return 0;
}

}  // namespace

std::int32_t zeroCrossingSplitFile(OrvAudioFile* file, std::uint16_t sensitivity, std::uint32_t lengthOfSilence,
                                   std::int16_t zeroOffset, std::uint32_t* splits, std::int32_t* trackCount) {
  return withoutThrowing("zeroCrossingSplitFile", std::int32_t{-1},
                         [&] { return split(*file, sensitivity, lengthOfSilence, zeroOffset, splits, trackCount); });
}
