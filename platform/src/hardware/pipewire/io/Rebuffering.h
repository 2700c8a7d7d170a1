#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace orv::pipewire {

/// Makes cycles of a constant number of frames out of the server's quanta, whatever number of frames these have, and
/// quanta out of what the cycles play.
///
///   quantum's input ─► gathered until there is a cycle ─► cycle ─► queue, ahead of which there is silence ─► quantum
///
/// Each quantum brings as many frames of input as it takes of output, and each cycle turns as many frames of input into
/// as many of output. So what is gathered and what is queued add up to the same number for ever, the length of that
/// silence (`primed`). It is the least with which no quantum ever lacks output: with a cycle of F frames, quanta of Q,
/// their greatest common divisor g and r frames gathered at best, r never changes while F and Q don't, the most that is
/// ever gathered when a quantum ends is F - g + r, and that is the least. Where F and Q are the same it is 0, and a
/// cycle is a quantum.
///
/// When Q or F changes and more is needed, silence is added behind what is queued. No frame is ever dropped: where less
/// would be enough the rest stays, until `begin`.
///
/// One thread at a time. Real-time safe but for the constructor.
class Rebuffering {
 public:
  static constexpr std::uint32_t kMostFrames = 8192;  ///< of a cycle, and of a quantum

  /// Frames have so many samples. Either may be 0.
  Rebuffering(std::uint32_t inputChannels, std::uint32_t outputChannels);

  /// Forgets everything. `frames`: of each cycle, 1 to `kMostFrames`.
  void begin(std::uint32_t frames) noexcept;
  /// From the next cycle on.
  void setFrames(std::uint32_t frames) noexcept;
  std::uint32_t frames() const noexcept { return frames_; }

  // A quantum: open, fill in what came, `next` until there is no cycle any more, take what `close` returns.

  /// `quantum`: frames of it, 1 to `kMostFrames`. Returns where they go. Null without input channels.
  float* open(std::uint32_t quantum) noexcept;

  struct Cycle {
    float* input = nullptr;   ///< null without channels
    float* output = nullptr;  ///< the same
    std::uint32_t age = 0;    ///< frames from the cycle's first frame of input to the end of the quantum's
    std::uint32_t ahead = 0;  ///< frames from the first that the quantum plays to the cycle's first of output
  };
  bool next(Cycle* cycle) noexcept;

  /// What the quantum plays; valid until it is `open`ed again. Null without output channels. Cycles that were not made
  /// for want of a `next` are silent.
  const float* close() noexcept;

  /// How much later than in a quantum of exactly a cycle's frames the first frame of a cycle's input gets there at the
  /// latest, and its output is played at the least, in frames, with the quantum and the frames as they are. For every
  /// frame that goes all the way both add up to the same: what it takes longer.
  std::uint32_t inputLatency() const noexcept { return inputLatency_; }
  std::uint32_t outputLatency() const noexcept { return outputLatency_; }

 private:
  /// Frames in a row, of which some may have been used up.
  struct Row {
    std::vector<float> samples;
    std::size_t channels = 0;
    std::uint32_t first = 0;
    std::uint32_t frames = 0;  ///< from `first` on

    float* at(std::uint32_t frame) noexcept;
    void moveToFront() noexcept;
    void appendSilence(std::uint32_t count) noexcept;
  };
  void prime() noexcept;

  Row input_;
  Row output_;
  std::uint32_t frames_ = 1;
  std::uint32_t quantum_ = 0;  // 0 before the first, or when the frames have changed since
  std::uint32_t due_ = 0;      // frames of output that the open quantum takes
  std::uint32_t inputLatency_ = 0;
  std::uint32_t outputLatency_ = 0;
};

}  // namespace orv::pipewire
