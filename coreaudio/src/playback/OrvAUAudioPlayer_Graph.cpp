// The graph: which units there are, and what passes between them.
#include "OrvCoreAudio/OrvAUAudioPlayer.h"
#include "playback/GraphSource.h"

namespace {

constexpr ComponentDescription kConverterUnit = {kAudioUnitType_FormatConverter, kAudioUnitSubType_Converter,
                                                 kAudioUnitManufacturer, 0, 0};
constexpr ComponentDescription kOutputUnit = {kAudioUnitType_Output, kAudioUnitSubType_DefaultOutput,
                                              kAudioUnitManufacturer, 0, 0};

void readFormat(AudioUnit unit, AudioUnitScope scope, AudioStreamBasicDescription* format) {
  std::uint32_t size = sizeof *format;
  AudioUnitGetProperty(unit, kAudioUnitProperty_StreamFormat, scope, 0, format, &size);
}

void setFormat(AudioUnit unit, AudioUnitScope scope, const AudioStreamBasicDescription& format) {
  AudioUnitSetProperty(unit, kAudioUnitProperty_StreamFormat, scope, 0, &format, sizeof format);
}

}  // namespace

// Failures along the way are not looked at: a unit that lacks something does not start, and that is what playing tells.

void OrvAUAudioPlayer::initializeGraph() {
  const std::lock_guard guard(transportLock);
  setupGraph();
  setupAudioFormats();
  connectAudioUnits();
  AudioUnitInitialize(mInputUnit);
  AUGraphInitialize(mGraph);
}

void OrvAUAudioPlayer::setupGraph() {
  const std::lock_guard guard(transportLock);
  destroyGraph();
  NewAUGraph(&mGraph);
  AUGraphOpen(mGraph);
  makeGraph();
  if (mOutputDevice != nullptr) {
    setOutputDeviceAsCurrent(mOutputDevice->deviceID());
  }
  const AURenderCallbackStruct reading{&FileReadProc, this};
  AudioUnitSetProperty(mInputUnit, kAudioUnitProperty_SetRenderCallback, kAudioUnitScope_Input, 0, &reading,
                       sizeof reading);
  const AURenderCallbackStruct processing{&AudioProcessingProc, this};
  AudioUnitSetProperty(mOutputUnit, kAudioUnitProperty_SetRenderCallback, kAudioUnitScope_Input, 0, &processing,
                       sizeof processing);
  AUGraphUpdate(mGraph);
}

/// The converter unit is no node of the graph, and one serves for all graphs.
void OrvAUAudioPlayer::makeGraph() {
  const std::lock_guard guard(transportLock);
  if (mInputUnit == nullptr) {
    OpenAComponent(FindNextComponent(0, &kConverterUnit), &mInputUnit);
  }
  AUGraphNewNode(mGraph, &kOutputUnit, &mOutputNode);
  AUGraphGetNodeInfo(mGraph, mOutputNode, nullptr, &mOutputUnit);
  AUGraphUpdate(mGraph);
}

/// A device that is gone is remembered: nobody wants to hear the file on another one.
void OrvAUAudioPlayer::setOutputDeviceAsCurrent(AudioDeviceID device) {
  const std::lock_guard guard(transportLock);
  isDeviceSet_ = AudioUnitSetProperty(mOutputUnit, kAudioOutputUnitProperty_CurrentDevice, kAudioUnitScope_Global, 0,
                                      &device, sizeof device) == noErr;
}

void OrvAUAudioPlayer::setupAudioFormats() {
  const std::lock_guard guard(transportLock);
  readFormat(mOutputUnit, kAudioUnitScope_Output, &mAUDestinationFormat);
  readFormat(mOutputUnit, kAudioUnitScope_Input, &mAUInternalFormat);
  AudioUnitUninitialize(mInputUnit);
  setFormat(mInputUnit, kAudioUnitScope_Input, mAUSourceFloatFormat);
  setFormat(mInputUnit, kAudioUnitScope_Output, mAUInternalFormat);
  setFormat(mOutputUnit, kAudioUnitScope_Input, mAUInternalFormat);
  const std::uint32_t frames = kMostFramesPerSlice;
  for (const AudioUnit unit : {mInputUnit, mOutputUnit}) {
    AudioUnitSetProperty(unit, kAudioUnitProperty_MaximumFramesPerSlice, kAudioUnitScope_Global, 0, &frames,
                         sizeof frames);
  }
}

void OrvAUAudioPlayer::destroyGraph() {
  const std::lock_guard guard(transportLock);
  if (mGraph == nullptr) {
    return;
  }
  AUGraphStop(mGraph);
  AUGraphUninitialize(mGraph);
  AUGraphClose(mGraph);
  DisposeAUGraph(mGraph);
  mGraph = nullptr;
  mOutputUnit = nullptr;
  mHasBeenStopped = true;
  mShouldProvideData = false;
}
