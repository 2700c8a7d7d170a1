// Reading half an hour from one end to the other through OrvAudioFile with its cache, beside bare preads of the same
// size.
#include <OrvCoreAudio/OrvAudioFile.h>
#include <OrvPlatform/Log.h>

#include <stdexcept>
#include <vector>

#include "support/RatioTable.h"
#include "support/Recording.h"
#include "support/TemporaryDirectory.h"
#include "support/Timing.h"

namespace {

std::uint64_t readAll(const std::string& path, std::uint32_t chunk, bool useCache) {
  const auto file = OrvAudioFile::initWithPath_accessMode(path, OrvAudioFile::kModeRead);
  file->setUseCache(useCache);
  if (!file->open()) {
    throw std::runtime_error(file->lastProblem());
  }
  std::vector<char> buffer(chunk);
  std::uint64_t total = 0;
  for (;;) {
    std::uint32_t length = chunk;
    const bool more = file->read_length(buffer.data(), &length);
    total += length;
    if (!more || length == 0) {
      break;
    }
  }
  file->close();
  return total;
}

}  // namespace

int main() {
  orv::setLogSink([](std::string_view) {});  // each end of the file is a line
  const orv::test::TemporaryDirectory folder;
  const std::string path = folder / "recording.aiff";
  orv::bench::makeRecording(path, 30);
  const auto bytes = static_cast<double>(orv::bench::readBare(path, 1 << 20));

  orv::bench::RatioTable table("OrvAudioFile, sequential reading; peer: bare pread");
  for (const std::uint32_t kibibytes : {64U, 256U, 768U}) {
    const std::uint32_t chunk = kibibytes * 1024;
    const auto expect = [&](std::uint64_t total) {
      if (static_cast<double>(total) + 54 != bytes) {
        throw std::runtime_error("the reading ended early");
      }
    };
    const auto times = orv::bench::bestTimes(12, {
                                                     [&] { expect(readAll(path, chunk, true)); },
                                                     [&] { expect(readAll(path, chunk, false)); },
                                                     [&] { orv::bench::readBare(path, chunk); },
                                                 });
    const std::string requests = std::to_string(kibibytes) + " KiB requests";
    table.addRates(requests + ", cache on", bytes / times[0], bytes / times[2], 0.7);
    table.addRates(requests + ", cache off", bytes / times[1], bytes / times[2], 0.7);
  }
  table.print();
  return 0;
}
