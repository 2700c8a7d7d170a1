// Plays the default input on the default output, 6 dB softer, for so many seconds.
//
//   monitor [SECONDS]

#include <OrvCoreAudio/OrvAudioDevice.h>
#include <OrvCoreAudio/OrvPlayThroughHandler.h>
#include <OrvCoreAudio/OrvSoftwareVolumeControl.h>
#include <OrvPlatform/PipeWireHardware.h>
#include <OrvPlatform/RunLoop.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
  const double seconds = argc > 1 ? std::strtod(argv[1], nullptr) : 10;
  // The machine's own devices where a PipeWire server answers, virtual ones otherwise.
  if (auto machine = orv::connectToPipeWire(std::chrono::milliseconds(200), nullptr)) {
    orv::installAudioHardware(machine);
  }
  const auto input = OrvAudioDevice::defaultInputDevice();
  const auto output = OrvAudioDevice::defaultOutputDevice();
  if (input == nullptr || output == nullptr) {
    std::fprintf(stderr, "an input and an output are needed\n");
    return 1;
  }
  const auto volume = OrvSoftwareVolumeControl::init();
  volume->setVolumeDecibels(-6);

  const auto monitor = OrvPlayThroughHandler::init();
  monitor->setMapsChannels(true);
  monitor->setVolumeControl(volume);
  monitor->setAudioDevice_isInput(input, true);
  monitor->setAudioDevice_isInput(output, false);
  if (!monitor->startBothOrNeither()) {
    std::fprintf(stderr, "%s does not start\n", monitor->description().c_str());
    return 1;
  }
  std::printf("monitoring %s\n", input->name().value_or("the input").c_str());
  orv::RunLoop::main().runFor(std::chrono::milliseconds(static_cast<int>(seconds * 1000)));
  return monitor->stop() ? 0 : 1;
}
