// Copying half an hour into a new file, beside read and write calls of the same chunk; and through the volume control,
// beside the plain copy.
#include <OrvCoreAudio/OrvAudioFileProcessor.h>
#include <OrvCoreAudio/OrvSoftwareVolumeControl.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <stdexcept>
#include <vector>

#include "support/RatioTable.h"
#include "support/Recording.h"
#include "support/TemporaryDirectory.h"
#include "support/Timing.h"

namespace {

constexpr std::size_t kChunk = 512 * 1024;

void copyBare(const std::string& source, const std::string& destination) {
  const int in = ::open(source.c_str(), O_RDONLY | O_CLOEXEC);
  const int out = ::open(destination.c_str(), O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, 0600);
  std::vector<char> buffer(kChunk);
  ssize_t count = 0;
  while ((count = ::read(in, buffer.data(), buffer.size())) > 0) {
    if (::write(out, buffer.data(), static_cast<std::size_t>(count)) != count) {
      count = -1;
      break;
    }
  }
  ::close(in);
  ::close(out);
  if (count != 0) {
    throw std::runtime_error("can't copy " + source);
  }
}

}  // namespace

int main() {
  const orv::test::TemporaryDirectory folder;
  const std::string path = folder / "recording.aiff";
  const std::string copy = folder / "copy.aiff";
  orv::bench::makeRecording(path, 30);
  const auto bytes = static_cast<double>(orv::bench::readBare(path, 1 << 20));
  constexpr std::uint64_t kFrames = std::uint64_t{30} * 60 * 44100;

  const auto plainCopy = [&] {
    ::unlink(copy.c_str());
    if (!OrvAudioFileProcessor::copyFramesToPath_sourcePath_destinationPath_fromFrame_toFrame(nullptr, path, copy, 0,
                                                                                              kFrames)) {
      throw std::runtime_error("the plain copy failed");
    }
  };
  const auto exportVia = [&](const std::shared_ptr<OrvAudioProcessor>& processor) {
    ::unlink(copy.c_str());
    OrvAudioFileProcessor::ExportRequest request;
    request.sourcePath = path;
    request.destinationPath = copy;
    request.toFrame = kFrames;
    request.processor = processor;
    if (!OrvAudioFileProcessor::exportFrames(request).done) {
      throw std::runtime_error("the export failed");
    }
  };
  const auto volume = OrvSoftwareVolumeControl::init();
  volume->setVolumeDecibels(-6);
  const auto exported = [&] { exportVia(nullptr); };
  const auto exportedQuieter = [&] { exportVia(volume); };
  const auto bare = [&] {
    ::unlink(copy.c_str());
    copyBare(path, copy);
  };

  const auto times = orv::bench::bestTimes(8, {plainCopy, exported, bare, exportedQuieter});
  orv::bench::RatioTable table("OrvAudioFileProcessor, 30 minutes; peer: read and write of 512 KiB");
  table.addRates("plain copy", bytes / times[0], bytes / times[2], 0.7);
  table.addRates("export of the whole", bytes / times[1], bytes / times[2], 0.7);
  table.print();
  orv::bench::RatioTable processing("OrvAudioFileProcessor, 30 minutes; peer: plain copy");
  processing.addRates("export through the volume control", bytes / times[3], bytes / times[0], 0.5);
  processing.print();
  return 0;
}
