#include "OrvCoreAudio/OrvObject.h"

#include "OrvPlatform/Log.h"

OrvObject::~OrvObject() = default;

bool OrvObject::isEqual(const std::shared_ptr<const OrvObject>& other) const {
  return other.get() == this;
}

std::string OrvObject::description() const {
  return orv::formatText("<OrvObject: %p>", static_cast<const void*>(this));
}
