#include "support/Recording.h"

#include <fcntl.h>
#include <sndfile.h>
#include <unistd.h>

#include <array>
#include <cmath>
#include <memory>
#include <stdexcept>
#include <vector>

namespace orv::bench {
namespace {

constexpr int kRate = 44100;
constexpr std::int64_t kPieceFrames = std::int64_t{180} * kRate;
constexpr std::int64_t kGapFrames = std::int64_t{4} * kRate;

// A linear congruential generator: fast, and good enough for noise.
class Noise {
 public:
  /// From -amplitude to amplitude.
  double next(double amplitude) {
    state_ = state_ * 6364136223846793005U + 1442695040888963407U;
    return amplitude * (static_cast<double>(state_ >> 40) / static_cast<double>(1U << 23) - 1.0);
  }

 private:
  std::uint64_t state_ = 1;
};

std::array<unsigned char, 54> sparseHeader(std::uint32_t frames) {
  const std::uint32_t dataBytes = frames * 4;
  std::array<unsigned char, 54> header = {
      'F', 'O', 'R',  'M', 0, 0, 0, 0,  'A', 'I', 'F', 'F',               // container
      'C', 'O', 'M',  'M', 0, 0, 0, 18, 0,   2,   0,   0,   0, 0, 0, 16,  // 2 channels, frames, 16 bits
      64,  14,  0xAC, 'D', 0, 0, 0, 0,  0,   0,                           // 44100 as an 80-bit float
      'S', 'S', 'N',  'D', 0, 0, 0, 0,  0,   0,   0,   0,   0, 0, 0, 0,
  };
  const auto put = [&](std::size_t at, std::uint32_t value) {
    for (std::size_t i = 0; i < 4; ++i) {
      header[at + i] = static_cast<unsigned char>(value >> (24 - 8 * i));
    }
  };
  put(4, dataBytes + 46);
  put(22, frames);
  put(42, dataBytes + 8);
  return header;
}

class Descriptor {
 public:
  Descriptor(const std::string& path, int flags) : number_(::open(path.c_str(), flags | O_CLOEXEC, 0600)) {
    if (number_ < 0) {
      throw std::runtime_error("can't open " + path);
    }
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { ::close(number_); }
  int number() const { return number_; }

 private:
  int number_;
};

}  // namespace

void makeRecording(const std::string& path, double minutes) {
  SF_INFO info{};
  info.samplerate = kRate;
  info.channels = 2;
  info.format = SF_FORMAT_AIFF | SF_FORMAT_PCM_16;
  const std::unique_ptr<SNDFILE, decltype(&sf_close)> file(sf_open(path.c_str(), SFM_WRITE, &info), &sf_close);
  if (!file) {
    throw std::runtime_error("can't make " + path);
  }
  const auto frames = static_cast<std::int64_t>(minutes * 60 * kRate);
  Noise noise;
  std::vector<std::int16_t> block;
  for (std::int64_t frame = 0; frame < frames;) {
    block.clear();
    for (; frame < frames && block.size() < 65536; ++frame) {
      const bool gap = frame % (kPieceFrames + kGapFrames) >= kPieceFrames;
      const double tone = gap ? 0 : 12000 * std::sin(static_cast<double>(frame) * 0.0627);
      const double amplitude = gap ? 12 : 2000;
      block.push_back(static_cast<std::int16_t>(tone + noise.next(amplitude)));
      block.push_back(static_cast<std::int16_t>(-tone + noise.next(amplitude)));
    }
    const auto count = static_cast<sf_count_t>(block.size());
    if (sf_write_short(file.get(), block.data(), count) != count) {
      throw std::runtime_error("can't write " + path);
    }
  }
}

void makeSparseRecording(const std::string& path, double minutes) {
  const auto frames = static_cast<std::uint32_t>(minutes * 60 * kRate);
  const auto header = sparseHeader(frames);
  const Descriptor file(path, O_CREAT | O_TRUNC | O_WRONLY);
  const auto size = static_cast<off_t>(header.size()) + off_t{4} * frames;
  if (::write(file.number(), header.data(), header.size()) != static_cast<ssize_t>(header.size()) ||
      ::ftruncate(file.number(), size) != 0) {
    throw std::runtime_error("can't write " + path);
  }
}

std::int64_t readBare(const std::string& path, std::size_t chunk) {
  const Descriptor file(path, O_RDONLY);
  std::vector<char> buffer(chunk);
  std::int64_t offset = 0;
  for (;;) {
    const ssize_t count = ::pread(file.number(), buffer.data(), buffer.size(), offset);
    if (count < 0) {
      throw std::runtime_error("can't read " + path);
    }
    if (count == 0) {
      return offset;
    }
    offset += count;
  }
}

}  // namespace orv::bench
