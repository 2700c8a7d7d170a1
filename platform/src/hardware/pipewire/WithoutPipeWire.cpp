#include "OrvPlatform/PipeWireHardware.h"

namespace orv {

std::shared_ptr<AudioHardware> connectToPipeWire(std::chrono::milliseconds /*limit*/, std::string* problem) {
  if (problem != nullptr) {
    *problem = "this build has no PipeWire";
  }
  return nullptr;
}

}  // namespace orv
