#include <algorithm>
#include <utility>

#include "OrvPlatform/Log.h"
#include "hardware/pipewire/Backend.h"
#include "hardware/pipewire/DeviceFacts.h"
#include "hardware/pipewire/Text.h"

/// What the server has, and its coming and going. Everything with the loop's lock held.
namespace orv::pipewire {
namespace {

constexpr std::chrono::milliseconds kRetry(1000);
/// Objects, what they tell, and what they were asked: each is known once the one before is.
constexpr int kRounds = 3;

}  // namespace

Backend::Backend(std::unique_ptr<Loop> loop)
    : loop_(std::move(loop)), connection_(*loop_, [this] { loop_->post([this] { serverIsLost(); }); }) {}

Backend::~Backend() {
  putBackRate();
  loop_->stop();
  const Loop::Lock lock(*loop_);
  for (const DevicePointer& device : devices()) {
    device->retire();
  }
  registry_ = nullptr;
  connection_.close();
}

bool Backend::connect(std::chrono::milliseconds limit, std::string* problem) {
  {
    const Loop::Lock lock(*loop_);
    if (!openConnection(problem)) {
      return false;
    }
  }
  if (!loop_->start()) {
    *problem = "PipeWire can't be used: no thread for it";
    return false;
  }
  std::unique_lock lock(mutex_);
  if (!known_.wait_for(lock, limit, [&] { return isKnown_; })) {
    *problem = "no PipeWire server answers in time";
    return false;
  }
  return true;
}

bool Backend::openConnection(std::string* problem) {
  if (!connection_.open(problem)) {
    return false;
  }
  registry_ = std::make_unique<Registry>(connection_.core(), static_cast<ServerObjectEvents&>(*this));
  askUntilKnown(1);
  return true;
}

void Backend::askUntilKnown(int round) {
  connection_.whenAnswered([this, round] {
    if (round < kRounds) {
      askUntilKnown(round + 1);
      return;
    }
    refresh();
    {
      const std::lock_guard guard(mutex_);
      isKnown_ = true;
    }
    known_.notify_all();
  });
}

void Backend::serverIsLost() {
  log("the PipeWire server is gone, and its devices with it");
  const Devices gone = devices();
  for (const DevicePointer& device : gone) {
    device->retire();
  }
  registry_ = nullptr;
  connection_.close();
  forcedRate_.reset();
  {
    const std::lock_guard guard(mutex_);
    isKnown_ = false;
    devices_.clear();
    defaults_.clear();
  }
  for (const DevicePointer& device : gone) {
    teller_.device(device->id(), 0, false, kAudioDevicePropertyDeviceIsAlive);
  }
  for (const AudioHardwarePropertyID property :
       {kAudioHardwarePropertyDevices, kAudioHardwarePropertyDefaultInputDevice,
        kAudioHardwarePropertyDefaultOutputDevice, kAudioHardwarePropertyDefaultSystemOutputDevice}) {
    teller_.hardware(property);
  }
  loop_->postAfter(kRetry, [this] { reconnect(); });
}

void Backend::reconnect() {
  std::string problem;
  if (openConnection(&problem)) {
    log("the PipeWire server is back");
  } else {
    loop_->postAfter(kRetry, [this] { reconnect(); });
  }
}

/// Once for all that the server says in one go.
void Backend::refreshSoon() {
  if (!std::exchange(isRefreshDue_, true)) {
    loop_->post([this] {
      isRefreshDue_ = false;
      bool isKnown = false;
      {
        const std::lock_guard guard(mutex_);
        isKnown = isKnown_;
      }
      if (registry_ != nullptr && isKnown) {
        refresh();
      }
    });
  }
}

void Backend::refresh() {
  const ServerFacts& facts = registry_->facts();
  const Devices before = devices();
  Devices now;
  std::vector<DevicePointer> gone;
  for (const DevicePlan& plan : planDevices(facts)) {
    const auto same = std::find_if(before.begin(), before.end(), [&](const DevicePointer& device) {
      return !device->isBroken() && device->plan().isSameDevice(plan);
    });
    if (same != before.end()) {
      (*same)->update(describe(plan, facts));
      now.push_back(*same);
    } else {
      now.push_back(
          std::make_shared<Device>(plan, describe(plan, facts), *loop_, static_cast<DeviceOwner&>(*this), teller_));
    }
  }
  for (const DevicePointer& device : before) {
    if (std::find(now.begin(), now.end(), device) == now.end()) {
      device->retire();
      gone.push_back(device);
    }
  }
  std::vector<AudioHardwarePropertyID> changes;
  {
    const std::lock_guard guard(mutex_);
    devices_ = now;
    changes = defaults_.update(now, facts);
  }
  for (const DevicePointer& device : gone) {
    teller_.device(device->id(), 0, false, kAudioDevicePropertyDeviceIsAlive);
  }
  if (now != before) {
    teller_.hardware(kAudioHardwarePropertyDevices);
  }
  for (const AudioHardwarePropertyID change : changes) {
    teller_.hardware(change);
  }
}

void Backend::carryOut(const Wishes& wishes, const DevicePlan& plan) {
  if (registry_ == nullptr) {
    return;
  }
  if (wishes.rate) {
    rateBefore_ = forcedRate_ ? rateBefore_ : registry_->facts().settings.forcedRate;
    forcedRate_ = wishes.rate;
  }
  pipewire::carryOut(wishes, plan, *registry_);
}

void Backend::chooseDefault(bool isInput, const DevicePointer& device) {
  loop_->post([this, isInput, device] {
    const SidePlan& side = isInput ? device->plan().input : device->plan().output;
    const auto node = registry_ == nullptr ? nullptr : registry_->node(side.node);
    if (node != nullptr) {
      registry_->setDefault(isInput ? "default.configured.audio.source" : "default.configured.audio.sink",
                            nameObject(node->name).c_str());
    }
  });
  loop_->postAfter(Defaults::kPatience, [this] { refreshSoon(); });
  bool isNew = false;
  {
    const std::lock_guard guard(mutex_);
    isNew = defaults_.choose(isInput, device->id());
  }
  if (isNew && isInput) {
    teller_.hardware(kAudioHardwarePropertyDefaultInputDevice);
  } else if (isNew) {
    teller_.hardware(kAudioHardwarePropertyDefaultOutputDevice);
    teller_.hardware(kAudioHardwarePropertyDefaultSystemOutputDevice);
  }
}

/// The rate that a host wanted is the server's for everybody, and would outlive the host.
void Backend::putBackRate() {
  std::mutex mutex;
  std::condition_variable changed;
  bool isDone = false;
  {
    const Loop::Lock lock(*loop_);
    if (registry_ == nullptr || !forcedRate_ || registry_->facts().settings.forcedRate != *forcedRate_) {
      return;
    }
    registry_->setSetting("clock.force-rate", std::to_string(rateBefore_).c_str());
    connection_.whenAnswered([&] {
      const std::lock_guard guard(mutex);
      isDone = true;
      changed.notify_all();
    });
  }
  std::unique_lock lock(mutex);
  changed.wait_for(lock, std::chrono::milliseconds(200), [&] { return isDone; });
}

}  // namespace orv::pipewire
