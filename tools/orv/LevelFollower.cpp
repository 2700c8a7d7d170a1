#include "LevelFollower.h"

#include <utility>

#include "OrvCoreAudio/OrvAudioDevice.h"

namespace orv::cli {
namespace {

using namespace std::chrono_literals;

/// A device that delivers nothing for so long is not coming back.
constexpr auto kPatience = 5s;

}  // namespace

LevelFollower::LevelFollower(std::shared_ptr<OrvAudioDevice> device) : device_(std::move(device)) {
  device_->addAudioIOSubscriber_forInput(tap_, true);
}

LevelFollower::~LevelFollower() {
  device_->removeAudioIOSubscriber_forInput(tap_, true);
}

bool LevelFollower::update(std::uint64_t end) {
  LevelTap::Cycle cycle;
  bool isAnyNew = false;
  while (total_.to < end && tap_->take(&cycle)) {
    isAnyNew = true;
    firstMissingBefore_ = missing_ == 0 ? total_.to : firstMissingBefore_;
    missing_ += cycle.missing;
    latest_.add(cycle);
    total_.add(cycle);
  }
  if (isAnyNew) {
    lastCycle_ = std::chrono::steady_clock::now();
  }
  return isAnyNew;
}

std::string LevelFollower::problem() const {
  if (std::chrono::steady_clock::now() - lastCycle_ <= kPatience) {
    return "";
  }
  return device_->isAlive() ? "the device delivers nothing" : "the device is gone";
}

}  // namespace orv::cli
