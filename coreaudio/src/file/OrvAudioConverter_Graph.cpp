// The graph of two converter units through which output is pulled from the delegate.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "OrvCoreAudio/OrvAudioConverter.h"
#include "WithoutThrowing.h"

namespace {

constexpr std::uint32_t MAX_FRAMES_PER_SLICE = 8192;

/// A float's mantissa holds integers of as many bits.
constexpr std::uint32_t kMostBitsInFloat = 24;

/// The steps of building the graph, under the numbers by which standard error tells of their failures.
enum class Step : int {
  initializeOutputUnit = 140,
  readInternalFormat = 153,
  readNominalRate = 163,
  uninitializeOutputUnit = 171,
  newGraph = 184,
  openGraph = 188,
  makeGraph = 191,
  setRenderCallback = 202,
  updateGraph = 205,
  initializeGraph = 208,
  newInputNode = 248,
  newOutputNode = 250,
  inputNodeInfo = 254,
  outputNodeInfo = 256,
  updateNodes = 259,
  setupAudioFormats = 262,
  connectAudioUnits = 265,
  inputUnitInput = 287,
  inputUnitOutput = 300,
  outputUnitInput = 312,
  outputUnitOutput = 320,
  inputUnitSlice = 329,
  outputUnitSlice = 337,
  connectNodes = 347,
};

/// Failures don't stop the construction: they are told, and the steps that follow tell of theirs.
void tell(OSStatus status, Step step) {
  if (status != noErr) {
    std::fprintf(stderr, "Tarnwick Error: %ld ->  %s:  %d\n", static_cast<long>(status),
                 "coreaudio/src/OrvAudioConverter", static_cast<int>(step));
    std::fflush(stdout);
  }
}

OSStatus setFormat(AudioUnit unit, AudioUnitScope scope, const AudioStreamBasicDescription& format) {
  return AudioUnitSetProperty(unit, kAudioUnitProperty_StreamFormat, scope, 0, &format, sizeof format);
}

bool fitsFloat(const AudioStreamBasicDescription& format) {
  const bool isFloat = (format.mFormatFlags & kAudioFormatFlagIsFloat) != 0;
  return format.mFormatID != kAudioFormatLinearPCM || format.mBitsPerChannel <= (isFloat ? 32 : kMostBitsInFloat);
}

/// What the output unit reported, made such that nothing gets lost on the way: a stereo device is no reason to drop the
/// other channels of a recording, nor its 32-bit floats to round what does not fit them.
AudioStreamBasicDescription internalFormat(const AudioStreamBasicDescription& reported,
                                           const AudioStreamBasicDescription& source,
                                           const AudioStreamBasicDescription& destination) {
  AudioStreamBasicDescription format = reported;
  if (!fitsFloat(source) || !fitsFloat(destination)) {
    format.mFormatFlags = kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked;
    format.mBitsPerChannel = 64;
  }
  format.mChannelsPerFrame = source.mChannelsPerFrame;
  format.mBytesPerFrame = format.mChannelsPerFrame * (format.mBitsPerChannel / 8);
  format.mBytesPerPacket = format.mBytesPerFrame;
  return format;
}

OSStatus AudioDataInputProc(void* refCon, AudioUnitRenderActionFlags* flags, const AudioTimeStamp* timeStamp,
                            std::uint32_t bus, std::uint32_t frames, AudioBufferList* data) {
  return static_cast<OrvAudioConverter*>(refCon)->audioUnitCallback_timeStamp_busNumber_numFrames_data(
      flags, timeStamp, bus, frames, data);
}

}  // namespace

OrvAudioConverterDelegate::~OrvAudioConverterDelegate() = default;

OSStatus OrvAudioConverter::setupGraph() {
  tell(NewAUGraph(&mGraph), Step::newGraph);
  tell(AUGraphOpen(mGraph), Step::openGraph);
  tell(makeGraph(), Step::makeGraph);
  const AURenderCallbackStruct callback{&AudioDataInputProc, this};
  tell(AudioUnitSetProperty(mInputUnit, kAudioUnitProperty_SetRenderCallback, kAudioUnitScope_Input, 0, &callback,
                            sizeof callback),
       Step::setRenderCallback);
  tell(AUGraphUpdate(mGraph), Step::updateGraph);
  tell(AUGraphInitialize(mGraph), Step::initializeGraph);
  return AUGraphStart(mGraph);
}

OSStatus OrvAudioConverter::makeGraph() {
  constexpr ComponentDescription kConverter = {kAudioUnitType_FormatConverter, kAudioUnitSubType_Converter,
                                               kAudioUnitManufacturer, 0, 0};
  setupInternalStreamFormat();
  tell(AUGraphNewNode(mGraph, &kConverter, &mInputNode), Step::newInputNode);
  tell(AUGraphNewNode(mGraph, &kConverter, &mOutputNode), Step::newOutputNode);
  tell(AUGraphGetNodeInfo(mGraph, mInputNode, nullptr, &mInputUnit), Step::inputNodeInfo);
  tell(AUGraphGetNodeInfo(mGraph, mOutputNode, nullptr, &mOutputUnit), Step::outputNodeInfo);
  tell(AUGraphUpdate(mGraph), Step::updateNodes);
  tell(setupAudioFormats(), Step::setupAudioFormats);
  const OSStatus status = connectAudioUnits();
  tell(status, Step::connectAudioUnits);
  return status;
}

void OrvAudioConverter::setupInternalStreamFormat() {
  constexpr ComponentDescription kOutput = {kAudioUnitType_Output, kAudioUnitSubType_DefaultOutput,
                                            kAudioUnitManufacturer, 0, 0};
  AudioUnit output = nullptr;
  OpenAComponent(FindNextComponent(0, &kOutput), &output);
  tell(AudioUnitInitialize(output), Step::initializeOutputUnit);
  // Where no unit tells, floats are as good as anything.
  AudioStreamBasicDescription reported = {
      44100.0, kAudioFormatLinearPCM, kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked, 8, 1, 8, 2, 32, 0};
  std::uint32_t size = sizeof reported;
  tell(AudioUnitGetProperty(output, kAudioUnitProperty_StreamFormat, kAudioUnitScope_Input, 0, &reported, &size),
       Step::readInternalFormat);
  double nominalRate = 0;
  size = sizeof nominalRate;
  tell(
      AudioUnitGetProperty(output, kAudioUnitProperty_NominalSampleRate, kAudioUnitScope_Input, 0, &nominalRate, &size),
      Step::readNominalRate);
  tell(AudioUnitUninitialize(output), Step::uninitializeOutputUnit);
  CloseComponent(output);
  mAUInternalFormat = internalFormat(reported, mAUSourceFormat, mAUDestinationFormat);
}

OSStatus OrvAudioConverter::setupAudioFormats() {
  AudioStreamBasicDescription internalAtSourceRate = mAUInternalFormat;
  internalAtSourceRate.mSampleRate = mAUSourceFormat.mSampleRate;
  tell(setFormat(mInputUnit, kAudioUnitScope_Input, mAUSourceFormat), Step::inputUnitInput);
  tell(setFormat(mInputUnit, kAudioUnitScope_Output, internalAtSourceRate), Step::inputUnitOutput);
  // Its own rate only until the connection passes the source's on.
  tell(setFormat(mOutputUnit, kAudioUnitScope_Input, mAUInternalFormat), Step::outputUnitInput);
  tell(setFormat(mOutputUnit, kAudioUnitScope_Output, mAUDestinationFormat), Step::outputUnitOutput);
  const std::uint32_t frames = MAX_FRAMES_PER_SLICE;
  tell(AudioUnitSetProperty(mInputUnit, kAudioUnitProperty_MaximumFramesPerSlice, kAudioUnitScope_Global, 0, &frames,
                            sizeof frames),
       Step::inputUnitSlice);
  const OSStatus status = AudioUnitSetProperty(mOutputUnit, kAudioUnitProperty_MaximumFramesPerSlice,
                                               kAudioUnitScope_Global, 0, &frames, sizeof frames);
  tell(status, Step::outputUnitSlice);
  return status;
}

OSStatus OrvAudioConverter::connectAudioUnits() {
  const OSStatus status = AUGraphConnectNodeInput(mGraph, mInputNode, 0, mOutputNode, 0);
  tell(status, Step::connectNodes);
  return status;
}

OSStatus OrvAudioConverter::fillComplexBuffer_buffer_packetDescription(
    const std::uint32_t* numFrames, AudioBufferList* data, AudioStreamPacketDescription* /*packetDescriptions*/) {
  framesFilled_ = 0;
  const std::uint32_t frameBytes = mAUDestinationFormat.mBytesPerFrame;
  if (numFrames == nullptr || data == nullptr || data->mNumberBuffers != 1 || data->mBuffers[0].mData == nullptr ||
      frameBytes == 0 || std::uint64_t{*numFrames} * frameBytes > data->mBuffers[0].mDataByteSize) {
    return kAudioUnitErr_InvalidParameter;
  }
  AudioBuffer& buffer = data->mBuffers[0];
  const std::uint32_t room = buffer.mDataByteSize;
  AudioUnitRenderActionFlags flags = 0;
  const AudioTimeStamp noTime{};
  const OSStatus status = AudioUnitRender(mOutputUnit, &flags, &noTime, 0, *numFrames, data);
  const bool wasRefused = mOutputUnit == nullptr || (status != noErr && buffer.mDataByteSize == room);
  framesFilled_ = wasRefused ? 0 : buffer.mDataByteSize / frameBytes;
  buffer.mDataByteSize = wasRefused ? room : *numFrames * frameBytes;
  return status;
}

OSStatus OrvAudioConverter::render_numberFrames_ioData(const AudioTimeStamp* timeStamp, std::uint32_t numberFrames,
                                                       AudioBufferList* ioData) {
  return AudioUnitRender(mInputUnit, nullptr, timeStamp, 0, numberFrames, ioData);
}

OSStatus OrvAudioConverter::audioUnitCallback_timeStamp_busNumber_numFrames_data(AudioUnitRenderActionFlags* /*flags*/,
                                                                                 const AudioTimeStamp* /*timeStamp*/,
                                                                                 std::uint32_t /*busNumber*/,
                                                                                 std::uint32_t numFrames,
                                                                                 AudioBufferList* data) {
  AudioBuffer& buffer = data->mBuffers[0];
  if (delegateToAsk_ == nullptr) {
    buffer.mDataByteSize = 0;
    return noErr;
  }
  // Where the format leaves the frames of a packet open, a packet is a frame.
  std::uint32_t packets = numFrames / std::max<std::uint32_t>(mAUSourceFormat.mFramesPerPacket, 1);
  const OSStatus status = audioConverterCallback_data_packetDescription(&packets, data, nullptr);
  // A delegate that filled our buffer may have told the packets only.
  if (mAUSourceFormat.mBytesPerPacket > 0) {
    const std::uint64_t supplied = std::uint64_t{packets} * mAUSourceFormat.mBytesPerPacket;
    buffer.mDataByteSize = static_cast<std::uint32_t>(std::min<std::uint64_t>(buffer.mDataByteSize, supplied));
  }
  return status;
}

OSStatus OrvAudioConverter::audioConverterCallback_data_packetDescription(
    std::uint32_t* numPackets, AudioBufferList* data, AudioStreamPacketDescription** packetDescriptions) {
  return delegateToAsk_ == nullptr
             ? noErr
             : delegateToAsk_->audioConverterCallback_data_packetDescription(numPackets, data, packetDescriptions);
}
