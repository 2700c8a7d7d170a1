#include "hardware/virtual/Faults.h"

#include <algorithm>

namespace orv::virtualhardware {

void Faults::add(const VirtualFault& fault) {
  const std::lock_guard guard(mutex_);
  faults_.push_back(fault);
  isEmpty_ = false;
}

void Faults::clear() {
  const std::lock_guard guard(mutex_);
  faults_.clear();
  isEmpty_ = true;
}

OSStatus Faults::next(VirtualFault::Kind kind, AudioDevicePropertyID property) {
  if (isEmpty_) {
    return noErr;
  }
  const std::lock_guard guard(mutex_);
  const auto fault = std::find_if(faults_.begin(), faults_.end(), [&](const VirtualFault& candidate) {
    return candidate.kind == kind &&
           (candidate.property == kAudioPropertyWildcardPropertyID || candidate.property == property);
  });
  if (fault == faults_.end()) {
    return noErr;
  }
  const OSStatus status = fault->status;
  if (fault->times != 0 && --fault->times == 0) {
    faults_.erase(fault);
    isEmpty_ = faults_.empty();
  }
  return status;
}

}  // namespace orv::virtualhardware
