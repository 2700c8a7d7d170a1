// Plays a file on the default output and shows where it is. The player converts the file to the device's rate and
// channels; what it plays is exactly what the file holds where both are the same.
//
//   player side.aiff

#include <OrvCoreAudio/OrvAudioDevice.h>
#include <OrvCoreAudio/OrvAudioPlayer.h>
#include <OrvPlatform/NotificationCenter.h>
#include <OrvPlatform/PipeWireHardware.h>
#include <OrvPlatform/RunLoop.h>

#include <chrono>
#include <cstdio>

using namespace std::chrono_literals;

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: player FILE\n");
    return 2;
  }
  // The machine's own devices where a PipeWire server answers, virtual ones otherwise.
  if (auto machine = orv::connectToPipeWire(200ms, nullptr)) {
    orv::installAudioHardware(machine);
  }
  const auto device = OrvAudioDevice::defaultOutputDevice();
  if (device == nullptr) {
    std::fprintf(stderr, "there is no output\n");
    return 1;
  }
  const auto player = OrvAudioPlayer::initWithAudioDevice_pathToFile(device, argv[1]);
  const std::uint32_t frames = player->lengthInFrames();

  // Everything that the player has to tell comes on this thread, from its run loop.
  bool isOver = false;
  const auto finished = orv::NotificationCenter::defaultCenter().addObserver(
      OrvAudioPlayerFinishedPlayingNotification, player, [&](const orv::Notification&) { isOver = true; });
  const auto progress = orv::RunLoop::main().every(100ms, [&] {
    std::fprintf(stderr, "\r%.1f s of %.1f s", player->exactFrameOffset() / player->sampleRate(),
                 frames / player->sampleRate());
    isOver = isOver || !device->isAlive();
  });

  if (!player->playExactlyFromFrame_endFrame(0, frames)) {
    std::fprintf(stderr, "%s can't be played on %s\n", argv[1], device->description().c_str());
    return 1;
  }
  orv::RunLoop::main().runUntil([&] { return isOver; }, std::chrono::nanoseconds::max());
  player->stop();
  std::fprintf(stderr, "\n");
  std::printf("%u of %u frames played on %s\n", player->exactFrameOffset(), frames, device->description().c_str());
  return player->exactFrameOffset() == frames ? 0 : 1;
}
