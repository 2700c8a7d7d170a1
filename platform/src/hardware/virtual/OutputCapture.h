#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "OrvPlatform/AudioConverter.h"
#include "OrvPlatform/AudioFile.h"
#include "hardware/virtual/FrameRing.h"
#include "hardware/virtual/Waker.h"

namespace orv::virtualhardware {

/// Where a device's I/O thread puts what it plays, at one sample rate.
class CaptureTap {
 public:
  CaptureTap(double rate, std::uint32_t channels, std::size_t capacity, std::shared_ptr<Waker> writer);

  double rate() const noexcept { return rate_; }

  // I/O thread only; real-time safe.
  bool hasRoom(std::size_t frames) const noexcept { return ring_.room() >= frames + owed_; }
  /// Frames for which there is no room become silence, so that those behind them keep their place.
  void put(const float* frames, std::size_t count) noexcept;

  // Writer thread only.
  std::size_t take(float* frames, std::size_t count) noexcept { return ring_.read(frames, count); }
  bool hasBegun() const noexcept { return ring_.hasBegun(); }
  std::uint64_t takeLost() noexcept { return lost_.exchange(0); }

 private:
  const double rate_;
  FrameRing ring_;
  const std::shared_ptr<Waker> writer_;
  std::size_t owed_ = 0;  // frames of silence; I/O thread only
  std::atomic<std::uint64_t> lost_{0};
};

/// The right to write a file, which one capture at a time has.
class FileClaim {
 public:
  /// Nothing when somebody has it.
  static std::optional<FileClaim> of(const std::string& path);
  FileClaim(FileClaim&& other) noexcept : path_(std::exchange(other.path_, {})) {}
  FileClaim(const FileClaim&) = delete;
  FileClaim& operator=(const FileClaim&) = delete;
  FileClaim& operator=(FileClaim&&) = delete;
  ~FileClaim();

  /// The file's one name, however a path to it is written.
  static std::string fileOf(const std::string& path);
  const std::string& file() const { return path_; }

 private:
  explicit FileClaim(std::string path) : path_(std::move(path)) {}

  std::string path_;  // empty: given on
};

/// A device's output on its way into a file of 32-bit floats, by a thread of its own. The file keeps the rate that it
/// began with; what is played at another is converted.
class OutputCapture {
 public:
  /// Makes or empties the file: AIFC for ".aifc", ".aiff" and ".aif", WAVE for ".wav" and ".wave". Null, and one line
  /// in
  /// `*problem`, when that is not possible. `ioWaker` is woken when there is room again.
  static std::shared_ptr<OutputCapture> open(const std::string& path, double rate, std::uint32_t channels,
                                             std::uint32_t largestCycle, std::shared_ptr<Waker> ioWaker,
                                             std::string* problem);
  OutputCapture(std::unique_ptr<AudioFileSession> session, FileClaim claim, std::string path, std::uint32_t channels,
                std::uint32_t largestCycle, std::shared_ptr<Waker> ioWaker);
  OutputCapture(const OutputCapture&) = delete;
  OutputCapture& operator=(const OutputCapture&) = delete;
  /// Writes what is left and closes the file.
  ~OutputCapture();

  bool isOf(const std::string& path) const;
  /// Where to play at `rate` from now on; the one before may only be used until this one is.
  std::shared_ptr<CaptureTap> tapAtRate(double rate);
  /// Returns when all that was put is in the file and its header says so.
  void flush();

 private:
  void run();
  void writeAll();
  bool writeSome();
  void write(CaptureTap& tap, std::size_t frames);
  bool makeConverter(double rate);
  void append(const void* bytes, std::uint32_t size);
  void drainConverter();
  void fail(OSStatus status);

  const FileClaim claim_;  // first: given back when the file is closed
  const std::unique_ptr<AudioFileSession> session_;
  const std::string path_;
  const std::uint32_t channels_;
  const std::uint32_t largestCycle_;
  const std::shared_ptr<Waker> ioWaker_;
  const std::shared_ptr<Waker> writerWaker_ = std::make_shared<Waker>();

  std::mutex mutex_;
  std::condition_variable flushed_;
  std::deque<std::shared_ptr<CaptureTap>> taps_;  // guarded by mutex_; the last is the one in use, or about to be
  std::uint64_t flushesWanted_ = 0;               // guarded by mutex_
  std::uint64_t flushesDone_ = 0;                 // guarded by mutex_
  bool quits_ = false;                            // guarded by mutex_

  // Writer thread only.
  std::unique_ptr<Converter> converter_;
  double converterRate_ = 0.0;
  std::vector<float> frames_;
  std::vector<std::byte> bytes_;
  std::int64_t written_ = 0;
  bool hasFailed_ = false;

  std::thread thread_;
};

}  // namespace orv::virtualhardware
