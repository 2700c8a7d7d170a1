#include "Recordings.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <numbers>
#include <random>
#include <stdexcept>

#include "support/TemporaryDirectory.h"

namespace orv::test {
namespace {

void appendNumber(std::string* bytes, std::uint64_t number, int size) {
  for (int i = 0; i < size; ++i) {
    *bytes += static_cast<char>(number >> (8 * i));
  }
}

}  // namespace

Recording recordingOf(const std::vector<Stretch>& stretches, int channels, int sampleRate) {
  Recording recording{sampleRate, channels, {}};
  std::int64_t frame = 0;
  double end = 0;
  for (const Stretch& stretch : stretches) {
    end += stretch.seconds * sampleRate;
    for (; static_cast<double>(frame) < end; ++frame) {
      const double phase = 2 * std::numbers::pi * 1000 * static_cast<double>(frame) / sampleRate;
      recording.samples.insert(recording.samples.end(), static_cast<std::size_t>(channels),
                               stretch.amplitude * std::sin(phase + 0.3));
    }
  }
  return recording;
}

Recording threePieces(int channels, int sampleRate) {
  return recordingOf({{4, 0.5}, {2, 0}, {5, 0.7}, {2.5, 0}, {4, 0.4}}, channels, sampleRate);
}

Recording threeSongs(int channels, int sampleRate) {
  struct Song {
    double begin;
    double end;
  };
  constexpr std::array<Song, 3> songs{{{1, 61}, {63, 108}, {111, 186}}};
  constexpr double length = 187;
  constexpr double hiss = 0.001;
  Recording recording{sampleRate, channels, {}};
  std::minstd_rand random(3);
  std::uniform_real_distribution<double> hissing(-hiss, hiss);
  double pitch = 0;
  int note = -1;
  for (std::int64_t i = 0; i < static_cast<std::int64_t>(length * sampleRate); ++i) {
    const double time = static_cast<double>(i) / sampleRate;
    constexpr double notesPerSecond = 4;
    if (static_cast<int>(time * notesPerSecond) != note) {
      note = static_cast<int>(time * notesPerSecond);
      pitch = 220 * std::pow(2, static_cast<double>(random() % 24) / 12);
    }
    const bool sounds =
        std::ranges::any_of(songs, [&](const Song& song) { return time >= song.begin && time < song.end; });
    const double swell = 0.4 + 0.6 * std::sin(std::numbers::pi * (time * notesPerSecond - note));
    const double tone =
        std::sin(2 * std::numbers::pi * pitch * time) + 0.3 * std::sin(6 * std::numbers::pi * pitch * time);
    for (int channel = 0; channel < channels; ++channel) {
      recording.samples.push_back((sounds ? 0.3 * swell * tone : 0) + hissing(random));
    }
  }
  return recording;
}

Recording noise(std::int64_t frames, int channels, int sampleRate) {
  Recording recording{sampleRate, channels, {}};
  std::minstd_rand random(7);
  std::uniform_real_distribution<double> amplitude(-0.9, 0.9);
  for (std::int64_t i = 0; i < frames * channels; ++i) {
    recording.samples.push_back(amplitude(random));
  }
  return recording;
}

void writeRecording(const std::string& path, const Recording& recording, int format) {
  SF_INFO info{};
  info.samplerate = recording.sampleRate;
  info.channels = recording.channels;
  info.format = format;
  SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
  if (file == nullptr) {
    throw std::runtime_error("libsndfile can't write " + path);
  }
  // Its peak chunk would carry the time of the test.
  sf_command(file, SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
  sf_writef_double(file, recording.samples.data(), recording.frames());
  sf_close(file);
}

void writeLongSilence(const std::string& path, std::uint64_t frames, std::uint32_t sampleRate) {
  constexpr std::uint64_t unknown = 0xFFFFFFFF;
  constexpr std::uint64_t headerSize = 80;
  std::string header = "RF64";
  appendNumber(&header, unknown, 4);
  header += "WAVEds64";
  appendNumber(&header, 28, 4);
  appendNumber(&header, headerSize - 8 + 4 * frames, 8);
  appendNumber(&header, 4 * frames, 8);
  appendNumber(&header, frames, 8);
  appendNumber(&header, 0, 4);
  header += "fmt ";
  appendNumber(&header, 16, 4);
  appendNumber(&header, 1, 2);
  appendNumber(&header, 2, 2);
  appendNumber(&header, sampleRate, 4);
  appendNumber(&header, std::uint64_t{4} * sampleRate, 4);
  appendNumber(&header, 4, 2);
  appendNumber(&header, 16, 2);
  header += "data";
  appendNumber(&header, unknown, 4);
  writeWholeFile(path, header);
  std::filesystem::resize_file(path, headerSize + 4 * frames);
}

}  // namespace orv::test
