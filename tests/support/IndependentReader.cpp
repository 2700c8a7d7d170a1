#include "support/IndependentReader.h"

#include <sndfile.h>

namespace orv::test {

std::optional<IndependentReading> readIndependently(const std::string& path) {
  SF_INFO info{};
  SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
  if (file == nullptr) {
    return std::nullopt;
  }
  IndependentReading reading;
  reading.sampleRate = info.samplerate;
  reading.channels = info.channels;
  reading.frames = info.frames;
  reading.majorFormat = info.format & SF_FORMAT_TYPEMASK;
  reading.subFormat = info.format & SF_FORMAT_SUBMASK;
  const auto samples = static_cast<std::size_t>(info.frames) * static_cast<std::size_t>(info.channels);
  reading.ints.resize(samples);
  reading.ints.resize(static_cast<std::size_t>(sf_readf_int(file, reading.ints.data(), info.frames) * info.channels));
  reading.doubles.resize(samples);
  sf_seek(file, 0, SEEK_SET);
  reading.doubles.resize(
      static_cast<std::size_t>(sf_readf_double(file, reading.doubles.data(), info.frames) * info.channels));
  sf_close(file);
  return reading;
}

}  // namespace orv::test
