// Meters the default input for a second in a plain poll loop, on virtual hardware that hears a tone. This is how the
// framework's main loop goes into any event loop: wait for its descriptor, then pump it.
//
//   meter_with_poll

#include <OrvCoreAudio/OrvAudioDevice.h>
#include <OrvCoreAudio/OrvVUMeterDataProvider.h>
#include <OrvPlatform/NotificationCenter.h>
#include <OrvPlatform/RunLoop.h>
#include <OrvPlatform/VirtualHardware.h>
#include <poll.h>

#include <algorithm>
#include <chrono>
#include <cstdio>

int main() {
  const auto hardware = orv::VirtualHardware::make();
  orv::VirtualDevice interface = orv::virtualStereoInterface();
  interface.source.kind = orv::VirtualInput::Kind::tone;
  hardware->plug(interface);
  orv::installAudioHardware(hardware);

  const auto device = OrvAudioDevice::defaultInputDevice();
  if (device == nullptr) {
    std::fprintf(stderr, "there is no input\n");
    return 1;
  }
  int updates = 0;
  float loudest = 0;
  const auto observation = orv::NotificationCenter::defaultCenter().addObserver(
      OrvVUMeterDataProviderNewDataIsAvailableNotification, nullptr, [&](const orv::Notification& told) {
        if (const auto data = std::dynamic_pointer_cast<OrvVUMeterData>(told.object)) {
          ++updates;
          loudest = std::max(loudest, data->floatValueForChannel(1));
        }
      });

  const auto meter = device->inputVUMeterDataProvider();
  meter->start();
  orv::RunLoop& loop = orv::RunLoop::main();
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(1);
  while (std::chrono::steady_clock::now() < end) {
    // A host's own descriptors stand here beside it.
    pollfd descriptors[] = {{loop.fileDescriptor(), POLLIN, 0}};
    if (poll(descriptors, 1, 100) > 0) {
      loop.pump();
    }
  }
  meter->stop();
  std::printf("%s: %s, peak %.2f\n", device->name().value_or("?").c_str(), updates > 0 ? "metered" : "silent",
              static_cast<double>(loudest));
}
