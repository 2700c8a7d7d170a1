#include "playback/ConvertedFrames.h"

#include <algorithm>
#include <cstring>

#include "OrvPlatform/Log.h"
#include "OrvPlatform/Thread.h"

namespace {

constexpr std::int32_t kEmpty = 0;
constexpr std::int32_t kFull = 1;
constexpr std::int32_t kWorkWanted = 0;
constexpr std::int32_t kIdle = 1;
constexpr double kRaisedPriority = 0.2;

}  // namespace

ConvertedFrames::ConvertedFrames(CycleGate& gate) : gate_(gate) {
  filler_ = orv::startThread("player filler", [this] { convertBufferRunLoop(); });
}

ConvertedFrames::~ConvertedFrames() {
  threadShouldExit = true;
  wakeFiller();
  if (filler_.joinable()) {
    filler_.join();
  }
}

void ConvertedFrames::use(const Setup& setup) {
  const std::lock_guard filling(fillLock_);
  // Two times the nominal size.
  const std::size_t bytes = std::size_t{2} * setup.convertedBufferSizeInBytes;
  std::vector<std::byte> fresh[2] = {std::vector<std::byte>(bytes), std::vector<std::byte>(bytes)};
  source_->use(setup.file, setup.fileLengthInFrames, 4 * setup.convertedBufferSizeInBytes);
  const CycleGate::Hold hold(gate_);
  setup_ = setup;
  for (std::size_t i = 0; i < 2; ++i) {
    Buffer& buffer = convertedBuffers_[i];
    buffer.bytes.swap(fresh[i]);
    buffer.frames = buffer.begin = 0;
    buffer.lock.unlockWithCondition(kFull);
  }
  currentBuffer = 1;
  position_ = 0;
  isFilled_ = converterIsFresh_ = false;
  _audioConverter = nullptr;
}

bool ConvertedFrames::canConvert() {
  const std::lock_guard filling(fillLock_);
  renewConverter();
  return _audioConverter != nullptr && setup_.convertedBufferSizeInFrames > 0;
}

/// A converter that has delivered anything holds some of what came before, or has ended.
void ConvertedFrames::renewConverter() {
  if (!converterIsFresh_) {
    _audioConverter = OrvAudioConverter::initWithDelegate_sourceFormat_destinationFormat(source_, setup_.fileFormat,
                                                                                         setup_.deviceFormat);
    converterIsFresh_ = true;
  }
}

bool ConvertedFrames::isDrained() {
  const std::lock_guard filling(fillLock_);
  const CycleGate::Hold hold(gate_);
  return eofFlag && reachedEnd_ && convertedBuffers_[currentBuffer].frames == 0;
}

bool ConvertedFrames::isAhead() const noexcept {
  return reachedEnd_ || failed_ ||
         (convertedBuffers_[0].lock.condition() == kFull && convertedBuffers_[1].lock.condition() == kFull);
}

void ConvertedFrames::moveTo(std::uint32_t logicalFrame, std::uint32_t fileFrame,
                             const std::function<void(bool)>& atSwitch) {
  const std::lock_guard filling(fillLock_);
  std::uint32_t next = 0;
  {
    const CycleGate::Hold hold(gate_);
    const bool hasMore = !reachedEnd_ || convertedBuffers_[currentBuffer].frames > 0;
    if (isFilled_ && position_ == logicalFrame && !failed_ && hasMore) {
      return atSwitch(false);
    }
    // Taken until the switch, so that a cycle that has read the other one does not begin with it before.
    next = 1 - currentBuffer;
    convertedBuffers_[next].lock.unlockWithCondition(kEmpty);
    convertedBuffers_[next].lock.tryLockWhenCondition(kEmpty);
    failed_ = reachedEnd_ = false;
  }
  renewConverter();
  source_->moveTo(fileFrame);
  const Outcome outcome = fill(convertedBuffers_[next]);
  {
    const CycleGate::Hold hold(gate_);
    deliver(convertedBuffers_[next], outcome);
    currentBuffer = next;
    position_ = logicalFrame;
    isFilled_ = true;
    convertedBuffers_[1 - next].frames = 0;
    convertedBuffers_[1 - next].lock.unlockWithCondition(kEmpty);
    atSwitch(true);
  }
  wakeFiller();
}

void ConvertedFrames::convertBufferRunLoop() {
  orv::setCurrentThreadPriority(orv::currentThreadPriority() + kRaisedPriority);
  while (!threadShouldExit) {
    fillerThreadLock.lockWhenCondition(kWorkWanted);
    {
      const std::lock_guard filling(fillLock_);
      if (isFilled_) {
        convertBuffers();
      }
    }
    fillerThreadLock.unlockIfStillTaken(kIdle);  // a cycle that emptied a buffer meanwhile has more work
  }
}

/// In the order in which they will be read. Asked once which comes first: a cycle that goes on to the other one
/// meanwhile finds it filled, and wakes the filler again for the one that it left.
void ConvertedFrames::convertBuffers() {
  const std::uint32_t first = currentBuffer;
  for (const std::uint32_t index : {first, 1 - first}) {
    if (!threadShouldExit) {
      convertBuffer(convertedBuffers_[index]);
    }
  }
}

void ConvertedFrames::convertBuffer(Buffer& buffer) {
  if (buffer.lock.tryLockWhenCondition(kEmpty)) {
    deliver(buffer, fill(buffer));
  }
}

/// Of the last frames, silence completes the last cycle, so that it is one read.
ConvertedFrames::Outcome ConvertedFrames::fill(Buffer& buffer) {
  const std::uint32_t frames = setup_.convertedBufferSizeInFrames;
  AudioBufferList list{1, {{setup_.deviceChannelsPerFrame, setup_.convertedBufferSizeInBytes, buffer.bytes.data()}}};
  OSStatus status = kAudioConverterErr_FormatNotSupported;
  std::uint32_t filled = 0;
  if (_audioConverter != nullptr) {
    converterIsFresh_ = false;
    status = _audioConverter->fillComplexBuffer_buffer_packetDescription(&frames, &list, nullptr);
    filled = _audioConverter->framesFilled();
  }
  buffer.begin = buffer.frames = 0;
  if (status != noErr && status != kEndOfFileStatus) {
    orv::log("OrvAudioPlayer: the audio can't be converted for the device");
    OrvAudioConverter::printOSStatusCode(status);
    return Outcome::failed;
  }
  const bool isEnd = status == kEndOfFileStatus || filled < frames;
  buffer.frames = isEnd ? wholeCycles(filled) : frames;
  return isEnd ? Outcome::lastFrames : Outcome::full;
}

/// A buffer that could not be filled stays taken, until a move resets it.
void ConvertedFrames::deliver(Buffer& buffer, Outcome outcome) {
  if (outcome == Outcome::failed) {
    failed_ = true;
    return;
  }
  buffer.lock.unlockWithCondition(kFull);
  if (outcome == Outcome::lastFrames && !reachedEnd_) {
    eofFlag = true;  // once: an empty buffer behind the end must not undo what cleared the flag
    reachedEnd_ = true;
  }
}

std::uint32_t ConvertedFrames::wholeCycles(std::uint32_t frames) const {
  const std::uint32_t cycle = std::max<std::uint32_t>(setup_.cycleFrames, 1);
  const std::uint64_t rounded = (std::uint64_t{frames} + cycle - 1) / cycle * cycle;
  return static_cast<std::uint32_t>(std::min<std::uint64_t>(rounded, setup_.convertedBufferSizeInFrames));
}

ConvertedFrames::Read ConvertedFrames::read(float* out, std::size_t room, std::uint32_t frames, Join join) noexcept {
  const std::size_t step =
      join == Join::byBytes ? setup_.deviceBytesPerFrame : setup_.deviceBytesPerFrame / sizeof *out;
  Read done;
  std::size_t at = 0;
  while (done.frames < frames && position_ < setup_.logicalLengthInFrames) {
    // Asked before the lock is tried: once the last frames are there, a buffer that is not will be empty.
    const bool isEnd = reachedEnd_ || failed_;
    Buffer& buffer = convertedBuffers_[currentBuffer];
    if (!buffer.lock.tryLockWhenCondition(kFull)) {
      done.isLate = !isEnd;
      break;
    }
    const std::uint32_t count = std::min(buffer.frames, frames - done.frames);
    if (count == 0) {
      buffer.lock.unlockWithCondition(kFull);
      break;
    }
    copy(buffer, count, out + std::min(at, room), room - std::min(at, room));
    take(buffer, count);
    done.frames += count;
    at += count * step;
  }
  if (join == Join::byBytes && done.frames < frames && !done.isLate) {
    done.frames = 0;
  }
  return done;
}

void ConvertedFrames::copy(const Buffer& from, std::uint32_t frames, float* out, std::size_t room) const noexcept {
  const std::size_t frameBytes = setup_.deviceBytesPerFrame;
  std::memcpy(out, from.bytes.data() + from.begin * frameBytes, std::min(frames * frameBytes, room * sizeof *out));
}

void ConvertedFrames::take(Buffer& buffer, std::uint32_t frames) noexcept {
  buffer.frames -= frames;
  buffer.begin += frames;
  position_ += frames;
  if (buffer.frames > 0) {
    buffer.lock.unlockWithCondition(kFull);
    return;
  }
  currentBuffer = 1 - currentBuffer;
  buffer.lock.unlockWithCondition(kEmpty);
  wakeFiller();
}
