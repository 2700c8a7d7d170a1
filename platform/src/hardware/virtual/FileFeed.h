#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "hardware/virtual/FrameRing.h"
#include "hardware/virtual/InputFeed.h"
#include "hardware/virtual/Waker.h"

namespace orv::virtualhardware {

class FileDecoder;

struct FileFeedSetup {
  std::vector<std::string> files;
  double gapSeconds = 0.0;
  bool repeats = false;
  std::uint32_t channels = 0;
  double rate = 0.0;
  std::uint32_t largestCycle = 0;  ///< frames
};

/// Where a feed of files is: in a file, or in the gap before it.
struct FilePlace {
  std::size_t file = 0;  ///< as many as there are files: behind the last
  std::int64_t frame = 0;
  double gapSeconds = 0.0;  ///< of silence still to come before the file
};

/// Audio files one after the other, with silence between them. A thread of its own reads ahead and converts; nothing is
/// lost when it comes too late, the audio comes later.
class FileFeed final : public InputFeed {
 public:
  /// `ioWaker` is woken when there are new frames.
  FileFeed(FileFeedSetup setup, const FilePlace& from, std::shared_ptr<Waker> ioWaker);
  ~FileFeed() override;

  bool read(float* target, std::uint32_t frames, double rate) noexcept override;
  bool isReady(std::uint32_t frames) const noexcept override;
  void skip(std::uint64_t frames) noexcept override { toSkip_ += frames; }
  void begin(std::uint32_t frames) override;
  bool isAtEnd() const override;
  std::uint64_t delivered() const noexcept override { return ring_.consumed(); }
  std::shared_ptr<InputFeed> atRate(double rate, std::uint64_t* delivered) override;

 private:
  /// From a frame of the ring on comes a file, or a gap before it.
  struct Mark {
    std::uint64_t frame;
    FilePlace place;
    double fileRate;  ///< 0: a gap
  };

  void run();
  std::size_t passThrough(const FilePlace& from);
  void playGap(std::size_t nextFile, double seconds);
  std::size_t playFile(std::size_t index, std::int64_t from);
  bool put(const float* frames, std::size_t count);
  void mark(const FilePlace& place, double fileRate);
  FilePlace placeOf(std::uint64_t frame) const;

  const FileFeedSetup setup_;
  const FilePlace from_;
  const std::shared_ptr<Waker> ioWaker_;
  FrameRing ring_;
  std::uint64_t toSkip_ = 0;  // I/O thread only
  Waker roomWaker_;           // the feeder sleeps on it
  std::atomic<bool> isEnded_{false};
  std::atomic<bool> quits_{false};
  mutable std::mutex mutex_;
  std::deque<Mark> marks_;  // guarded by mutex_
  std::thread thread_;
};

}  // namespace orv::virtualhardware
