#pragma once

#include <cstdint>
#include <memory>

namespace orv::virtualhardware {

/// What a device's input section hears. Frames are interleaved and hold all channels of the section.
class InputFeed {
 public:
  InputFeed() = default;
  InputFeed(const InputFeed&) = delete;
  InputFeed& operator=(const InputFeed&) = delete;
  virtual ~InputFeed();

  /// I/O thread only. Fills in `frames` frames, silence where there is nothing. False when the next frames should have
  /// been there and were not: they come later. Real-time safe.
  virtual bool read(float* target, std::uint32_t frames, double rate) noexcept = 0;
  /// I/O thread only. Whether `read` has what it needs. Real-time safe.
  virtual bool isReady(std::uint32_t /*frames*/) const noexcept { return true; }
  /// I/O thread only. Leaves out the next frames. Real-time safe.
  virtual void skip(std::uint64_t /*frames*/) noexcept {}

  /// When the device starts, before its first cycle. Not real-time safe: may wait a moment for frames.
  virtual void begin(std::uint32_t /*frames*/) {}

  // Any thread.
  /// Whether everything that there was has been read.
  virtual bool isAtEnd() const { return true; }
  /// Frames read so far.
  virtual std::uint64_t delivered() const noexcept { return 0; }
  /// What goes on at `rate` from where this one is when it has delivered `*delivered` frames. Null: this one does.
  virtual std::shared_ptr<InputFeed> atRate(double /*rate*/, std::uint64_t* /*delivered*/) { return nullptr; }
};

class SilenceFeed final : public InputFeed {
 public:
  explicit SilenceFeed(std::uint32_t channels) : channels_(channels) {}
  bool read(float* target, std::uint32_t frames, double rate) noexcept override;

 private:
  const std::uint32_t channels_;
};

/// A sine, the same on all channels.
class ToneFeed final : public InputFeed {
 public:
  ToneFeed(std::uint32_t channels, double hertz, double level) : channels_(channels), hertz_(hertz), level_(level) {}
  bool read(float* target, std::uint32_t frames, double rate) noexcept override;

 private:
  const std::uint32_t channels_;
  const double hertz_;
  const double level_;
  double turns_ = 0.0;  // of the sine, 0 to 1; I/O thread only
};

}  // namespace orv::virtualhardware
