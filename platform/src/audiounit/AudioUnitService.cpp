#include "OrvPlatform/AudioUnit.h"
#include "audiounit/ConverterUnit.h"
#include "audiounit/DefaultOutputUnit.h"
#include "foundation/ServiceSlot.h"

namespace orv {

RenderUnit::~RenderUnit() = default;
AudioUnitService::~AudioUnitService() = default;

OSStatus RenderUnit::start() {
  return noErr;
}

OSStatus RenderUnit::stop() {
  return noErr;
}

namespace {

class BuiltInAudioUnitService final : public AudioUnitService {
 public:
  std::vector<ComponentDescription> components() const override {
    return {{kAudioUnitType_FormatConverter, kAudioUnitSubType_Converter, kAudioUnitManufacturer, 0, 0},
            {kAudioUnitType_Output, kAudioUnitSubType_DefaultOutput, kAudioUnitManufacturer, 0, 0}};
  }

  OSStatus make(std::size_t index, std::unique_ptr<RenderUnit>* unit) override {
    switch (index) {
      case 0:
        *unit = std::make_unique<audiounit::ConverterUnit>();
        return noErr;
      case 1:
        *unit = std::make_unique<audiounit::DefaultOutputUnit>();
        return noErr;
      default:
        return kAudioUnitErr_ComponentNotFound;
    }
  }
};

ServiceSlot<AudioUnitService>& slot() {
  static auto* const theSlot = new ServiceSlot<AudioUnitService>(std::make_shared<BuiltInAudioUnitService>());
  return *theSlot;
}

}  // namespace

std::shared_ptr<AudioUnitService> audioUnitService() {
  return slot().get();
}

std::shared_ptr<AudioUnitService> installAudioUnitService(std::shared_ptr<AudioUnitService> service) {
  return slot().install(std::move(service));
}

}  // namespace orv
