#pragma once

#include "hardware/pipewire/ServerObject.h"

namespace orv::pipewire {

/// Values by name that the server keeps for everybody: its settings, and which devices are the default ones.
class MetadataObject final : public ServerObject {
 public:
  MetadataObject(pw_proxy* proxy, ServerFacts& facts, ServerObjectEvents& events);

  void setValue(const char* key, const char* type, const char* value) override;

 private:
  static int onProperty(void* self, std::uint32_t subject, const char* key, const char* type, const char* value);

  ServerFacts& facts_;
};

}  // namespace orv::pipewire
