#include "OrvPlatform/Object.h"

namespace orv {

Object::~Object() = default;

}  // namespace orv
