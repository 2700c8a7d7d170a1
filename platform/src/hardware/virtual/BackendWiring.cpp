#include <algorithm>
#include <utility>

#include "OrvPlatform/Log.h"
#include "hardware/virtual/Backend.h"
#include "hardware/virtual/DescriptionCheck.h"
#include "hardware/virtual/FileDecoder.h"
#include "hardware/virtual/FileFeed.h"

/// Where inputs come from and outputs go to.
namespace orv::virtualhardware {
namespace {

/// Frames on the way through a loopback: the largest cycle of any source, and some of the listener's.
std::size_t cableCapacity(const Device& listener) {
  return static_cast<std::size_t>(kLargestCycle) + std::size_t{listener.largestCycle()} * 4;
}

void report(std::string* problem, std::string text) {
  if (problem != nullptr) {
    *problem = std::move(text);
  }
}

}  // namespace

bool Backend::setInput(AudioDeviceID device, const VirtualInput& source, std::string* problem) {
  collectGone();
  const auto found = find(device);
  std::string why = found == nullptr           ? "the device is not there"
                    : !found->hasSection(true) ? "the device has no input"
                                               : problemOf(source);
  if (why.empty()) {
    const std::lock_guard guard(plugMutex_);
    connectInput(*found, source, &why);
  }
  if (!why.empty()) {
    report(problem, std::move(why));
    return false;
  }
  found->waitForWiring();
  return true;
}

bool Backend::setOutput(AudioDeviceID device, const VirtualOutput& sink, std::string* problem) {
  collectGone();
  const auto found = find(device);
  std::string why = found == nullptr            ? "the device is not there"
                    : !found->hasSection(false) ? "the device has no output"
                                                : "";
  if (why.empty()) {
    const std::lock_guard guard(plugMutex_);
    connectOutput(*found, sink, &why);
  }
  if (!why.empty()) {
    report(problem, std::move(why));
    return false;
  }
  found->waitForWiring();
  return true;
}

/// Requires: plugMutex_ is held.
bool Backend::connectInput(Device& device, const VirtualInput& source, std::string* problem) {
  if (!device.hasSection(true)) {
    return true;
  }
  auto feed = makeFeed(device, source, problem);
  if (feed == nullptr) {
    return false;
  }
  device.setFeed(std::move(feed));
  return true;
}

bool Backend::connectOutput(Device& device, const VirtualOutput& sink, std::string* problem) {
  if (!device.hasSection(false)) {
    return true;
  }
  std::shared_ptr<OutputCapture> capture;
  if (sink.file) {
    if (device.captures(*sink.file)) {
      // The same file can't be written twice at once: it is let go of first.
      device.setCapture(nullptr);
      device.waitForWiring();
    }
    capture = OutputCapture::open(*sink.file, device.nominalRate(), device.channels(false), device.largestCycle(),
                                  device.waker(), problem);
    if (capture == nullptr) {
      return false;
    }
  }
  device.setCapture(std::move(capture));
  return true;
}

std::shared_ptr<InputFeed> Backend::makeFeed(Device& device, const VirtualInput& source, std::string* problem) {
  switch (source.kind) {
    case VirtualInput::Kind::silence:
      return std::make_shared<SilenceFeed>(device.channels(true));
    case VirtualInput::Kind::tone:
      return std::make_shared<ToneFeed>(device.channels(true), source.toneHertz, source.toneLevel);
    case VirtualInput::Kind::files:
      return makeFileFeed(device, source, problem);
    case VirtualInput::Kind::loopback:
      return makeLoopbackFeed(device, source);
  }
  *problem = "kind: it is none of the kinds of input";
  return nullptr;
}

std::shared_ptr<InputFeed> Backend::makeFileFeed(Device& device, const VirtualInput& source, std::string* problem) {
  const double rate = device.nominalRate();
  // Each is opened here once, so that a missing one is found now and not in the middle of the night.
  for (const std::string& file : source.files) {
    if (FileDecoder::open(file, rate, device.channels(true), problem) == nullptr) {
      return nullptr;
    }
  }
  FileFeedSetup setup;
  setup.files = source.files;
  setup.gapSeconds = source.gapSeconds;
  setup.repeats = source.repeats;
  setup.channels = device.channels(true);
  setup.rate = rate;
  setup.largestCycle = device.largestCycle();
  return std::make_shared<FileFeed>(std::move(setup), FilePlace{}, device.waker());
}

std::shared_ptr<InputFeed> Backend::makeLoopbackFeed(Device& device, const VirtualInput& source) {
  auto cable = std::make_shared<LoopbackCable>(source.loopbackUID, device.channels(true), cableCapacity(device));
  std::erase_if(cables_, [](const auto& held) { return held.expired(); });
  cables_.push_back(cable);
  // One that is not there yet, be it the device itself, gets it when it is plugged in.
  if (const auto heard = findByUID(source.loopbackUID)) {
    heard->addCable(cable);
    heard->settle();
  }
  return std::make_shared<LoopbackFeed>(std::move(cable));
}

/// A device that has come: those that were told to listen to it hear it now.
void Backend::attachListeners(Device& device) {
  for (const auto& held : cables_) {
    const auto cable = held.lock();
    if (cable != nullptr && !cable->isAbandoned() && cable->sourceUID() == device.uid()) {
      device.addCable(cable);
    }
  }
}

}  // namespace orv::virtualhardware
