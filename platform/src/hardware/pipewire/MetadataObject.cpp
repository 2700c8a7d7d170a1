#include "hardware/pipewire/MetadataObject.h"

#include <pipewire/extensions/metadata.h>
#include <pipewire/pipewire.h>
#include <spa/utils/json.h>

#include <string_view>

#include "hardware/pipewire/Text.h"

namespace orv::pipewire {
namespace {

/// Whether it is one, and a number that can be.
bool readNumber(const char* text, std::uint32_t* number) {
  const long value = numberIn(text, -1);
  if (value >= 0 && value <= INT32_MAX) {
    *number = static_cast<std::uint32_t>(value);
  }
  return true;
}

std::vector<std::uint32_t> numbersIn(const char* text) {
  std::vector<std::uint32_t> numbers;
  const std::string_view list = text == nullptr ? "" : text;
  spa_json whole;
  spa_json array;
  spa_json_init(&whole, list.data(), list.size());
  int number = 0;
  if (spa_json_enter_array(&whole, &array) > 0) {
    while (spa_json_get_int(&array, &number) > 0) {
      if (number > 0) {
        numbers.push_back(static_cast<std::uint32_t>(number));
      }
    }
  }
  return numbers;
}

bool readSetting(std::string_view key, const char* value, SettingsFacts* settings) {
  if (key == "clock.rate") {
    return readNumber(value, &settings->rate);
  }
  if (key == "clock.force-rate") {
    return readNumber(value, &settings->forcedRate);
  }
  if (key == "clock.min-quantum") {
    return readNumber(value, &settings->leastFrames);
  }
  if (key == "clock.max-quantum") {
    return readNumber(value, &settings->mostFrames);
  }
  if (key == "clock.allowed-rates") {
    settings->allowedRates = numbersIn(value);
    return true;
  }
  return false;
}

}  // namespace

MetadataObject::MetadataObject(pw_proxy* proxy, ServerFacts& facts, ServerObjectEvents& events)
    : ServerObject(proxy, events), facts_(facts) {
  static constexpr pw_metadata_events kEvents = [] {
    pw_metadata_events table{};
    table.version = PW_VERSION_METADATA_EVENTS;
    table.property = &MetadataObject::onProperty;
    return table;
  }();
  pw_metadata_add_listener(reinterpret_cast<pw_metadata*>(proxy), hook(), &kEvents, this);
}

void MetadataObject::setValue(const char* key, const char* type, const char* value) {
  pw_metadata_set_property(reinterpret_cast<pw_metadata*>(proxy()), PW_ID_CORE, key, type, value);
}

int MetadataObject::onProperty(void* self, std::uint32_t subject, const char* key, const char* /*type*/,
                               const char* value) {
  auto& metadata = *static_cast<MetadataObject*>(self);
  if (subject != PW_ID_CORE || key == nullptr) {
    return 0;
  }
  const std::string_view name = key;
  if (name == "default.audio.sink") {
    metadata.facts_.defaultSink = nameInObject(value);
  } else if (name == "default.audio.source") {
    metadata.facts_.defaultSource = nameInObject(value);
  } else if (!readSetting(name, value, &metadata.facts_.settings)) {
    return 0;
  }
  metadata.changed();
  return 0;
}

}  // namespace orv::pipewire
