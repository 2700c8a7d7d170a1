#include <exception>
#include <memory>

#include "OrvPlatform/AudioConverter.h"
#include "OrvPlatform/Log.h"

namespace {

/// A host's own service may throw; the caller gets a status and the log one line.
template <class Call>
OSStatus guarded(const char* name, Call call) {
  try {
    return call();
  } catch (const std::exception& error) {
    orv::logf("%s: %s", name, error.what());
  } catch (...) {
    orv::logf("%s: failed", name);
  }
  return kAudioConverterErr_OperationNotSupported;
}

}  // namespace

OSStatus AudioConverterNew(const AudioStreamBasicDescription* source, const AudioStreamBasicDescription* destination,
                           AudioConverterRef* converter) {
  if (converter == nullptr) {
    return kAudioConverterErr_OperationNotSupported;
  }
  *converter = nullptr;
  if (source == nullptr || destination == nullptr) {
    return kAudioConverterErr_FormatNotSupported;
  }
  return guarded("AudioConverterNew", [&]() -> OSStatus {
    std::unique_ptr<orv::Converter> made;
    const OSStatus status = orv::converterService()->make(*source, *destination, &made);
    *converter = made.release();
    return status;
  });
}

OSStatus AudioConverterDispose(AudioConverterRef converter) {
  if (converter == nullptr) {
    return kAudioConverterErr_OperationNotSupported;
  }
  return guarded("AudioConverterDispose", [&]() -> OSStatus {
    delete converter;
    return noErr;
  });
}

OSStatus AudioConverterReset(AudioConverterRef converter) {
  if (converter == nullptr) {
    return kAudioConverterErr_OperationNotSupported;
  }
  return guarded("AudioConverterReset", [&] { return converter->reset(); });
}

OSStatus AudioConverterConvertBuffer(AudioConverterRef converter, std::uint32_t inputSize, const void* input,
                                     std::uint32_t* outputSize, void* output) {
  if (converter == nullptr) {
    return kAudioConverterErr_OperationNotSupported;
  }
  if (outputSize == nullptr) {
    return kAudioConverterErr_InvalidOutputSize;
  }
  return guarded("AudioConverterConvertBuffer",
                 [&] { return converter->convert(input, inputSize, output, outputSize); });
}

OSStatus AudioConverterDrain(AudioConverterRef converter, std::uint32_t* outputSize, void* output) {
  if (converter == nullptr) {
    return kAudioConverterErr_OperationNotSupported;
  }
  if (outputSize == nullptr) {
    return kAudioConverterErr_InvalidOutputSize;
  }
  return guarded("AudioConverterDrain", [&] { return converter->drain(output, outputSize); });
}

OSStatus AudioConverterGetProperty(AudioConverterRef converter, AudioConverterPropertyID property, std::uint32_t* size,
                                   void* data) {
  if (converter == nullptr) {
    return kAudioConverterErr_OperationNotSupported;
  }
  if (size == nullptr) {
    return kAudioConverterErr_BadPropertySize;
  }
  return guarded("AudioConverterGetProperty", [&] { return converter->property(property, size, data); });
}

OSStatus AudioConverterSetProperty(AudioConverterRef converter, AudioConverterPropertyID property, std::uint32_t size,
                                   const void* data) {
  if (converter == nullptr) {
    return kAudioConverterErr_OperationNotSupported;
  }
  return guarded("AudioConverterSetProperty", [&] { return converter->setProperty(property, size, data); });
}
