// Starting, stopping and moving, on the control thread.
#include <algorithm>
#include <limits>
#include <utility>

#include "OrvCoreAudio/OrvAudioPlayer.h"
#include "OrvCoreAudio/OrvVUMeterDataProvider.h"
#include "OrvPlatform/Log.h"
#include "OrvPlatform/Vector.h"
#include "WithoutThrowing.h"
#include "playback/ConvertedFrames.h"
#include "playback/CycleGate.h"
#include "playback/FrameOffsets.h"

namespace {

constexpr bool kOutput = false;

}  // namespace

/// Where playing goes on.
struct OrvAudioPlayer::Move {
  std::uint32_t begin = 0;           // logical frame
  std::uint32_t fileFrame = 0;       // the same in the file
  std::optional<std::uint32_t> end;  // logical frame; none: where it ended before
  bool isExact = false;
};

bool OrvAudioPlayer::play() {
  const std::uint32_t begin = currentFrameOffset();
  return playFromFrame_endFrame(begin, lengthInFrames());
}

bool OrvAudioPlayer::playFromFrame(std::uint32_t begin) {
  return playFromFrame_endFrame(begin, lengthInFrames());
}

bool OrvAudioPlayer::playFromFrame_endFrame(std::uint32_t begin, std::uint32_t end) {
  if (begin > end || _outputDevice == nullptr || gate_->isEnteredHere()) {
    return false;
  }
  return withoutThrowing("OrvAudioPlayer::playFromFrame", false, [&] {
    if (!_isPlaying) {
      followDevice();
    }
    Move move;
    move.begin = calculateLogicalFrameOffset(begin);
    move.fileFrame = calculateFileFrameOffset(move.begin);
    move.end = calculateLogicalFrameOffset(std::min(end, fileLengthInFrames));
    return start(move);
  });
}

bool OrvAudioPlayer::playExactlyFromFrame_endFrame(std::uint32_t begin, std::uint32_t end) {
  if (begin > end || gate_->isEnteredHere()) {
    return false;
  }
  return withoutThrowing("OrvAudioPlayer::playExactlyFromFrame", false, [&] {
    if (_outputDevice == nullptr || !_outputDevice->isAlive()) {
      orv::log("OrvAudioPlayer: there is no output device to play on");
      return false;
    }
    if (!_isPlaying) {
      followDevice();
    }
    if (_fileStreamFormat == nullptr || !converted_->canConvert()) {
      orv::logf("OrvAudioPlayer: %s can't be played", audioFilePath().value_or("no file").c_str());
      return false;
    }
    Move move;
    move.begin = exactLogicalFrame(begin);
    move.fileFrame = begin;
    move.end = end >= fileLengthInFrames ? logicalLengthInFrames : exactLogicalFrame(end);
    move.isExact = true;
    return start(move);
  });
}

/// The device is started once, however often playing begins anew, because it will be stopped once.
bool OrvAudioPlayer::start(const Move& move) {
  moveTo(move);
  if ((_eventMask & kEventStarted) != 0) {
    notifyCallback(OrvAudioPlayerStartedPlayingNotification);
    notifyCallback(OrvVUMeterDataProviderDidStartNotification);
  }
  _outputDevice->addAudioIOSubscriber_forInput({std::shared_ptr<void>(), this}, kOutput);
  _shouldProvideData = true;
  if (!_isPlaying.exchange(true) && !_outputDevice->start()) {
    _isPlaying = _shouldProvideData = false;
    if ((_eventMask & kEventStopped) != 0) {
      notifyCallback(OrvAudioPlayerStoppedPlayingNotification);
    }
    return false;
  }
  return true;
}

/// Converts the frames that come first before any cycle asks for them. Those of a file that has ended and was read are
/// not converted again until somebody has asked for the position: reads fail, which ends playing.
void OrvAudioPlayer::moveTo(const Move& move) {
  const auto settle = [&](bool isNewPlace) {
    if ((isNewPlace || _currentOffset != move.begin) && _audioProcessor != nullptr) {
      _audioProcessor->reset();
    }
    _currentOffset = move.begin;
    if (move.end) {
      _playOut = *move.end;
      isExact_ = move.isExact;
    }
  };
  if (move.end ? move.isExact : isExact_) {
    converted_->clearEndOfFile();
  }
  if (move.begin < logicalLengthInFrames && !converted_->isDrained()) {
    return converted_->moveTo(move.begin, move.fileFrame, settle);
  }
  const CycleGate::Hold hold(*gate_);
  settle(false);
}

bool OrvAudioPlayer::stop() {
  if (_outputDevice == nullptr || !_isPlaying.exchange(false)) {
    return true;
  }
  return withoutThrowing("OrvAudioPlayer::stop", false, [&] {
    _shouldProvideData = false;
    const bool wasStopped = _outputDevice->stop();
    unsubscribe();
    if (wasStopped && (_eventMask & kEventStopped) != 0) {
      notifyCallback(OrvAudioPlayerStoppedPlayingNotification);
      notifyCallback(OrvVUMeterDataProviderDidStopNotification);
    }
    const CycleGate::Hold hold(*gate_);
    const float* const zeros = vectorAddBuffer.data();
    vadd(zeros, 1, zeros, 1, audioProcessingBuffer.data(), 1, audioProcessingBufferSize / sizeof(float));
    vadd(zeros, 1, zeros, 1, mixBuffer_.data(), 1, audioProcessingBufferSize / sizeof(float));
    return wasStopped;
  });
}

void OrvAudioPlayer::rewind() {
  if (_outputDevice == nullptr || gate_->isEnteredHere()) {
    return;
  }
  withoutThrowing("OrvAudioPlayer::rewind", false, [&] {
    if (_isPlaying) {
      moveTo({});
    } else {
      waitForCycle();
      _currentOffset = 0;
    }
    return true;
  });
}

void OrvAudioPlayer::setCurrentFrameOffset(std::uint32_t frame) {
  if (_outputDevice == nullptr || gate_->isEnteredHere()) {
    return;
  }
  withoutThrowing("OrvAudioPlayer::setCurrentFrameOffset", false, [&] {
    Move move;
    move.begin = calculateLogicalFrameOffset(frame);
    move.fileFrame = calculateFileFrameOffset(move.begin);
    if (move.begin == _currentOffset) {
      return true;
    }
    if (_isPlaying) {
      moveTo(move);
      return true;
    }
    const CycleGate::Hold hold(*gate_);
    _currentOffset = move.begin;
    if (_audioProcessor != nullptr) {
      _audioProcessor->reset();
    }
    return true;
  });
}

// What is replaced is released when the gate is free again.

void OrvAudioPlayer::setVolumeControl(const std::shared_ptr<OrvSoftwareVolumeControl>& control) {
  auto other = control;
  if (!gate_->isEnteredHere()) {
    const CycleGate::Hold hold(*gate_);
    _volumeControl.swap(other);
  }
}

void OrvAudioPlayer::setAudioProcessor(const std::shared_ptr<OrvAudioProcessor>& processor) {
  auto other = processor;
  if (!gate_->isEnteredHere()) {
    const CycleGate::Hold hold(*gate_);
    _audioProcessor.swap(other);
  }
}

void OrvAudioPlayer::setVolumeDecibels(float decibels) {
  if (_volumeControl != nullptr) {
    _volumeControl->setVolumeDecibels(decibels);
  }
}

void OrvAudioPlayer::setVolumeScalar(float scalar) {
  if (_volumeControl != nullptr) {
    _volumeControl->setVolumeScalar(scalar);
  }
}
