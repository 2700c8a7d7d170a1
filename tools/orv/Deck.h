#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "OrvCoreAudio/OrvAudioDevice.h"

namespace orv::cli {

/// Either of the framework's players, with one recording on one device. Main thread, except where said otherwise.
class Deck {
 public:
  enum class Kind { direct, graph };

  /// Nothing for `decibels`: the samples are played as they are, to the bit.
  static std::shared_ptr<Deck> make(Kind kind, const std::shared_ptr<OrvAudioDevice>& device, const std::string& path,
                                    std::optional<double> decibels);
  Deck() = default;
  Deck(const Deck&) = delete;
  Deck& operator=(const Deck&) = delete;
  virtual ~Deck() = default;

  /// Plays the frames from `from` up to the one before `to`, also where it plays already. Whether it does.
  virtual bool play(std::uint32_t from, std::uint32_t to) = 0;
  virtual void stop() = 0;
  virtual bool isPlaying() const = 0;
  /// The frame that comes next.
  virtual std::uint32_t position() const = 0;
  /// Whether the recording, whose playing has come to the end `to`, gave all that it should have.
  virtual bool wasComplete(std::uint32_t to) const = 0;
  /// Cycles that were silent because the disk was late.
  virtual std::uint64_t lateCycles() const = 0;
  /// Whether the next cycles find their frames. Thread-safe; real-time safe.
  virtual bool isAhead() const noexcept = 0;
};

}  // namespace orv::cli
