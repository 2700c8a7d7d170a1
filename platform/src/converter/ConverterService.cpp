#include <exception>

#include "OrvPlatform/AudioConverter.h"
#include "OrvPlatform/Log.h"
#include "converter/StreamConverter.h"
#include "converter/StreamFormat.h"
#include "foundation/ServiceSlot.h"

namespace orv {

Converter::~Converter() = default;
ConverterService::~ConverterService() = default;

namespace {

class BuiltInConverterService final : public ConverterService {
 public:
  OSStatus make(const AudioStreamBasicDescription& source, const AudioStreamBasicDescription& destination,
                std::unique_ptr<Converter>* converter) override {
    const auto from = converter::streamFormatOf(source);
    const auto to = converter::streamFormatOf(destination);
    if (!from || !to || to->coding != converter::Coding::linear) {
      return kAudioConverterErr_FormatNotSupported;
    }
    try {
      auto made = std::make_unique<converter::StreamConverter>(*from, *to);
      if (!made->open()) {
        return kAudioConverterErr_FormatNotSupported;
      }
      *converter = std::move(made);
      return noErr;
    } catch (const std::exception& error) {
      logf("converter: %s", error.what());
      return kOutOfMemoryStatus;
    }
  }
};

ServiceSlot<ConverterService>& slot() {
  static auto* const theSlot = new ServiceSlot<ConverterService>(std::make_shared<BuiltInConverterService>());
  return *theSlot;
}

}  // namespace

std::shared_ptr<ConverterService> converterService() {
  return slot().get();
}

std::shared_ptr<ConverterService> installConverterService(std::shared_ptr<ConverterService> service) {
  return slot().install(std::move(service));
}

}  // namespace orv
