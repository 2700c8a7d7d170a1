#include "hardware/pipewire/ServerObject.h"

#include <pipewire/pipewire.h>

namespace orv::pipewire {

ServerObject::~ServerObject() {
  spa_hook_remove(&hook_);
  pw_proxy_destroy(proxy_);
}

void ServerObject::setParameter(std::uint32_t /*id*/, const spa_pod* /*value*/) {}

void ServerObject::setValue(const char* /*key*/, const char* /*type*/, const char* /*value*/) {}

}  // namespace orv::pipewire
