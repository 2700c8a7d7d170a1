// Storing and fetching 512 stereo frames, beside JACK's ring buffer for the same bytes.
#include <OrvCoreAudio/AudioRingBuffer.h>
#include <jack/ringbuffer.h>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/RatioTable.h"
#include "support/Timing.h"

namespace {

constexpr std::uint32_t kFrames = 512;
constexpr std::uint32_t kChannels = 2;
constexpr int kRounds = 100;
constexpr int kTransfers = 2000;  ///< a round
constexpr double kBytes = double{kTransfers} * kFrames * kChannels * sizeof(float);

/// A list of two channels and the memory behind it.
struct Stereo {
  std::vector<float> left = std::vector<float>(kFrames, 0.25F);
  std::vector<float> right = std::vector<float>(kFrames, 0.5F);
  alignas(AudioBufferList) std::byte record[sizeof(AudioBufferList) + sizeof(AudioBuffer)] = {};

  Stereo() {
    list()->mNumberBuffers = kChannels;
    AudioBuffer* const buffers = list()->mBuffers;
    buffers[0] = {1, kFrames * sizeof(float), left.data()};
    buffers[1] = {1, kFrames * sizeof(float), right.data()};
  }
  Stereo(const Stereo&) = delete;
  Stereo& operator=(const Stereo&) = delete;

  AudioBufferList* list() { return reinterpret_cast<AudioBufferList*>(record); }
};

void require(bool condition) {
  if (!condition) {
    throw std::runtime_error("a transfer failed");
  }
}

class Ours {
 public:
  explicit Ours(std::uint32_t capacityFrames) { ring_.Allocate(kChannels, sizeof(float), capacityFrames); }

  void transfer() {
    for (int i = 0; i < kTransfers; ++i, frame_ += kFrames) {
      require(ring_.Store(in_.list(), kFrames, frame_) == 0);
      require(ring_.Fetch(out_.list(), kFrames, frame_) == 0);
    }
  }

 private:
  AudioRingBuffer ring_;
  Stereo in_;
  Stereo out_;
  std::int64_t frame_ = 0;
};

class Jack {
 public:
  /// The same memory, interleaved.
  explicit Jack(std::uint32_t capacityFrames)
      : ring_(jack_ringbuffer_create(capacityFrames * kChannels * sizeof(float))) {
    require(ring_ != nullptr);
  }
  Jack(const Jack&) = delete;
  Jack& operator=(const Jack&) = delete;
  ~Jack() { jack_ringbuffer_free(ring_); }

  void transfer() {
    for (int i = 0; i < kTransfers; ++i) {
      require(jack_ringbuffer_write(ring_, in_.data(), in_.size()) == in_.size());
      require(jack_ringbuffer_read(ring_, out_.data(), out_.size()) == out_.size());
    }
  }

 private:
  jack_ringbuffer_t* const ring_;
  std::vector<char> in_ = std::vector<char>(kFrames * kChannels * sizeof(float));
  std::vector<char> out_ = std::vector<char>(kFrames * kChannels * sizeof(float));
};

}  // namespace

int main() {
  orv::bench::RatioTable table("ring buffer, store and fetch 512 stereo frames; peer: JACK");
  for (const std::uint32_t capacity : {2048U, 65536U, 1048576U}) {
    Ours ours(capacity);
    Jack jack(capacity);
    const auto times = orv::bench::bestTimes(kRounds, {[&] { ours.transfer(); }, [&] { jack.transfer(); }});
    table.addRates("a ring of " + std::to_string(capacity) + " frames", kBytes / times[0], kBytes / times[1], 1);
  }
  table.print();
  return 0;
}
