#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

struct soxr;

namespace orv::converter {

/// A stream that changes its sample rate, over soxr. Frames are interleaved floats or doubles, in native order.
class Resampler {
 public:
  struct Setup {
    double fromRate = 0;
    double toRate = 0;
    std::uint32_t channels = 0;
    std::uint32_t quality = 0;  ///< 0 to 127, as the converter's quality property
    bool isDouble = false;
  };

  /// Null where soxr can't do it, for want of memory or because the rates are too far apart. Not real-time safe.
  static std::unique_ptr<Resampler> make(const Setup& setup);

  Resampler(const Resampler&) = delete;
  Resampler& operator=(const Resampler&) = delete;
  ~Resampler();

  /// Takes all of the input in and gives as many frames as are ready and fit; the rest stays for the next call. False
  /// when memory ran out. Allocates only while its queues still grow, as they do on the first blocks of a size.
  bool process(const void* input, std::size_t inputFrames, void* output, std::size_t outputFrames,
               std::size_t* produced);

  /// Gives what is left at the end of the stream, as many frames as fit; 0 when nothing is left.
  bool finish(void* output, std::size_t outputFrames, std::size_t* produced);

  /// Starts a new stream. Not real-time safe. False when memory ran out; nothing may be processed then.
  bool reset();

 private:
  explicit Resampler(const Setup& setup) : setup_(setup) {}
  bool open();

  const Setup setup_;
  soxr* stream_ = nullptr;
};

}  // namespace orv::converter
