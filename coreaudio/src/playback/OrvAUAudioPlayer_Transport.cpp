// Playing, stopping, positions.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <vector>

#include "OrvCoreAudio/OrvAUAudioPlayer.h"
#include "OrvCoreAudio/OrvVUMeterDataProvider.h"
#include "OrvPlatform/ConditionLock.h"
#include "OrvPlatform/RunLoop.h"
#include "WithoutThrowing.h"
#include "playback/GraphSource.h"
#include "playback/ReadAheadCondition.h"

namespace {

/// Frames that are read before the first cycle behind a jump.
constexpr std::uint32_t kLeastReadBefore = 2 * FileFeed::kFramesInPiece;

/// Frames of silence after which a resampler's queues have the size that they keep.
constexpr std::uint32_t kLeadInFrames = 1U << 16;

/// kLeadInFrames, or somewhat more such that they are a whole number of frames of the destination too, where the rates
/// are whole: then what follows them keeps its place to the frame. 0 where nothing is to be resampled.
std::uint32_t leadInFrames(double sourceRate, double destinationRate) {
  const auto isWhole = [](double rate) { return rate >= 1 && rate <= 1e7 && rate == std::floor(rate); };
  if (sourceRate == destinationRate || sourceRate <= 0 || destinationRate <= 0) {
    return 0;
  }
  if (!isWhole(sourceRate) || !isWhole(destinationRate)) {
    return kLeadInFrames;
  }
  const auto from = static_cast<std::uint32_t>(sourceRate);
  const std::uint32_t step = from / std::gcd(from, static_cast<std::uint32_t>(destinationRate));
  return (kLeadInFrames + step - 1) / step * step;
}

}  // namespace

bool OrvAUAudioPlayer::play() {
  const std::lock_guard guard(transportLock);
  return playFromFrame_endFrame(currentFrameOffset(), mFileLengthInFrames);
}

bool OrvAUAudioPlayer::playFromFrame(std::uint32_t begin) {
  const std::lock_guard guard(transportLock);
  return playFromFrame_endFrame(begin, mFileLengthInFrames);
}

bool OrvAUAudioPlayer::playFromFrame_endFrame(std::uint32_t begin, std::uint32_t end) {
  return start(begin, end, false);
}

bool OrvAUAudioPlayer::playExactlyFromFrame_endFrame(std::uint32_t begin, std::uint32_t end) {
  return start(begin, end, true);
}

bool OrvAUAudioPlayer::start(std::uint32_t begin, std::uint32_t end, bool isExact) {
  if (begin > end || isInCycle()) {
    return false;
  }
  const std::lock_guard guard(transportLock);
  return withoutThrowing("OrvAUAudioPlayer", false, [&] {
    setCurrentFrameOffset(begin);
    mPlayInSampleTime = begin;
    source_->change([&](GraphSource& source) {
      source.playOut = std::min(end, mFileLengthInFrames);
      source.isExact = isExact;
      ++source.play;
    });
    leadOutLeft_ = leadOutFrames_;
    mHasBeenStopped = false;
    if (!graphRuns()) {
      fillConverterUnit();
    }
    if ((mEventMask & kEventStarted) != 0) {
      notifyCallback(OrvAudioPlayerStartedPlayingNotification);
      notifyCallback(OrvVUMeterDataProviderDidStartNotification);
    }
    const bool canPlay = isDeviceSet_ && source_->copy().info != nullptr;
    mShouldProvideData = canPlay && AUGraphStart(mGraph) == noErr;
    if (!mShouldProvideData) {
      mHasBeenStopped = true;
      if ((mEventMask & kEventStopped) != 0) {
        notifyCallback(OrvAudioPlayerStoppedPlayingNotification);
      }
      return false;
    }
    return true;
  });
}

/// A resampler allocates for the first blocks that go through it. So silence goes first, here, and what comes out of it
/// is thrown away to the frame: what is heard in the first cycle is the first frame of the file. It allocates, too,
/// when it is drained: so silence follows the file, as much of it as the resampler holds.
void OrvAUAudioPlayer::fillConverterUnit() {
  AudioUnitUninitialize(mInputUnit);
  AudioUnitInitialize(mInputUnit);
  leadOutFrames_ = 0;
  const double rate = mAUSourceFloatFormat.mSampleRate;
  const std::uint32_t frames = leadInFrames(rate, mAUInternalFormat.mSampleRate);
  const std::uint32_t frameBytes = mAUInternalFormat.mBytesPerFrame;
  if (frames == 0 || frameBytes == 0) {
    return;
  }
  leadInLeft_ = frames;
  leadOutFrames_ = frames;  // for a file that ends here already
  leadOutLeft_ = frames;
  framesPulled_ = 0;
  const double ratio = mAUInternalFormat.mSampleRate / rate;
  auto left = static_cast<std::uint32_t>(std::llround(frames * ratio));
  const std::uint32_t slice = std::clamp<std::uint32_t>(mOutputDevice->bufferFrameSize(false), 1, kMostFramesPerSlice);
  std::vector<std::byte> heard(std::size_t{slice} * frameBytes);
  const AudioTimeStamp noTime{};
  OSStatus status = noErr;
  while (left > 0 && status == noErr) {
    const std::uint32_t now = std::min(left, slice);
    AudioBufferList list{1, {{mAUInternalFormat.mChannelsPerFrame, now * frameBytes, heard.data()}}};
    status = AudioUnitRender(mInputUnit, nullptr, &noTime, 0, now, &list);
    left -= now;
  }
  leadInLeft_ = 0;
  // What it holds varies by one pull.
  const auto pull = static_cast<std::uint32_t>(std::ceil(slice / ratio)) + 1;
  leadOutFrames_ = framesPulled_ - std::min(framesPulled_, frames) + pull;
  leadOutLeft_ = leadOutFrames_;
}

bool OrvAUAudioPlayer::graphRuns() const {
  bool isRunning = false;
  std::uint32_t unitRuns = 0;
  std::uint32_t size = sizeof unitRuns;
  return AUGraphIsRunning(mGraph, &isRunning) == noErr && isRunning &&
         AudioUnitGetProperty(mOutputUnit, kAudioOutputUnitProperty_IsRunning, kAudioUnitScope_Global, 0, &unitRuns,
                              &size) == noErr &&
         unitRuns != 0;
}

bool OrvAUAudioPlayer::isPlaying() const {
  const std::lock_guard guard(transportLock);
  return !mHasBeenStopped && graphRuns();
}

bool OrvAUAudioPlayer::stop() {
  if (isInCycle()) {
    orv::LoopCall call;
    call.receiver = weak_from_this().lock();
    call.perform = [](const orv::LoopCall& made) { static_cast<OrvAUAudioPlayer*>(made.receiver.get())->stop(); };
    if (call.receiver != nullptr) {
      orv::RunLoop::main().post(orv::LoopPriority::state, std::move(call));
    }
    return true;
  }
  const std::lock_guard guard(transportLock);
  return stopNow();
}

bool OrvAUAudioPlayer::stopNow() {
  bool isRunning = false;
  AUGraphIsRunning(mGraph, &isRunning);
  if (!isRunning) {
    return true;
  }
  const bool wasThere = graphRuns();
  mShouldProvideData = false;
  const OSStatus status = AUGraphStop(mGraph);
  mHasBeenStopped = true;
  if (!wasThere) {
    return true;  // the device went away, and with it what could be stopped
  }
  if (status != noErr) {
    return false;
  }
  if ((mEventMask & kEventStopped) != 0) {
    notifyCallback(OrvAudioPlayerStoppedPlayingNotification);
    notifyCallback(OrvVUMeterDataProviderDidStopNotification);
  }
  return true;
}

/// Main thread: what a cycle that came to the end has asked for. Playing may have begun again meanwhile.
void OrvAUAudioPlayer::finish(std::uint64_t play) {
  const std::lock_guard guard(transportLock);
  if (source_->copy().play == play) {
    stopNow();
  }
  if ((mEventMask & kEventFinished) != 0) {
    notifyCallback(OrvAudioPlayerFinishedPlayingNotification);
  }
}

void OrvAUAudioPlayer::rewind() {
  if (isInCycle()) {
    return;
  }
  const std::lock_guard guard(transportLock);
  mPlayInSampleTime = 0;
  withoutThrowing("OrvAUAudioPlayer", false, [&] {
    moveTo(0);
    return true;
  });
}

void OrvAUAudioPlayer::setCurrentFrameOffset(std::uint32_t frame) {
  if (isInCycle()) {
    return;
  }
  const std::lock_guard guard(transportLock);
  if (frame != currentFrameOffset()) {
    withoutThrowing("OrvAUAudioPlayer", false, [&] {
      moveTo(frame);
      return true;
    });
  }
}

std::uint32_t OrvAUAudioPlayer::currentFrameOffset() const {
  const auto feed = source_->copy().feed;
  return feed != nullptr ? feed->position() : mSampleTime.load();
}

/// Cycles are silent while the position moves, so that the processor can be reset, and the first cycle behind it finds
/// frames that are read already.
void OrvAUAudioPlayer::moveTo(std::uint32_t frame) {
  const auto before = source_->copy().feed;
  source_->change([](GraphSource& source) { source.feed = nullptr; });
  if (before != nullptr) {
    before->close();  // the reader may be at it still
  }
  mSampleTime = frame;
  const GraphSource source = source_->copy();
  if (source.processor != nullptr) {
    source.processor->reset();
  }
  if (source.info == nullptr) {
    return;
  }
  auto feed = std::make_shared<FileFeed>(source.info->mAudioFileId, source.info->mSourceFormat.mBytesPerFrame, frame);
  const std::uint32_t soon = std::max(kLeastReadBefore, 4 * mOutputDevice->bufferFrameSize(false));
  for (std::uint32_t frames = 0; frames < soon && feed->fill(); frames += FileFeed::kFramesInPiece) {
  }
  leadOutLeft_ = leadOutFrames_;
  source_->change([&](GraphSource& changed) { changed.feed = std::move(feed); });
  readAheadLock_->unlockWithCondition(kReadAheadWanted);
}
