#include "hardware/pipewire/Pods.h"

#include <spa/param/audio/format.h>
#include <spa/param/latency-utils.h>
#include <spa/param/param.h>
#include <spa/param/props.h>
#include <spa/param/route.h>
#include <spa/pod/builder.h>
#include <spa/pod/iter.h>

#include <algorithm>

namespace orv::pipewire {
namespace {

const spa_pod* find(const spa_pod* object, std::uint32_t key) {
  const spa_pod_prop* const property = object == nullptr ? nullptr : spa_pod_find_prop(object, nullptr, key);
  return property == nullptr ? nullptr : &property->value;
}

std::optional<std::uint32_t> findInt(const spa_pod* object, std::uint32_t key) {
  std::int32_t value = 0;
  const spa_pod* const pod = find(object, key);
  return pod != nullptr && spa_pod_get_int(pod, &value) >= 0 && value >= 0
             ? std::optional(static_cast<std::uint32_t>(value))
             : std::nullopt;
}

std::optional<std::uint32_t> findId(const spa_pod* object, std::uint32_t key) {
  std::uint32_t value = 0;
  const spa_pod* const pod = find(object, key);
  return pod != nullptr && spa_pod_get_id(pod, &value) >= 0 ? std::optional(value) : std::nullopt;
}

std::string findText(const spa_pod* object, std::uint32_t key) {
  const char* text = nullptr;
  const spa_pod* const pod = find(object, key);
  return pod != nullptr && spa_pod_get_string(pod, &text) >= 0 && text != nullptr ? text : "";
}

/// The samples of an audio format; nothing for one that is not known.
std::optional<SampleFacts> samplesOf(std::uint32_t format) {
  switch (format) {
    case SPA_AUDIO_FORMAT_S8:
    case SPA_AUDIO_FORMAT_U8:
    case SPA_AUDIO_FORMAT_S8P:
    case SPA_AUDIO_FORMAT_U8P:
      return SampleFacts{8, false};
    case SPA_AUDIO_FORMAT_S16_LE:
    case SPA_AUDIO_FORMAT_S16_BE:
    case SPA_AUDIO_FORMAT_S16P:
      return SampleFacts{16, false};
    case SPA_AUDIO_FORMAT_S24_LE:
    case SPA_AUDIO_FORMAT_S24_BE:
    case SPA_AUDIO_FORMAT_S24_32_LE:
    case SPA_AUDIO_FORMAT_S24_32_BE:
    case SPA_AUDIO_FORMAT_S24P:
    case SPA_AUDIO_FORMAT_S24_32P:
      return SampleFacts{24, false};
    case SPA_AUDIO_FORMAT_S32_LE:
    case SPA_AUDIO_FORMAT_S32_BE:
    case SPA_AUDIO_FORMAT_S32P:
      return SampleFacts{32, false};
    case SPA_AUDIO_FORMAT_F32_LE:
    case SPA_AUDIO_FORMAT_F32_BE:
    case SPA_AUDIO_FORMAT_F32P:
      return SampleFacts{32, true};
    default:
      return std::nullopt;
  }
}

std::optional<bool> availabilityOf(std::optional<std::uint32_t> availability) {
  if (availability == SPA_PARAM_AVAILABILITY_yes) {
    return true;
  }
  return availability == SPA_PARAM_AVAILABILITY_no ? std::optional(false) : std::nullopt;
}

void addVolumes(spa_pod_builder* builder, const VolumeChange& change) {
  if (!change.volumes.empty()) {
    const std::size_t count = std::min(change.volumes.size(), kMostChannels);
    spa_pod_builder_prop(builder, SPA_PROP_channelVolumes, 0);
    spa_pod_builder_array(builder, sizeof(float), SPA_TYPE_Float, static_cast<std::uint32_t>(count),
                          change.volumes.data());
  }
  if (change.isMuted) {
    spa_pod_builder_prop(builder, SPA_PROP_mute, 0);
    spa_pod_builder_bool(builder, *change.isMuted);
  }
}

}  // namespace

void readVolumes(const spa_pod* props, NodeFacts* node) {
  if (const spa_pod* const volumes = find(props, SPA_PROP_channelVolumes)) {
    std::array<float, kMostChannels> values{};
    const std::uint32_t count = spa_pod_copy_array(volumes, SPA_TYPE_Float, values.data(), values.size());
    node->volumes.assign(values.begin(), values.begin() + std::min<std::size_t>(count, values.size()));
  }
  bool isMuted = false;
  const spa_pod* const mute = find(props, SPA_PROP_mute);
  if (mute != nullptr && spa_pod_get_bool(mute, &isMuted) >= 0) {
    node->isMuted = isMuted;
  }
}

std::optional<SampleFacts> readSamples(const spa_pod* format) {
  const spa_pod* const pod = find(format, SPA_FORMAT_AUDIO_format);
  if (pod == nullptr) {
    return std::nullopt;
  }
  // Where there is a choice its first value is the one that is preferred.
  std::uint32_t count = 0;
  std::uint32_t choice = 0;
  const spa_pod* const value = spa_pod_get_values(pod, &count, &choice);
  std::uint32_t id = 0;
  return value != nullptr && count > 0 && spa_pod_get_id(value, &id) >= 0 ? samplesOf(id) : std::nullopt;
}

void readLatency(const spa_pod* latency, bool isOutput, LatencyFacts* facts) {
  spa_latency_info info{};
  if (latency == nullptr || spa_latency_parse(latency, &info) < 0 ||
      info.direction != (isOutput ? SPA_DIRECTION_OUTPUT : SPA_DIRECTION_INPUT)) {
    return;
  }
  facts->cycles = info.max_quantum;
  facts->frames = info.max_rate;
  facts->nanoseconds = info.max_ns;
}

std::optional<RouteParam> readRoute(const spa_pod* route) {
  const auto index = findInt(route, SPA_PARAM_ROUTE_index);
  const auto direction = findId(route, SPA_PARAM_ROUTE_direction);
  if (!index || !direction) {
    return std::nullopt;
  }
  RouteParam param;
  param.route.index = *index;
  param.route.isInput = *direction == SPA_DIRECTION_INPUT;
  param.route.name = findText(route, SPA_PARAM_ROUTE_description);
  if (param.route.name.empty()) {
    param.route.name = findText(route, SPA_PARAM_ROUTE_name);
  }
  param.route.isAvailable = availabilityOf(findId(route, SPA_PARAM_ROUTE_available));
  if (const spa_pod* const devices = find(route, SPA_PARAM_ROUTE_devices)) {
    std::array<std::uint32_t, kMostChannels> values{};
    const std::uint32_t count = spa_pod_copy_array(devices, SPA_TYPE_Int, values.data(), values.size());
    param.route.cardDevices.assign(values.begin(), values.begin() + std::min<std::size_t>(count, values.size()));
  }
  param.cardDevice = findInt(route, SPA_PARAM_ROUTE_device);
  return param;
}

Pod Pod::volumes(const VolumeChange& change) {
  Pod pod;
  spa_pod_builder builder{};
  spa_pod_builder_init(&builder, pod.bytes_.data(), static_cast<std::uint32_t>(pod.bytes_.size()));
  spa_pod_frame frame{};
  spa_pod_builder_push_object(&builder, &frame, SPA_TYPE_OBJECT_Props, SPA_PARAM_Props);
  addVolumes(&builder, change);
  spa_pod_builder_pop(&builder, &frame);
  return pod;
}

Pod Pod::route(std::uint32_t index, std::uint32_t cardDevice, const VolumeChange* change) {
  Pod pod;
  spa_pod_builder builder{};
  spa_pod_builder_init(&builder, pod.bytes_.data(), static_cast<std::uint32_t>(pod.bytes_.size()));
  spa_pod_frame frame{};
  spa_pod_builder_push_object(&builder, &frame, SPA_TYPE_OBJECT_ParamRoute, SPA_PARAM_Route);
  spa_pod_builder_prop(&builder, SPA_PARAM_ROUTE_index, 0);
  spa_pod_builder_int(&builder, static_cast<std::int32_t>(index));
  spa_pod_builder_prop(&builder, SPA_PARAM_ROUTE_device, 0);
  spa_pod_builder_int(&builder, static_cast<std::int32_t>(cardDevice));
  if (change != nullptr) {
    spa_pod_builder_prop(&builder, SPA_PARAM_ROUTE_props, 0);
    spa_pod_frame props{};
    spa_pod_builder_push_object(&builder, &props, SPA_TYPE_OBJECT_Props, SPA_PARAM_Props);
    addVolumes(&builder, *change);
    spa_pod_builder_pop(&builder, &props);
  }
  // So that it is the same the next time that the card is there.
  spa_pod_builder_prop(&builder, SPA_PARAM_ROUTE_save, 0);
  spa_pod_builder_bool(&builder, true);
  spa_pod_builder_pop(&builder, &frame);
  return pod;
}

}  // namespace orv::pipewire
