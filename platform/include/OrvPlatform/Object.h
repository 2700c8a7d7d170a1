#pragma once

#include "OrvPlatform/Export.h"

namespace orv {

/// What services hold on to and pass on without knowing what it is: who receives it asks with `dynamic_cast`.
class ORV_API Object {
 public:
  virtual ~Object();

 protected:
  Object() = default;
  Object(const Object&) = default;
  Object& operator=(const Object&) = default;
};

}  // namespace orv
