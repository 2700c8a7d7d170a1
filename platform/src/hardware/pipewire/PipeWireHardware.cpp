#include "OrvPlatform/PipeWireHardware.h"

#include <exception>

#include "hardware/pipewire/Backend.h"

namespace orv {

std::shared_ptr<AudioHardware> connectToPipeWire(std::chrono::milliseconds limit, std::string* problem) {
  std::string why;
  try {
    auto loop = pipewire::Loop::make();
    auto hardware = loop == nullptr ? nullptr : std::make_shared<pipewire::Backend>(std::move(loop));
    if (hardware == nullptr) {
      why = "PipeWire can't be used: no thread for it";
    } else if (hardware->connect(limit, &why)) {
      return hardware;
    }
  } catch (const std::exception& failure) {
    why = failure.what();
  }
  if (problem != nullptr) {
    *problem = why;
  }
  return nullptr;
}

}  // namespace orv
