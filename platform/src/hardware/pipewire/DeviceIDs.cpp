#include "hardware/pipewire/DeviceIDs.h"

#include <map>
#include <mutex>

namespace orv::pipewire {
namespace {

/// Streams well above devices, so that a mix-up shows.
constexpr AudioDeviceID kFirstDevice = 0x200;
constexpr AudioStreamID kFirstStream = 0x20000;

struct Given {
  std::mutex mutex;
  std::map<std::string, std::uint32_t> numbers;  // by UID; guarded by mutex
};

Given& given() {
  static auto* const all = new Given;
  return *all;
}

}  // namespace

DeviceIDs idsOf(const std::string& uid) {
  const std::lock_guard guard(given().mutex);
  auto& numbers = given().numbers;
  const std::uint32_t number = numbers.emplace(uid, static_cast<std::uint32_t>(numbers.size())).first->second;
  return {kFirstDevice + number, kFirstStream + 2 * number, kFirstStream + 2 * number + 1};
}

}  // namespace orv::pipewire
