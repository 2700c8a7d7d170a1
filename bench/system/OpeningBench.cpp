// Opening and closing a small AIFF file, beside libsndfile.
#include <OrvCoreAudio/OrvAudioFile.h>
#include <OrvPlatform/AudioFile.h>
#include <sndfile.h>

#include <stdexcept>

#include "support/RatioTable.h"
#include "support/Recording.h"
#include "support/TemporaryDirectory.h"
#include "support/Timing.h"

namespace {

constexpr int kRepetitions = 2000;
constexpr double kMicroseconds = 1e6 / kRepetitions;

void require(bool opened) {
  if (!opened) {
    throw std::runtime_error("the file does not open");
  }
}

}  // namespace

int main() {
  const orv::test::TemporaryDirectory folder;
  const std::string path = folder / "recording.aiff";
  orv::bench::makeRecording(path, 0.05);

  const auto service = [&] {
    for (int i = 0; i < kRepetitions; ++i) {
      const FSRef reference{path};
      AudioFileID file = nullptr;
      require(AudioFileOpen(&reference, kFileReadPermission, 0, &file) == noErr);
      AudioFileClose(file);
    }
  };
  const auto object = [&] {
    for (int i = 0; i < kRepetitions; ++i) {
      const auto file = OrvAudioFile::initWithPath_accessMode(path, OrvAudioFile::kModeRead);
      require(file->open());
      file->close();
    }
  };
  const auto libsndfile = [&] {
    for (int i = 0; i < kRepetitions; ++i) {
      SF_INFO info{};
      SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
      require(file != nullptr);
      sf_close(file);
    }
  };

  const auto times = orv::bench::bestTimes(10, {service, object, libsndfile});
  orv::bench::RatioTable table("opening and closing; peer: libsndfile");
  table.addLimit("AudioFileOpen, AudioFileClose", times[0] * kMicroseconds, times[2] * kMicroseconds, 20, "us");
  table.addLimit("OrvAudioFile open, close", times[1] * kMicroseconds, times[2] * kMicroseconds, 20, "us");
  table.print();
  return 0;
}
