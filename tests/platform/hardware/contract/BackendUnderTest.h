#pragma once

#include <functional>
#include <memory>
#include <string>

#include "OrvPlatform/AudioHardwareBackend.h"

namespace orv::test {

/// What the contract needs of a backend beside the backend itself. One is made for each test.
class BackendUnderTest {
 public:
  virtual ~BackendUnderTest() = default;

  virtual std::shared_ptr<AudioHardware> hardware() = 0;
  /// A device with input and output, which can run and whose buffer frame size can be set.
  virtual AudioDeviceID duplexDevice() = 0;
  /// Lets a device make cycles until `isEnough` answers true. False when it takes unreasonably long.
  virtual bool runUntil(const std::function<bool()>& isEnough) = 0;

  /// Plugs one more device in, whatever it is; its ID.
  virtual AudioDeviceID plugIn() = 0;
  virtual void pullOut(AudioDeviceID device) = 0;
};

/// A backend joins the contract with a name and a way to make one.
struct BackendDescription {
  std::string name;
  std::function<std::unique_ptr<BackendUnderTest>()> make;
  /// Why it can't be tested on this machine; empty when it can. May be left out.
  std::function<std::string()> whyNot;
};

}  // namespace orv::test
