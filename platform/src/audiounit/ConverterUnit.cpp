#include "audiounit/ConverterUnit.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace orv::audiounit {
namespace {

/// 44,100 Hz, stereo, 32-bit float: what a unit has until it is told otherwise.
constexpr AudioStreamBasicDescription kInitialFormat = {
    44100.0, kAudioFormatLinearPCM, kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked, 8, 1, 8, 2, 32, 0};

bool isSame(const AudioStreamBasicDescription& one, const AudioStreamBasicDescription& other) {
  return one.mSampleRate == other.mSampleRate && one.mFormatID == other.mFormatID &&
         one.mFormatFlags == other.mFormatFlags && one.mBytesPerPacket == other.mBytesPerPacket &&
         one.mFramesPerPacket == other.mFramesPerPacket && one.mBytesPerFrame == other.mBytesPerFrame &&
         one.mChannelsPerFrame == other.mChannelsPerFrame && one.mBitsPerChannel == other.mBitsPerChannel;
}

/// Many channels at a much higher rate are pulled in smaller slices.
constexpr std::uint32_t kMostHeldBytes = 1U << 24;

template <class Value>
OSStatus copyOut(const Value& value, void* data, std::uint32_t* size) {
  if (data == nullptr || *size < sizeof value) {
    return kAudioUnitErr_InvalidPropertyValue;
  }
  std::memcpy(data, &value, sizeof value);
  *size = sizeof value;
  return noErr;
}

template <class Value>
bool copyIn(const void* data, std::uint32_t size, Value* value) {
  if (data == nullptr || size != sizeof *value) {
    return false;
  }
  std::memcpy(value, data, sizeof *value);
  return true;
}

std::uint32_t converterSize(Converter& converter, AudioConverterPropertyID property, std::uint32_t value) {
  std::uint32_t size = sizeof value;
  return converter.property(property, &size, &value) == noErr ? value : 0;
}

}  // namespace

ConverterUnit::ConverterUnit() : source_(kInitialFormat), destination_(kInitialFormat) {}

OSStatus ConverterUnit::initialize() {
  if (converter_) {
    return noErr;
  }
  OSStatus status = makeConverter();
  if (status == noErr) {
    status = learnSilence();
  }
  if (status != noErr) {
    converter_.reset();
    return status;
  }
  allocateBuffers();
  heldBegin_ = heldEnd_ = 0;
  isDraining_ = false;
  return noErr;
}

OSStatus ConverterUnit::makeConverter() {
  const OSStatus status = converterService()->make(source_, destination_, &converter_);
  if (status != noErr) {
    return status;
  }
  packetBytes_ = converterSize(*converter_, kAudioConverterPropertyMinimumInputBufferSize, 0);
  frameBytes_ = converterSize(*converter_, kAudioConverterPropertyMinimumOutputBufferSize, 0);
  framesPerPacket_ = std::max<std::uint32_t>(source_.mFramesPerPacket, 1);
  if (packetBytes_ == 0 || frameBytes_ == 0) {
    return kAudioUnitErr_FormatNotSupported;
  }
  if (resamples() && quality_ != kAudioConverterQuality_High) {
    return converter_->setProperty(kAudioConverterSampleRateConverterQuality, sizeof quality_, &quality_);
  }
  return noErr;
}

/// The converter knows what silence is in every format: what zero becomes.
OSStatus ConverterUnit::learnSilence() {
  AudioStreamBasicDescription floats = kInitialFormat;
  floats.mSampleRate = destination_.mSampleRate;
  floats.mChannelsPerFrame = destination_.mChannelsPerFrame;
  floats.mBytesPerFrame = floats.mBytesPerPacket = floats.mChannelsPerFrame * static_cast<std::uint32_t>(sizeof(float));
  std::unique_ptr<Converter> encoder;
  if (const OSStatus status = converterService()->make(floats, destination_, &encoder); status != noErr) {
    return status;
  }
  const std::vector<float> zeros(floats.mChannelsPerFrame, 0.0F);
  silentFrame_.assign(frameBytes_, std::byte{0});
  std::uint32_t size = frameBytes_;
  return encoder->convert(zeros.data(), floats.mBytesPerFrame, silentFrame_.data(), &size);
}

std::uint32_t ConverterUnit::heldBytesFor(std::uint32_t packets) const {
  return converterSize(*converter_, kAudioConverterPropertyCalculateOutputBufferSize, packets * packetBytes_);
}

void ConverterUnit::allocateBuffers() {
  inputPackets_ = std::max<std::uint32_t>(framesPerSlice_ / framesPerPacket_, 1);
  while (inputPackets_ > 1 && heldBytesFor(inputPackets_) > kMostHeldBytes) {
    inputPackets_ /= 2;
  }
  input_ = std::make_unique_for_overwrite<std::byte[]>(std::size_t{inputPackets_} * packetBytes_);
  heldCapacity_ = heldBytesFor(inputPackets_);
  held_ = std::make_unique_for_overwrite<std::byte[]>(heldCapacity_);
}

OSStatus ConverterUnit::uninitialize() {
  converter_.reset();
  input_.reset();
  held_.reset();
  return noErr;
}

AudioStreamBasicDescription* ConverterUnit::formatOf(AudioUnitScope scope, AudioUnitElement element) {
  if (element != 0 || scope == kAudioUnitScope_Global) {
    return nullptr;
  }
  return scope == kAudioUnitScope_Input ? &source_ : scope == kAudioUnitScope_Output ? &destination_ : nullptr;
}

OSStatus ConverterUnit::property(AudioUnitPropertyID property, AudioUnitScope scope, AudioUnitElement element,
                                 void* data, std::uint32_t* size) {
  switch (property) {
    case kAudioUnitProperty_StreamFormat: {
      const AudioStreamBasicDescription* const format = formatOf(scope, element);
      return format != nullptr ? copyOut(*format, data, size) : kAudioUnitErr_InvalidParameter;
    }
    case kAudioUnitProperty_MaximumFramesPerSlice:
      return copyOut(framesPerSlice_, data, size);
    case kAudioUnitProperty_SampleRateConverterQuality:
      return copyOut(quality_, data, size);
    default:
      return kAudioUnitErr_InvalidProperty;
  }
}

OSStatus ConverterUnit::setProperty(AudioUnitPropertyID property, AudioUnitScope scope, AudioUnitElement element,
                                    const void* data, std::uint32_t size) {
  switch (property) {
    case kAudioUnitProperty_StreamFormat:
      return setFormat(formatOf(scope, element), data, size);
    case kAudioUnitProperty_MaximumFramesPerSlice:
      return setSlice(data, size);
    case kAudioUnitProperty_SampleRateConverterQuality:
      return setQuality(data, size);
    case kAudioUnitProperty_SetRenderCallback:
      return scope == kAudioUnitScope_Input && element == 0 ? setCallback(data, size) : kAudioUnitErr_InvalidParameter;
    default:
      return kAudioUnitErr_InvalidProperty;
  }
}

OSStatus ConverterUnit::setFormat(AudioStreamBasicDescription* format, const void* data, std::uint32_t size) {
  if (format == nullptr) {
    return kAudioUnitErr_InvalidParameter;
  }
  AudioStreamBasicDescription wanted{};
  if (!copyIn(data, size, &wanted)) {
    return kAudioUnitErr_InvalidPropertyValue;
  }
  if (isSame(*format, wanted)) {
    return noErr;
  }
  const bool wasInitialized = converter_ != nullptr;
  uninitialize();
  *format = wanted;
  return wasInitialized ? initialize() : noErr;
}

OSStatus ConverterUnit::setSlice(const void* data, std::uint32_t size) {
  std::uint32_t frames = 0;
  if (!copyIn(data, size, &frames) || frames == 0 || frames > kMostFramesPerSlice) {
    return kAudioUnitErr_InvalidPropertyValue;
  }
  const bool wasInitialized = converter_ != nullptr;
  if (frames != framesPerSlice_) {
    uninitialize();
    framesPerSlice_ = frames;
  }
  return wasInitialized ? initialize() : noErr;
}

OSStatus ConverterUnit::setQuality(const void* data, std::uint32_t size) {
  if (!copyIn(data, size, &quality_)) {
    return kAudioUnitErr_InvalidPropertyValue;
  }
  if (!converter_) {
    return noErr;
  }
  uninitialize();
  return initialize();
}

OSStatus ConverterUnit::setCallback(const void* data, std::uint32_t size) {
  if (!copyIn(data, size, &callback_)) {
    return kAudioUnitErr_InvalidPropertyValue;
  }
  connected_ = nullptr;
  return noErr;
}

OSStatus ConverterUnit::connect(AudioUnitElement element, RenderUnit* source, std::uint32_t bus) {
  if (element != 0) {
    return kAudioUnitErr_InvalidParameter;
  }
  connected_ = source;
  connectedBus_ = bus;
  callback_ = {};
  return noErr;
}

bool ConverterUnit::hasRoom(const AudioBufferList* data, std::uint32_t bus, std::uint32_t frames) const {
  return bus == 0 && data != nullptr && data->mNumberBuffers == 1 && data->mBuffers[0].mData != nullptr &&
         std::uint64_t{frames} * frameBytes_ <= data->mBuffers[0].mDataByteSize;
}

OSStatus ConverterUnit::render(AudioUnitRenderActionFlags* flags, const AudioTimeStamp& timeStamp, std::uint32_t bus,
                               std::uint32_t frames, AudioBufferList* data) {
  OSStatus status = converter_ ? noErr : kAudioUnitErr_Uninitialized;
  if (status == noErr && !hasRoom(data, bus, frames)) {
    status = kAudioUnitErr_InvalidParameter;
  }
  if (status == noErr && callback_.inputProc == nullptr && connected_ == nullptr) {
    status = kAudioUnitErr_NoConnection;
  }
  if (status != noErr) {
    if (data != nullptr && data->mNumberBuffers > 0) {
      data->mBuffers[0].mDataByteSize = 0;
    }
    return status;
  }
  AudioBuffer& buffer = data->mBuffers[0];
  Output output{static_cast<std::byte*>(buffer.mData), frames};
  status = renderMissing({flags, timeStamp}, &output);
  buffer.mNumberChannels = destination_.mChannelsPerFrame;
  buffer.mDataByteSize = (frames - output.missing) * frameBytes_;
  fillWithSilence(&output);
  return status;
}

/// Every pass delivers held frames, or gets more, or ends.
OSStatus ConverterUnit::renderMissing(const Pull& pull, Output* output) {
  while (output->missing > 0) {
    if (takeHeld(output)) {
      continue;
    }
    if (isDraining_) {
      const OSStatus status = drain();
      if (status != noErr || heldEnd_ == 0) {
        isDraining_ = false;
        return status != noErr ? status : endStatus_;
      }
      continue;
    }
    if (const OSStatus status = pullAndConvert(pull, output); status != noErr) {
      takeHeld(output);
      return status;
    }
  }
  return noErr;
}

/// A status that is not the end stands for trouble and is returned at once; the end waits until all is drained.
OSStatus ConverterUnit::pullAndConvert(const Pull& pull, Output* output) {
  AudioBufferList list{};
  const OSStatus pulled = pullPackets(pull, packetsFor(output->missing), &list);
  if (list.mBuffers[0].mDataByteSize > 0) {
    if (const OSStatus status = convert(list.mBuffers[0], output); status != noErr) {
      return status;
    }
  }
  if (pulled != noErr && pulled != kEndOfFileStatus) {
    return pulled;
  }
  if (pulled == kEndOfFileStatus || list.mBuffers[0].mDataByteSize == 0) {
    isDraining_ = true;
    endStatus_ = pulled;
  }
  return noErr;
}

std::uint32_t ConverterUnit::packetsFor(std::uint32_t frames) const {
  const double wanted = std::ceil(static_cast<double>(frames) * source_.mSampleRate / destination_.mSampleRate);
  const auto sourceFrames = static_cast<std::uint32_t>(std::min<double>(wanted, framesPerSlice_));
  const std::uint32_t packets = (sourceFrames + framesPerPacket_ - 1) / framesPerPacket_;
  return std::clamp<std::uint32_t>(packets, 1, inputPackets_);
}

OSStatus ConverterUnit::pullPackets(const Pull& pull, std::uint32_t packets, AudioBufferList* list) {
  const std::uint32_t bytes = packets * packetBytes_;
  const std::uint32_t frames = packets * framesPerPacket_;
  list->mNumberBuffers = 1;
  list->mBuffers[0] = {source_.mChannelsPerFrame, bytes, input_.get()};
  const OSStatus status =
      connected_ != nullptr
          ? connected_->render(pull.flags, pull.timeStamp, connectedBus_, frames, list)
          : callback_.inputProc(callback_.inputProcRefCon, pull.flags, &pull.timeStamp, 0, frames, list);
  AudioBuffer& buffer = list->mBuffers[0];
  buffer.mDataByteSize = buffer.mData == nullptr ? 0 : std::min(buffer.mDataByteSize, bytes);
  buffer.mDataByteSize -= buffer.mDataByteSize % packetBytes_;
  return status;
}

OSStatus ConverterUnit::convert(const AudioBuffer& input, Output* output) {
  const std::uint64_t frames = std::uint64_t{input.mDataByteSize / packetBytes_} * framesPerPacket_;
  if (!resamples() && frames <= output->missing) {
    std::uint32_t size = output->missing * frameBytes_;
    const OSStatus status = converter_->convert(input.mData, input.mDataByteSize, output->next, &size);
    if (status == noErr) {
      output->next += size;
      output->missing -= size / frameBytes_;
    }
    return status;
  }
  std::uint32_t size = heldCapacity_;
  const OSStatus status = converter_->convert(input.mData, input.mDataByteSize, held_.get(), &size);
  heldBegin_ = 0;
  heldEnd_ = status == noErr ? size : 0;
  return status;
}

OSStatus ConverterUnit::drain() {
  std::uint32_t size = heldCapacity_;
  const OSStatus status = converter_->drain(held_.get(), &size);
  heldBegin_ = 0;
  heldEnd_ = status == noErr ? size : 0;
  return status;
}

/// False where nothing is held.
bool ConverterUnit::takeHeld(Output* output) {
  const std::uint32_t frames = std::min((heldEnd_ - heldBegin_) / frameBytes_, output->missing);
  if (frames == 0) {
    return false;
  }
  std::memcpy(output->next, held_.get() + heldBegin_, std::size_t{frames} * frameBytes_);
  output->next += std::size_t{frames} * frameBytes_;
  output->missing -= frames;
  heldBegin_ += frames * frameBytes_;
  return true;
}

void ConverterUnit::fillWithSilence(Output* output) const {
  for (; output->missing > 0; --output->missing, output->next += frameBytes_) {
    std::memcpy(output->next, silentFrame_.data(), frameBytes_);
  }
}

}  // namespace orv::audiounit
