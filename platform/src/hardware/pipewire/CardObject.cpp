#include "hardware/pipewire/CardObject.h"

#include <pipewire/pipewire.h>
#include <spa/param/param.h>
#include <spa/utils/dict.h>

#include "hardware/pipewire/Pods.h"

namespace orv::pipewire {
namespace {

std::string textOf(const spa_dict* properties, const char* key) {
  const char* const text = spa_dict_lookup(properties, key);
  return text == nullptr ? "" : text;
}

}  // namespace

CardObject::CardObject(pw_proxy* proxy, CardFacts& facts, ServerObjectEvents& events)
    : ServerObject(proxy, events), facts_(facts) {
  static constexpr pw_device_events kEvents = [] {
    pw_device_events table{};
    table.version = PW_VERSION_DEVICE_EVENTS;
    table.info = &CardObject::onInfo;
    table.param = &CardObject::onParam;
    return table;
  }();
  pw_device_add_listener(reinterpret_cast<pw_device*>(proxy), hook(), &kEvents, this);
}

void CardObject::setParameter(std::uint32_t id, const spa_pod* value) {
  pw_device_set_param(reinterpret_cast<pw_device*>(proxy()), id, 0, value);
}

void CardObject::ask(std::uint32_t id) {
  pw_device_enum_params(reinterpret_cast<pw_device*>(proxy()), 0, id, 0, UINT32_MAX, nullptr);
}

/// Cards do not tell every change of a parameter to those who subscribed, but flip its flags each time.
void CardObject::onInfo(void* self, const pw_device_info* info) {
  auto& card = *static_cast<CardObject*>(self);
  if (info->props != nullptr && (info->change_mask & PW_DEVICE_CHANGE_MASK_PROPS) != 0) {
    card.facts_.name = textOf(info->props, PW_KEY_DEVICE_NAME);
    card.facts_.description = textOf(info->props, PW_KEY_DEVICE_DESCRIPTION);
    card.facts_.vendor = textOf(info->props, PW_KEY_DEVICE_VENDOR_NAME);
    card.facts_.bus = textOf(info->props, PW_KEY_DEVICE_BUS);
    card.facts_.formFactor = textOf(info->props, PW_KEY_DEVICE_FORM_FACTOR);
  }
  if ((info->change_mask & PW_DEVICE_CHANGE_MASK_PARAMS) != 0) {
    for (std::uint32_t i = 0; i < info->n_params; ++i) {
      const spa_param_info& param = info->params[i];
      const bool isWanted = param.id == SPA_PARAM_EnumRoute || param.id == SPA_PARAM_Route;
      const auto known = card.flags_.find(param.id);
      const bool isNew = known == card.flags_.end() || known->second != param.flags;
      card.flags_[param.id] = param.flags;
      if (isWanted && isNew && (param.flags & SPA_PARAM_INFO_READ) != 0) {
        card.ask(param.id);
      }
    }
  }
  card.changed();
}

void CardObject::onParam(void* self, int /*sequence*/, std::uint32_t id, std::uint32_t index, std::uint32_t /*next*/,
                         const spa_pod* param) {
  auto& card = *static_cast<CardObject*>(self);
  auto read = readRoute(param);
  if (!read) {
    return;
  }
  if (id == SPA_PARAM_EnumRoute) {
    if (index == 0) {
      card.facts_.routes.clear();  // and all of them follow
    }
    card.facts_.routes[read->route.index] = std::move(read->route);
  } else if (id == SPA_PARAM_Route && read->cardDevice) {
    if (index == 0) {
      card.facts_.routeInUse.clear();
    }
    card.facts_.routeInUse[*read->cardDevice] = read->route.index;
  }
  card.changed();
}

}  // namespace orv::pipewire
