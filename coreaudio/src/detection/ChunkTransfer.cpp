#include "detection/ChunkTransfer.h"

#include <algorithm>
#include <system_error>

#include "OrvPlatform/Thread.h"

namespace orv {
namespace {

/// Chunks that lie between two threads at most.
constexpr std::size_t kChunksUnderWay = 4;

}  // namespace

/// The two threads; they have ended when it has.
class ChunkTransfer::Workers {
 public:
  Workers(ChunkTransfer& transfer, const Range& range) : transfer_(transfer) {
    reader_ = startThread("orv-reader", [this, range] { transfer_.readChunks(range); });
    writer_ = startThread("orv-writer", [this] { transfer_.writeChunks(); });
    if (!reader_.joinable() || !writer_.joinable()) {
      join();
      throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
    }
  }
  Workers(const Workers&) = delete;
  Workers& operator=(const Workers&) = delete;
  ~Workers() { join(); }

  /// The reader reads no more, the writer writes what it was given.
  void join() {
    transfer_.toTreat_.stop();
    transfer_.toWrite_.finish();
    for (std::thread* thread : {&reader_, &writer_}) {
      if (thread->joinable()) {
        thread->join();
      }
    }
  }

 private:
  ChunkTransfer& transfer_;
  std::thread reader_;
  std::thread writer_;
};

ChunkTransfer::ChunkTransfer(OrvAudioFile& source, OrvAudioFile& destination, ChunkTreatment& treatment)
    : source_(source),
      destination_(destination),
      treatment_(treatment),
      bytesPerFrame_(source.bytesPerFrame()),
      toTreat_(kChunksUnderWay, treatment.chunkBytes()),
      toWrite_(kChunksUnderWay, treatment.treatedBytes()) {}

ChunkTransfer::Outcome ChunkTransfer::run(const Range& range, const std::atomic<bool>* cancel,
                                          const std::function<void(double)>& progress) {
  Workers workers(*this, range);
  const Outcome treating = treatChunks(range, cancel, progress);
  workers.join();
  if (treating != Outcome::done) {
    return treating;
  }
  return writing_ != Outcome::done ? writing_ : reading_;
}

void ChunkTransfer::readChunks(const Range& range) {
  for (std::uint64_t frame = range.fromFrame; frame < range.toFrame && reading_ == Outcome::done;) {
    AudioChunk* const chunk = toTreat_.toFill();
    if (chunk == nullptr) {
      break;
    }
    const std::uint64_t wanted =
        std::min<std::uint64_t>(treatment_.chunkBytes() / bytesPerFrame_, range.toFrame - frame);
    chunk->size = static_cast<std::uint32_t>(wanted) * bytesPerFrame_;
    const auto offset = static_cast<std::int64_t>(frame * bytesPerFrame_);
    if (!source_.read_length_fromOffset(chunk->bytes.data(), &chunk->size, offset)) {
      reading_ = Outcome::notRead;
      break;
    }
    chunk->size -= chunk->size % bytesPerFrame_;
    if (chunk->size == 0) {
      reading_ = Outcome::endedEarly;
      break;
    }
    frame += chunk->size / bytesPerFrame_;
    toTreat_.give();
  }
  toTreat_.finish();
}

void ChunkTransfer::writeChunks() {
  for (AudioChunk* chunk = toWrite_.next(); chunk != nullptr; chunk = toWrite_.next()) {
    if (!destination_.write_length(chunk->bytes.data(), &chunk->size)) {
      writing_ = Outcome::notWritten;
      break;
    }
    toWrite_.giveBack();
  }
  toWrite_.stop();
}

ChunkTransfer::Outcome ChunkTransfer::treatChunks(const Range& range, const std::atomic<bool>* cancel,
                                                  const std::function<void(double)>& progress) {
  const auto total = static_cast<double>(range.toFrame - range.fromFrame);
  std::uint64_t frames = 0;
  for (AudioChunk* chunk = toTreat_.next(); chunk != nullptr; chunk = toTreat_.next()) {
    if (cancel != nullptr && cancel->load(std::memory_order_relaxed)) {
      return Outcome::cancelled;
    }
    AudioChunk* const treated = toWrite_.toFill();
    if (treated == nullptr) {
      return Outcome::notWritten;
    }
    frames += chunk->size / bytesPerFrame_;
    treatmentStatus_ = treatment_.treat(*chunk, *treated);
    if (treatmentStatus_ != noErr) {
      return Outcome::notTreated;
    }
    toTreat_.giveBack();
    if (treated->size > 0) {
      toWrite_.give();
    }
    progress(static_cast<double>(frames) / total);
  }
  // What a resampler holds is only the end where the reader came to the end.
  return frames == range.toFrame - range.fromFrame ? treatRest() : Outcome::done;
}

ChunkTransfer::Outcome ChunkTransfer::treatRest() {
  for (;;) {
    AudioChunk* const treated = toWrite_.toFill();
    if (treated == nullptr) {
      return Outcome::notWritten;
    }
    treatmentStatus_ = treatment_.drain(*treated);
    if (treatmentStatus_ != noErr) {
      return Outcome::notTreated;
    }
    if (treated->size == 0) {
      return Outcome::done;
    }
    toWrite_.give();
  }
}

}  // namespace orv
