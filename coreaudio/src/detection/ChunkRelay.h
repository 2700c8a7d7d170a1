#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

namespace orv {

/// A piece of a file on its way.
struct AudioChunk {
  std::vector<char> bytes;  ///< as many as any piece may have
  std::uint32_t size = 0;   ///< bytes of them that are audio, in whole frames
};

/// Hands chunks from one thread, the giver, to another, the taker, in order. A few lie between the two, so that neither
/// waits for the other while both have work; the same few go round and round.
class ChunkRelay {
 public:
  /// Throws `std::bad_alloc`.
  ChunkRelay(std::size_t chunks, std::size_t bytesPerChunk);

  /// @name The giver
  /// The chunk to be filled, once one is free; null when the taker wants no more.
  AudioChunk* toFill();
  /// Hands over what `toFill` answered.
  void give();
  /// Nothing comes any more.
  void finish();

  /// @name The taker
  /// The oldest chunk that was given, once there is one; null when there are no more.
  AudioChunk* next();
  /// Gives back what `next` answered.
  void giveBack();
  /// Wants no more.
  void stop();

 private:
  std::vector<AudioChunk> chunks_;

  std::mutex mutex_;
  std::condition_variable changed_;
  // Guarded by the mutex, and counted since the begin.
  std::size_t given_ = 0;
  std::size_t givenBack_ = 0;
  bool isFinished_ = false;
  bool isStopped_ = false;
};

}  // namespace orv
