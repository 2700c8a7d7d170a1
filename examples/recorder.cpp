// Records the default input until Enter is pressed, or for so many seconds.
//
//   recorder take.aiff [SECONDS]

#include <OrvCoreAudio/OrvAudioRecorder.h>
#include <OrvPlatform/NotificationCenter.h>
#include <OrvPlatform/PipeWireHardware.h>
#include <OrvPlatform/RunLoop.h>
#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace {

bool isEnterPressed() {
  pollfd input{STDIN_FILENO, POLLIN, 0};
  return isatty(STDIN_FILENO) != 0 && poll(&input, 1, 0) > 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: recorder FILE [SECONDS]\n");
    return 2;
  }
  // The machine's own devices where a PipeWire server answers, virtual ones otherwise.
  if (auto machine = orv::connectToPipeWire(std::chrono::milliseconds(200), nullptr)) {
    orv::installAudioHardware(machine);
  }
  const auto device = OrvAudioDevice::defaultInputDevice();
  const auto recorder = OrvAudioRecorder::initWithAudioDevice_filePath(device, argv[1]);
  if (recorder == nullptr) {
    std::fprintf(stderr, "there is no input\n");
    return 1;
  }
  if (argc > 2) {
    recorder->setFrameLimit(
        static_cast<std::uint64_t>(std::strtod(argv[2], nullptr) * device->nominalSampleRate(true)));
  }
  // What ends a recording by itself (the limit, a full disk, an unplugged device) arrives on the main loop.
  bool isOver = false;
  const auto stopped = orv::NotificationCenter::defaultCenter().addObserver(
      OrvAudioRecorderStoppedRecordingNotification, recorder, [&](const orv::Notification&) { isOver = true; });
  isOver = !recorder->startRecording();
  while (!isOver && !isEnterPressed()) {
    orv::RunLoop::main().runFor(std::chrono::milliseconds(50));
  }
  recorder->finishRecording();
  if (!recorder->lastProblem().empty()) {
    std::fprintf(stderr, "%s\n", recorder->lastProblem().c_str());
    return 1;
  }
  std::printf("%llu frames recorded\n", static_cast<unsigned long long>(recorder->recordedFrames()));
  return 0;
}
