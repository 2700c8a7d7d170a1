#include "OrvCoreAudio/OrvAudioFileFrameIntervalCopier.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "OrvCoreAudio/OrvAudioConverter.h"
#include "WithoutThrowing.h"

namespace {

constexpr std::uint32_t kMostBytesAtOnce = 1U << 30;

/// Which frames are to be picked.
struct Picking {
  std::int64_t from = 0;
  std::int64_t end = 0;
  std::uint64_t count = 0;
};

Picking pickingOf(OrvAudioFile& file, std::uint32_t interval, std::int64_t fromFrame, std::int64_t toFrame) {
  Picking picking;
  picking.from = fromFrame;
  picking.end = std::min<std::int64_t>(toFrame, file.lengthInFrames());
  if (picking.end > fromFrame) {
    // Unsigned: a range of signed frame numbers may be longer than a signed number can say.
    picking.count = (static_cast<std::uint64_t>(picking.end) - static_cast<std::uint64_t>(fromFrame)) / interval;
  }
  return picking;
}

/// Reads the picked frames one by one. Returns the frames stepped over.
std::uint64_t readPicked(OrvAudioFile& file, const Picking& picking, std::uint32_t interval,
                         OrvProgressDelegate* progress, std::vector<char>* picked) {
  const std::uint32_t frameBytes = file.bytesPerFrame();
  // Formed in 32 bits: past 4 GiB it wraps.
  const std::int64_t stop = static_cast<std::uint32_t>(static_cast<std::uint64_t>(picking.end) * frameBytes);
  const std::int64_t step = std::int64_t{interval} * frameBytes;
  std::int64_t position = picking.from * frameBytes;
  std::uint64_t frames = 0;
  while (position < stop && frames < picking.count) {
    std::uint32_t size = frameBytes;
    char* const frame = picked->data() + frames * frameBytes;
    if (AudioFileReadBytes(file.audioFileID(), true, position, &size, frame) != noErr) {
      break;
    }
    position += step;
    ++frames;
    if (progress != nullptr) {
      progress->progressUpdate(static_cast<float>(frames * frameBytes) / static_cast<float>(picking.count));
    }
  }
  return frames * interval;
}

std::shared_ptr<OrvAudioStreamBasicDescription> floatFormatOf(const OrvAudioStreamBasicDescription& source) {
  const std::unique_ptr<AudioStreamBasicDescription, decltype(&std::free)> record(source.audioStreamBasicDescription(),
                                                                                  &std::free);
  auto format = OrvAudioStreamBasicDescription::initWithAudioStreamBasicDescription(record.get());
  format->setFormatFlags(format->formatFlags() | kAudioFormatFlagIsFloat | kAudioFormatFlagIsBigEndian);
  format->setBitsPerChannel(32);
  format->setBytesPerFrame(4 * format->channelsPerFrame());
  format->setBytesPerPacket(format->bytesPerFrame() * format->framesPerPacket());
  return format;
}

void convert(const std::vector<char>& picked, const std::shared_ptr<OrvAudioStreamBasicDescription>& from, void* buffer,
             std::uint64_t count) {
  const auto to = floatFormatOf(*from);
  const auto converter = OrvAudioConverter::initWithSourceFormat_destinationFormat(from, to);
  if (!converter) {
    return;
  }
  const char* input = picked.data();
  auto* output = static_cast<char*>(buffer);
  const std::uint32_t most = kMostBytesAtOnce / std::max(from->bytesPerFrame(), to->bytesPerFrame());
  while (count > 0) {
    const auto frames = static_cast<std::uint32_t>(std::min<std::uint64_t>(count, most));
    std::uint32_t size = frames * to->bytesPerFrame();
    if (converter->convertBuffer_inputBufferSize_outputBuffer_outputBufferSize(input, frames * from->bytesPerFrame(),
                                                                               output, &size) != noErr) {
      return;
    }
    input += std::size_t{frames} * from->bytesPerFrame();
    output += size;
    count -= frames;
  }
}

}  // namespace

std::uint32_t OrvAudioFileFrameIntervalCopier::copyFramesWithInterval_fromFile_interval_toBuffer_fromFrame_toFrame(
    const std::shared_ptr<OrvObject>& progressSubscriber, const std::shared_ptr<OrvAudioFile>& file,
    std::uint32_t interval, void* buffer, std::int64_t fromFrame, std::int64_t toFrame) {
  if (interval == 0 || fromFrame >= toFrame || !file) {
    return 0;
  }
  return withoutThrowing("OrvAudioFileFrameIntervalCopier", std::uint32_t{0}, [&] {
    const Picking picking = pickingOf(*file, interval, fromFrame, toFrame);
    if (buffer == nullptr) {
      return static_cast<std::uint32_t>(picking.count);
    }
    const std::uint32_t frameBytes = file->bytesPerFrame();
    // Before the begin there is nothing to read.
    if (frameBytes == 0 || fromFrame < 0 || picking.count == 0) {
      return std::uint32_t{0};
    }
    std::vector<char> picked(picking.count * frameBytes);
    const std::uint64_t steppedOver =
        readPicked(*file, picking, interval, dynamic_cast<OrvProgressDelegate*>(progressSubscriber.get()), &picked);
    convert(picked, file->fileStreamFormat(), buffer, picking.count);
    return static_cast<std::uint32_t>(steppedOver);
  });
}
